// SPDX-License-Identifier: GPL-2.0-or-later
// yatsim: looks at a simulated machine, and does to it what operations of the product can't.
#include "base/locale.h"
#include "base/name.h"
#include "base/streams.h"
#include "shared/program.h"
#include "yatsim/commandline.h"

#include <cstdlib>
#include <exception>

int main(int argc, char **argv)
try {
    holdStandardStreams();
    adoptLocale();
    adoptName();
    if (const auto request = sim::parseCommandLine(argc, argv)) {
        if (!request->machine.empty())
            setenv("YAT_MACHINE", request->machine.c_str(), 1);
        request->command(*request);
    }
    finishOutput();
    return 0;
} catch (const std::exception &problem) {
    printProblem("yatsim", problem.what());
    return 1;
}
