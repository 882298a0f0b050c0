// SPDX-License-Identifier: GPL-2.0-or-later
// Writing to the terminal from an alarm's handler, while the program is busy with something else.
#pragma once

#include <chrono>
#include <string_view>

// Has the bytes written after that time unless they are taken back before. screen draws all else
// that is on the screen. Both have to stay where they are until then, and nothing else may write to
// the terminal. A program in the background writes nothing.
void writeLater(std::string_view bytes, std::string_view screen, std::chrono::milliseconds time);

// Writes them at once if they are not yet.
void writeNow();

// Writes the screen again, and the bytes where they were written, unless they were taken back.
// Allowed in a signal handler.
void writeAgain();

// Takes them back. False when they have been written.
bool takeBack();
