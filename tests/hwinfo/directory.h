// A temporary directory.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

struct Directory {
    std::filesystem::path path;

    Directory()
    {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "hwinfo-test-XXXXXX").string();
        if (!mkdtemp(pattern.data()))
            throw std::runtime_error("no temporary directory");
        path = pattern;
    }
    ~Directory() { remove_all(path); }
    Directory(const Directory &) = delete;
    Directory &operator=(const Directory &) = delete;
};

inline size_t countOpenFiles()
{
    size_t count = 0;
    for ([[maybe_unused]] const auto &file : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}
