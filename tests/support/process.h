// SPDX-License-Identifier: GPL-2.0-or-later
// Other programs, run by tests.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

// How long a test waits for what has to come.
constexpr std::chrono::seconds deadline{15};

struct StartOptions {
    // The whole environment; this process's own unless given.
    std::optional<std::map<std::string, std::string>> environment{};
    std::function<void()> prepare{}; // done by the child before it becomes the program
};

// A program with the words of a command line; "" around words that are one.
std::vector<std::string> commandOf(const std::string &program, const std::string &arguments);

// Both end a child that would be waited for in vain: the one that calls this, and what it becomes;
// a fork of this process.
void endAtDeadline();
pid_t forkUntilDeadline();

// The wait status of the child that ends next, -1 at the deadline.
int waitForChild();

// Starts a program, given by its path and its arguments.
pid_t start(const std::vector<std::string> &command, const StartOptions &options = {});

struct Finished {
    int status = -1; // exit status, or the negative number of the signal that ended it
    std::string output, errors;
};

// Runs a program to its end, or to the deadline. It reads nothing and has both outputs gathered,
// unless the preparation says otherwise.
Finished run(const std::vector<std::string> &command, const StartOptions &options = {});
