// SPDX-License-Identifier: GPL-2.0-or-later
// What can be set from outside: the operation "set" of yatsim.
#pragma once

#include "sim/machine.h"

#include <string>
#include <vector>

namespace sim {

struct SetKey {
    const char *key;
    enum Owner { machine, module, cpuModule } owner;
    std::string values; // what they can be, for messages and manuals
    // Sets it, of its owner; false, with nothing changed, for a value that it can't have.
    bool (*set)(Machine &machine, Device *device, const std::string &value);
};

const std::vector<SetKey> &setKeys();

// Carries out "KEY=VALUE"; the device is null for a key of the machine.
Refusal set(Machine &machine, Device *device, const std::string &argument);

// Of a module or an adapter: "0", "1" or "2".
Refusal setMtbfType(Machine &machine, Device &device, const std::string &type);

} // namespace sim
