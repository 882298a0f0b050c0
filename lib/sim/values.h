// SPDX-License-Identifier: GPL-2.0-or-later
// The values of a machine, each with its key and its rule. Whatever reads or writes a machine goes
// through them in this order: descriptions (sim/description.h, yatsim/writing.h), which say what a
// machine is, and the tables of the state (sim/tables.h), which also have what it does. It calls
//
//     keys(KEY, VALUE, RULE, PRESENCE)
//     keys.table(KEY, WORK)   for the values in a table of its own, which work goes through
#pragma once

#include "sim/machine.h"
#include "sim/rules.h"

#include <algorithm>

namespace sim {

enum Presence { required, mayBeMissing };

constexpr Text name = {.least = 1, .most = 127, .isLine = true};
constexpr Text version = {.least = 1, .most = longestVersion};
constexpr Measure threshold = {.most = longestMtbf, .unit = hour};

constexpr auto bytesUpTo(size_t most)
{
    return List{1, most, Number{0, 255}};
}

template <class Keys> void timingKeys(Keys &keys, Timing &timing)
{
    constexpr Measure rule = {.most = 86400, .unit = second};
    keys("start", timing.start, rule);
    keys("synchronise", timing.synchronise, rule);
    keys("stop", timing.stop, rule);
    keys("firmware_update", timing.firmwareUpdate, rule);
}

// Those of the machine itself.
template <class Keys> void machineKeys(Keys &keys, Machine &machine)
{
    keys("name", machine.name, name, required);
    keys("type", machine.type, Word{machineTypes}, required);
    keys.table("bmc", [&] { keys("response", machine.bmcResponse, bytesUpTo(longestResponse)); });
    keys.table("firmware", [&] { keys("data_file", machine.dataFileVersion, version); });
    keys.table("settings", [&] {
        for (size_t i = 0; i < std::size(yat::settings); ++i)
            keys(yat::settings[i].key, machine.*settingMembers[i], Flag());
    });
    keys.table("mtbf", [&] { keys("threshold", machine.mtbfThreshold, threshold); });
    keys.table("timing", [&] { timingKeys(keys, machine.timing); });
    keys.table("supports", [&] {
        for (const DeviceClass &each : deviceClasses)
            keys(each.key, machine.supported, Codes{each.value});
    });
}

// Zeros at its end are left out.
template <class Keys> void pathKey(Keys &keys, PathIdentifier &path)
{
    size_t length = path.size();
    while (length > 1 && path[length - 1] == 0)
        --length;
    std::vector<uint8_t> bytes(path.begin(), path.begin() + static_cast<ptrdiff_t>(length));
    keys("path", bytes, bytesUpTo(path.size()), required);
    path = {};
    std::ranges::copy(bytes, path.begin());
}

template <class Keys> void biosKeys(Keys &keys, Device &module)
{
    const Presence presence = Keys::isOfState ? mayBeMissing : required;
    keys("bios_version", module.biosVersion, version, presence);
    keys("bios_status", module.biosStatus, version, presence);
    bool isValid = module.bios != Bios::invalid;
    Bios source = isValid ? module.bios : Bios::described;
    keys("bios_valid", isValid, Flag());
    keys("bios_from", source, Word{biosSources});
    module.bios = isValid ? source : Bios::invalid;
}

template <class Keys> void failureKeys(Keys &keys, Device &device)
{
    keys("defective", device.defective, Flag());
    if constexpr (Keys::isOfState)
        keys("failures", device.failures,
             List{0, failuresKept, Number{-longestMtbf * hour, lastMoment}});
    else // how long ago they were
        keys("failures", device.failures,
             List{0, failuresKept, Measure{.most = longestMtbf, .unit = -hour}});
    std::ranges::sort(device.failures);
    const int known = static_cast<int>(device.failures.size());
    keys("failure_count", device.failureCount, Number{known, mostFailures});
    device.failureCount = std::max(device.failureCount, known);
}

// Those of a module or an adapter, except what it carries. In a description, the class of a module
// is known before. In the state, all devices have all keys, and are in any state.
template <class Keys> void deviceKeys(Keys &keys, Device &device, Presence mtbfType)
{
    constexpr bool isOfState = Keys::isOfState;
    const bool isModule = isOfState || sim::isModule(device.id);
    if (isOfState || !isModule)
        keys("class", device.id.classCode, Word{isOfState ? deviceClasses : adapterClasses},
             required);
    keys("number", device.id.number, Number{1, mostDevices}, required);
    keys("name", device.name, name, required);
    pathKey(keys, device.path);
    if (isModule) {
        keys("state", device.state, Word{isOfState ? states : lastingStates}, required);
        keys("partner", device.partner, Number{0, mostDevices});
        keys("mtbf_type", device.mtbfType, Word{mtbfTypes}, mtbfType);
    } else {
        keys("state", device.state, Word{adapterStates});
    }
    failureKeys(keys, device);
    if (isOfState || device.id.classCode == YAT_CLASS_CPU_MODULE)
        biosKeys(keys, device);
    if (isOfState || device.id.classCode == YAT_CLASS_PCI_MODULE)
        keys("board", device.board, Number{isOfState ? 0 : 1, mostDevices}, required);
}

} // namespace sim
