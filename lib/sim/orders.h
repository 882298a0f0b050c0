// SPDX-License-Identifier: GPL-2.0-or-later
// The operations on a machine: those of yat/ft.h, and what happens to it from outside.
#pragma once

#include "sim/machine.h"

#include <string>
#include <vector>

namespace sim {

// An operation that is asked for.
struct Order {
    Verb verb = Verb::clearMtbf;
    DeviceId device = wholeMachine;
    int code = 0;           // the operation code of a call on a device, or the kind of a setting
    std::string argument{}; // see apply
};

// Whether the machine takes an operation on a device now, whatever its argument.
Refusal check(const Machine &machine, Verb verb, DeviceId device, int code);

// Carries an operation out, or refuses it with nothing changed. The arguments:
//
//     setMtbfType   "0", "1" or "2"
//     burnFirmware  YAT_BURN_...
//     putSetting    "1" or "0"
//     fail          "" or "permanent": it fails again at each start until it is repaired
//     set           "KEY=VALUE", see setKeys
Refusal apply(Machine &machine, const Order &order);

// What can be set from outside.
struct SetKey {
    const char *key;
    enum Owner { machine, module, cpuModule } owner;
    std::string values; // what they can be
    const char *about;  // whose they are or what they do; may be empty
    // Sets it, of its owner; false, with nothing changed, for a value that it can't have.
    bool (*set)(Machine &machine, Device *device, const std::string &value);
};

const std::vector<SetKey> &setKeys();

// Whether a device, or the whole machine, has the values of such an owner.
bool isOwner(DeviceId id, SetKey::Owner owner);

} // namespace sim
