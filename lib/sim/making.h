// From a description to a machine, and back.
#pragma once

#include "sim/description.h"
#include "sim/machine.h"

namespace sim {

// The machine as its description has it.
Machine makeMachine(const Description &description, Time now);

// The description that makes a machine like this one; modules that are changing are stopped in it.
Description describe(const Machine &machine);

} // namespace sim
