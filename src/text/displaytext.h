// SPDX-License-Identifier: GPL-2.0-or-later
// Device names and questions as texts of the terminal.
#pragma once

#include "base/display.h"

#include <array>

// A text that is in EUC-JP or already in the encoding of the locale, up to 1023 bytes of it, as
// the terminal can show it; "" for null.
std::string displayText(const char *source);

// What a box shows on a line of its own.
using Question = std::array<char, 80>;
