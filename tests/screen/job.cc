// SPDX-License-Identifier: GPL-2.0-or-later
#include "job.h"

#include "support/files.h"

#include <fstream>

pid_t childOf(pid_t process)
{
    const std::string parent = std::to_string(process);
    std::ifstream file("/proc/" + parent + "/task/" + parent + "/children");
    pid_t child = 0;
    file >> child;
    return child;
}

char stateOf(pid_t process)
{
    const std::string line = readFile("/proc/" + std::to_string(process) + "/stat");
    const size_t name = line.rfind(") ");
    return name == line.npos ? '\0' : line.at(name + 2);
}
