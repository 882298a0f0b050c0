// What the programs differ in: each defines its own.
#pragma once

struct Program {
    int (*run)();        // what it does with the screen, or in dump mode: returns 1, 0 on failure
    const char *failure; // the trace record of a failed run; null when the run writes its own
    bool alwaysReleases; // releases the platform also when that was not opened
};

extern const Program program;
