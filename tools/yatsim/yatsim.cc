// yatsim: looks at a simulated machine, and does to it what operations of the product can't.
#include "base/display.h"
#include "base/locale.h"
#include "common/problem.h"
#include "text/encoding.h"
#include "yatsim/commandline.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace {

void print(const std::string &problem)
{
    std::istringstream lines(problem);
    for (std::string line; std::getline(lines, line);)
        fprintf(stderr, "yatsim: %s\n", showable(yat::toDisplay(line)).c_str());
}

// A report that could not be written is a failure.
void finishOutput()
{
    if (fflush(stdout) != 0 || ferror(stdout))
        throw yat::Problem("standard output can't be written: " + yat::reason(errno));
}

} // namespace

int main(int argc, char **argv)
try {
    adoptLocale();
    if (const auto request = sim::parseCommandLine(argc, argv)) {
        if (!request->machine.empty())
            setenv("YAT_MACHINE", request->machine.c_str(), 1);
        request->command(*request);
    }
    finishOutput();
    return 0;
} catch (const std::exception &problem) {
    print(problem.what());
    return 1;
}
