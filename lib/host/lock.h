// SPDX-License-Identifier: GPL-2.0-or-later
// One program at a time.
#pragma once

#include <string>

namespace host {

// Holds a file of the state directory while it lives.
struct Lock {
    // Waits for it, or doesn't. Throws Problem when the file can't be made.
    Lock(const std::string &name, bool waits);
    ~Lock();
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;

    int descriptor;
    bool isHeld;
};

} // namespace host
