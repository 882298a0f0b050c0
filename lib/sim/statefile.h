// SPDX-License-Identifier: GPL-2.0-or-later
// The file that holds the state of a machine: how it is made, and which files are accepted as
// one.
#pragma once

#include "database/database.h"

#include <functional>
#include <memory>
#include <string>

namespace sim {

// Makes the file, whole or not at all, unless there already is one of that name; fill puts the
// machine into its tables. True when it was made.
bool createStateFile(const std::string &file, const std::function<void(yat::Database &)> &fill);

// Throws what keeps it from being a state of this version.
void checkVersion(yat::Database &database);

// Opens the file. One that is damaged, or made by another program or by another version of this
// one, is refused and left as it is.
std::unique_ptr<yat::Database> openStateFile(const std::string &file);

} // namespace sim
