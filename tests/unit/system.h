// SPDX-License-Identifier: GPL-2.0-or-later
// What the system does for the libraries, where tests take part in it: the program's functions come
// before those of the C library.
#pragma once

#include <functional>
#include <map>
#include <string>

// Called before a file is opened, with its name.
extern std::function<void(const std::string &)> beforeOpening;

// Called by the next write, which then says that it has written the half.
extern std::function<void()> duringShortWrite;

// Of a call, by its name: the error that the next one fails with. There are fchmod, flock,
// fsync, ftruncate, iconv_open, lstat, rename and write.
extern std::map<std::string, int> nextErrors;

// Stops the clock for as long as there is a time, in milliseconds.
extern long long stoppedAt;
