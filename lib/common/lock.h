// SPDX-License-Identifier: GPL-2.0-or-later
// One program at a time.
#pragma once

#include <string>

namespace yat {

// Holds a file while it lives. Waits for it, or doesn't.
struct Lock {
    // A file of the state directory. Throws Problem when it can't be made.
    Lock(const std::string &name, bool waits);
    Lock(int openFile, bool waits); // which is closed in the end
    ~Lock();
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;

    int descriptor;
    bool isHeld;
};

} // namespace yat
