// SPDX-License-Identifier: GPL-2.0-or-later
// Whole files.
#pragma once

#include <string>
#include <sys/types.h>

namespace yat {

// What is in a file. Throws Problem, "FILE can't be read: REASON", also for one that is too large
// to be a configuration or a description.
std::string readFile(const std::string &file);

// Adds lines to the end of a file of the product's own, see openOwnFile, and ends a line before
// that the disk took a part of. They are on the disk afterwards. Throws Problem, "FILE can't be
// written: REASON".
void appendToFile(const std::string &file, const std::string &text);

// Gives a file another text and these permissions. Whoever reads it sees the old one or the new
// one, whole, also after the power failed. Throws as above, with the file as it was.
void replaceFile(const std::string &file, const std::string &text, mode_t permissions);

} // namespace yat
