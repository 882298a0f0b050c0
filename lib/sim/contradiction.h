// What can't be in a machine.
#pragma once

#include "sim/machine.h"

#include <string>

namespace sim
{

// What can't be, such as one module in duplex; empty when there is nothing.
std::string contradiction(const Machine &machine);

} // namespace sim
