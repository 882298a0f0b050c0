// SPDX-License-Identifier: GPL-2.0-or-later
// A played server whose operations are allowed, and what is written down of them.
#pragma once

#include "looked.h"

#include <filesystem>
#include <functional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

using Lines = std::vector<std::string>;

constexpr int clearCpu = 1, startCpu = 5, stopCpu = 7, startPci = 19, stopPci = 21;

// What went to the system's log: priority and text.
extern std::vector<std::pair<int, std::string>> logged;

class Operated : public Looked {
protected:
    Operated();

    // Whether it is supported; else the reason why not.
    std::string support(int classCode, int number, int code);

    // What the journal has, each as "DEVICE OPERATION RESULT REASON".
    Lines journal() const;

    std::string online(int processor) const;

    // Packages of so many processors each, of which the very first one can't go.
    void addPackages(int packages, int processors);
};

// What the kernel does meanwhile, in a process of its own: something, as soon as a file holds what
// is awaited.
class Meanwhile {
public:
    Meanwhile(const std::filesystem::path &file, char awaited, const std::function<void()> &work);
    ~Meanwhile();
    Meanwhile(const Meanwhile &) = delete;
    Meanwhile &operator=(const Meanwhile &) = delete;

private:
    const pid_t process;
};
