// SPDX-License-Identifier: GPL-2.0-or-later
// What the kernel of a played server answers to calls, where no file can play it.
#pragma once

#include <string>

struct Kernel {
    std::string heldDisk{};   // the node of a disk that it holds for a reason of its own
    std::string untoldKind{}; // of devices that it doesn't list
    int looksAtFunctions = 0; // how often their list was asked for
    bool hidesRoutes = false;
    int routedInterface = 0; // the index of one that has a route to 192.0.2.0/24; 0 for this
                             // machine's own routes
};

extern Kernel kernel;
