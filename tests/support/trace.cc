// SPDX-License-Identifier: GPL-2.0-or-later
#include "trace.h"

#include "files.h"

#include <sstream>

std::vector<std::string> readTrace(const std::filesystem::path &file, const std::string &source)
{
    std::vector<std::string> records;
    for (const std::string &line : linesOf(readFile(file))) {
        std::istringstream words(line);
        std::string date, time, process, level, module, function, number, text;
        words >> date >> time >> process >> level >> module >> function >> number;
        std::getline(words.ignore(), text);
        if (source.empty() || module == source)
            records.push_back(level + " " + function + " " + text);
    }
    return records;
}
