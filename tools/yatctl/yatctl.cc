// SPDX-License-Identifier: GPL-2.0-or-later
// yatctl: the operations of the product for scripts and for other programs.
#include "base/locale.h"
#include "base/name.h"
#include "base/streams.h"
#include "shared/program.h"
#include "yat/trace.h"
#include "yatctl/commandline.h"
#include "yatctl/failure.h"
#include "yatctl/report.h"
#include "yatctl/watch.h"

#include <cstdio>
#include <exception>

namespace {

int fail(const std::optional<yatctl::Request> &request, const std::exception &problem)
{
    const auto *failure = dynamic_cast<const yatctl::Failure *>(&problem);
    const int status = failure ? failure->status : yatctl::failed;
    printProblem("yatctl", problem.what());
    if (request && request->json) {
        yatctl::Json json = yatctl::beginJson();
        json["error"] = {{"status", status}, {"message", problem.what()}};
        yatctl::print(json, request->command == yatctl::watch ? -1 : 2);
        fflush(stdout);
    }
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    std::optional<yatctl::Request> request;
    try {
        holdStandardStreams();
        adoptLocale();
        adoptName();
        TraceLogInit(0, "yatctl", 0, 5, 0);
        request = yatctl::parseCommandLine(argc, argv);
        if (request)
            request->command(*request);
        finishOutput();
        return yatctl::done;
    } catch (const std::exception &problem) {
        return fail(request, problem);
    }
}
