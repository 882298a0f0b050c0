// SPDX-License-Identifier: GPL-2.0-or-later
// How the played BMC answers Get Device ID, and the command that tells it.
#pragma once

#include <array>
#include <string_view>

constexpr int mannerFunction = 0x30, mannerCommand = 0x01;

enum class Manner : unsigned char { prompt, slow, silent, truncating, busy, brief, lengthy };

constexpr std::array<std::string_view, 7> mannerNames = {"prompt", "slow",  "silent", "truncating",
                                                         "busy",   "brief", "lengthy"};
