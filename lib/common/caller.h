// Who asks for an operation, for the journal.
#pragma once

#include <string>

namespace yat {

struct Caller {
    std::string user, terminal; // "" for no terminal
};

// The user of this process, and the terminal of its standard input or, if that is not a terminal,
// the one that controls the process.
Caller thisCaller();

} // namespace yat
