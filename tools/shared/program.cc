// SPDX-License-Identifier: GPL-2.0-or-later
#include "shared/program.h"

#include "base/display.h"
#include "common/problem.h"
#include "text/encoding.h"

#include <cerrno>
#include <cstdio>
#include <langinfo.h>
#include <sstream>

void printProblem(const std::string &program, const std::string &utf8)
{
    std::istringstream lines(utf8);
    for (std::string line; std::getline(lines, line);)
        fprintf(stderr, "%s: %s\n", program.c_str(), showable(yat::toDisplay(line)).c_str());
}

void finishOutput()
{
    if (fflush(stdout) != 0 || ferror(stdout))
        throw yat::Problem("standard output can't be written: " + yat::reason(errno));
}

std::string fromArgument(const std::string &argument)
{
    if (!yat::isDisplayable(argument.c_str()))
        throw yat::Problem("'" + yat::fromDisplay(argument)
                           + "' is not in the encoding of the locale, " + nl_langinfo(CODESET));
    return yat::fromDisplay(argument);
}

std::string emptiness(const std::string &argument)
{
    return argument.empty() ? "is empty" : "";
}
