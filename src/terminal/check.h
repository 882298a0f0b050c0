// SPDX-License-Identifier: GPL-2.0-or-later
// Whether the terminal can be used.
#pragma once

#include <string>

// Why newt can't draw on this terminal, and what to do; empty when it can. Without a screen the
// program can still print its data.
std::string terminalFault(const std::string &data);
