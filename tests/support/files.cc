// SPDX-License-Identifier: GPL-2.0-or-later
#include "files.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

TemporaryDirectory::TemporaryDirectory(const fs::path &parent)
{
    std::string pattern = (parent / "mrvutil-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        throw std::runtime_error("no directory can be made in " + parent.string());
    path = pattern;
}

TemporaryDirectory::~TemporaryDirectory()
{
    fs::remove_all(path);
}

std::string readFile(const fs::path &path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void writeFile(const fs::path &path, const std::string &text)
{
    fs::create_directories(path.parent_path());
    if (!(std::ofstream(path, std::ios::binary) << text << std::flush))
        throw std::runtime_error(path.string() + " can't be written");
}

std::vector<std::string> linesOf(const std::string &text)
{
    std::vector<std::string> result;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        result.push_back(line);
    return result;
}

size_t countOpenFiles()
{
    const fs::directory_iterator files("/proc/self/fd"), end;
    return static_cast<size_t>(std::distance(files, end));
}
