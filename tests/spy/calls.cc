// SPDX-License-Identifier: GPL-2.0-or-later
#include "calls.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>

void record(const std::string &line)
{
    if (const char *name = getenv("YAT_SPY_LOG"))
        if (FILE *file = fopen(name, "ae")) {
            fprintf(file, "%s\n", line.c_str());
            fclose(file);
        }
}

bool records(const char *what)
{
    const char *wanted = getenv("YAT_SPY_MORE");
    std::istringstream words(wanted ? wanted : "");
    for (std::string word; words >> word;)
        if (word == what)
            return true;
    return false;
}

std::string shown(int value)
{
    return std::to_string(value);
}

std::string shown(char value)
{
    return {'\'', value, '\''};
}

std::string shown(const int *value)
{
    return std::to_string(*value);
}

std::string shown(const char *text)
{
    return text ? text : "null";
}

std::string shown(char *filled)
{
    return *filled ? "\"" + std::string(filled) + "\"" : "";
}

std::string shown(const yat_device *device)
{
    return device && device->lpszTreeName ? device->lpszTreeName : "NULL";
}

std::string shown(yat_device *const *root)
{
    return *root ? "root" : "null";
}
