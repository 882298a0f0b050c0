// SPDX-License-Identifier: GPL-2.0-or-later
// What the user has to know and no call can return.
#pragma once

#include <exception>
#include <string_view>

namespace yat {

// Has a line of UTF-8 printed on standard error, after the program's name, when complaints are told
// or else at the end of the program: newt has left the screen by then. False for one that is
// waiting already. Each library has complaints of its own.
bool complain(std::string_view line) noexcept;

// The same of an exception that nothing more can be done about.
void complainOf(const std::exception &problem) noexcept;

void tellComplaints() noexcept;

} // namespace yat
