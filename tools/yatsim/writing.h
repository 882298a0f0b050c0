// SPDX-License-Identifier: GPL-2.0-or-later
// From a machine to its description, as TOML and as JSON.
#pragma once

#include "sim/machine.h"

#include <string>

namespace sim {

// The TOML text that reads back as a machine that is at rest.
std::string toToml(const Machine &machine);

// The same tables and keys as JSON.
std::string toJson(const Machine &machine);

} // namespace sim
