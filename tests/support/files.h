// SPDX-License-Identifier: GPL-2.0-or-later
// Files of tests: a directory for them, and what is in them.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

// An own, empty directory, which is removed with all that is in it.
class TemporaryDirectory {
public:
    explicit TemporaryDirectory(
        const std::filesystem::path &parent = std::filesystem::temp_directory_path());
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;

    std::filesystem::path path;
};

// The bytes of a file; none when it can't be read.
std::string readFile(const std::filesystem::path &path);

// Writes a file anew, and the directories above it that are missing.
void writeFile(const std::filesystem::path &path, const std::string &text);

std::vector<std::string> linesOf(const std::string &text);

// How many files this process has open.
size_t countOpenFiles();
