// SPDX-License-Identifier: GPL-2.0-or-later
// What the system does for the libraries, where tests take part in it: the program's functions come
// before those of the C library.
#pragma once

#include <functional>
#include <string>

// Called before a file is opened, with its name.
extern std::function<void(const std::string &)> beforeOpening;

// Stops the clock for as long as there is a time, in milliseconds.
extern long long stoppedAt;
