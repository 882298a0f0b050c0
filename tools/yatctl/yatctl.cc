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

#include <algorithm>
#include <cstdio>
#include <exception>
#include <span>
#include <string_view>

namespace {

// Whether a command line that was not understood asks for JSON.
bool namesJson(std::span<char *> arguments)
{
    const auto end = std::ranges::find(arguments, std::string_view("--"));
    return std::find(arguments.begin(), end, std::string_view("--json")) != end;
}

int fail(bool isJson, const std::exception &problem)
{
    const auto *failure = dynamic_cast<const yatctl::Failure *>(&problem);
    const int status = failure ? failure->status : yatctl::failed;
    printProblem("yatctl", problem.what());
    if (isJson) {
        yatctl::Json json = yatctl::beginJson();
        json["error"] = {{"status", status}, {"message", problem.what()}};
        yatctl::print(json, -1); // of a line, as those of watch are
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
        const std::span arguments(argv, static_cast<size_t>(argc));
        return fail(request ? request->json : namesJson(arguments), problem);
    }
}
