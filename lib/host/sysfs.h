// SPDX-License-Identifier: GPL-2.0-or-later
// Files of the kernel below /sys and /proc: small texts, each of which may be absent, unreadable
// or odd.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace host {

// An attribute's text without the blanks at its end; nothing when it can't be read, is empty, or
// is no ordinary file, which could keep its reader waiting.
std::optional<std::string> readAttribute(const std::string &file);

// An attribute that is a number from 0, as a whole: in decimal, or in hexadecimal behind "0x".
std::optional<uint64_t> readNumber(const std::string &file);

// The number behind a word that begins a line, as in "TOTAL_ERR_COR 3".
std::optional<uint64_t> numberOfLine(const std::string &text, const std::string &word);

// The names in a directory in the order of their numbers (cpu2 before cpu10); none when it can't be
// read.
std::vector<std::string> namesIn(const std::string &directory);

// The path with symbolic links resolved; empty when there is no such.
std::string resolved(const std::string &path);

// The last part of a path.
std::string lastName(const std::string &path);

// Whether a path is the other one or is below it.
bool isBelow(const std::string &path, const std::string &directory);

// Writes an attribute. The kernel returns from that when it is done, which may take long: another
// process writes, which is killed when the time is up; the kernel may go on all the same. Returns
// the reason of a failure; empty when it is written.
std::string writeAttribute(const std::string &file, const std::string &value,
                           std::chrono::milliseconds limit);

} // namespace host
