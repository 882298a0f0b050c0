// SPDX-License-Identifier: GPL-2.0-or-later
// A window as it is seen on a screen: found by its title, its frame followed cell by cell.
#pragma once

#include "terminal.h"

#include <optional>

struct Frame {
    int left = 0, top = 0, right = 0, bottom = 0; // of the frame itself
    std::vector<std::string> rows{}, styles{};    // what is in it
    bool moreAbove = false, moreBelow = false;    // as its marks say

    bool encloses(VTermPos position) const
    {
        return position.row > top && position.row < bottom && position.col > left
               && position.col < right;
    }
};

// The window on the screen with this title, or with as much of it as its frame has room for, and
// with a whole frame around it. Of several it is the one with the cursor.
std::optional<Frame> findFrame(const Terminal &terminal, const std::string &title);
