// SPDX-License-Identifier: GPL-2.0-or-later
// What the command line asks for.
#pragma once

#include <string>
#include <vector>

namespace yatctl {

struct Request {
    const char *name = ""; // of the command
    std::string device;
    std::string argument;                 // of an operation
    std::vector<std::string> assignments; // KEY=VALUE
    std::string output;                   // a file for the metrics
    bool json = false, check = false, yes = false;
    std::string wait; // seconds; empty: not at all
    double interval = 2;
    void (*command)(const Request &) = nullptr;
};

} // namespace yatctl
