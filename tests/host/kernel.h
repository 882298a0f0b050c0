// SPDX-License-Identifier: GPL-2.0-or-later
// What the kernel of a played server answers to calls, where no file can play it.
#pragma once

#include <map>
#include <string>

struct Kernel {
    // Files that it opens neither for writing nor for one alone, nor tells of by lstat, and why; 0
    // for one that it opens.
    std::map<std::string, int> refusals{};
    std::string untoldKind{};  // of devices that it doesn't list
    int looksAtFunctions = 0;  // how often their list was asked for
    std::string refusedCall{}; // to it, about its networks
    std::string listOfNames{}; // the file that is read in the place of pci.ids
    int routedInterface = 0;   // the index of one that has a route to 192.0.2.0/24; 0 for this
                               // machine's own routes
};

extern Kernel kernel;
