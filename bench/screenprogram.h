// SPDX-License-Identifier: GPL-2.0-or-later
// A full-screen program, started in a terminal until its first screen is there.
#pragma once

#include <string>
#include <vector>

struct ScreenProgram {
    std::string name;
    std::vector<std::string> command;
    std::vector<std::string> environment; // NAME=VALUE, besides that of the benchmark
    std::string shows;                    // a text of its first screen
    char endKey = 0;
    int endStatus = 0;
};

struct Start {
    double seconds = 0;      // to the last byte of the first screen
    double resident = 0;     // KiB of memory then
    double proportional = 0; // the same, what several processes share being divided among them
};

// Starts the program and ends it by its key. Throws std::runtime_error when it does not show its
// screen or does not end as it should.
Start start(const ScreenProgram &program);

// The time from the last of some keys to the last byte of the screen that it leads to; the program
// is killed then. Throws std::runtime_error when that screen does not have the text.
Start press(const ScreenProgram &program, const std::vector<std::string> &keys,
            const std::string &shows);

// How many system calls the program makes until it waits behind its first screen.
long systemCalls(const ScreenProgram &program);
