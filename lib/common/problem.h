// SPDX-License-Identifier: GPL-2.0-or-later
// What is wrong with files and with the system.
#pragma once

#include <cstring>
#include <stdexcept>
#include <string>

namespace yat {

// Why something can't be used or done: whole sentences for the user, a line each, in UTF-8. It is
// thrown where it is found, and caught at the boundary and in main.
struct Problem : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Why a call of the system failed: in English, whatever the locale is, as the sentences are that
// it stands in.
inline std::string reason(int error)
{
    const char *text = strerrordesc_np(error);
    return text ? text : "error " + std::to_string(error);
}

} // namespace yat
