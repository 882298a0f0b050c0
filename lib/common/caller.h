// SPDX-License-Identifier: GPL-2.0-or-later
// Who asks for an operation, for the journal.
#pragma once

#include <string>

namespace yat {

struct Caller {
    std::string user, terminal; // "" for no terminal
};

// The user of this process, and the terminal that it has for one of its standard files.
Caller thisCaller();

} // namespace yat
