// SPDX-License-Identifier: GPL-2.0-or-later
// What a program on newt's screen can't tell, and has no call to learn.
#pragma once

#include <string_view>

namespace yat {

// Complains, where the program has asked for newt; others say such things themselves.
void complainForScreen(std::string_view line) noexcept;

} // namespace yat
