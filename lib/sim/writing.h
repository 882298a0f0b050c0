// From a description to TOML and JSON.
#pragma once

#include "sim/description.h"

#include <string>

namespace sim {

// The TOML text that reads back as this description.
std::string toToml(const Description &description);

// The same tables and keys as JSON.
std::string toJson(const Description &description);

} // namespace sim
