// A second process that looks at the machine all the time, through the same calls.
#pragma once

#include <string>
#include <sys/types.h>

// All that the calls tell of the machine, a line each.
std::string view();

class Watcher {
public:
    Watcher(); // returns when the process has looked at everything once
    ~Watcher();
    Watcher(const Watcher &) = delete;
    Watcher &operator=(const Watcher &) = delete;

    // Lets the process look once more and end. What it saw then, with a line "failures N" for the
    // calls that failed meanwhile; empty when it did not end as it should.
    std::string finish();

private:
    pid_t child;
    int orders, reports; // pipes
};
