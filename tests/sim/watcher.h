// SPDX-License-Identifier: GPL-2.0-or-later
// A second process that looks at the machine all the time, through the same calls.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

// All that the calls tell of the machine, a line each.
std::string view();

// What a process saw while it watched.
struct Sight {
    int looks = 0;       // each of them at everything
    int failures = 0;    // looks in which a call failed
    std::string fault{}; // what it saw first that can't be; empty for nothing
    std::string view{};  // at the end
};

class Watcher {
public:
    Watcher(); // returns when the process has looked at everything once
    ~Watcher();
    Watcher(const Watcher &) = delete;
    Watcher &operator=(const Watcher &) = delete;

    // Lets the process look once more. What it sees then.
    std::string look() const;

    // Lets the process go on without this call, the next answer to which is for another one; with
    // all calls again when there is no name.
    void leaveOut(const std::string &call) const;

    // Lets the process look once more and end. Nothing when it did not end as it should.
    std::optional<Sight> finish();

private:
    void order(const std::string &text) const;
    std::string report() const;

    pid_t child;
    int line; // to the process, a socket
};
