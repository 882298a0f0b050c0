// The keys of a description, each with the value of a machine that it stands for and the rule for
// it. A Reader (sim/reader.h) and the writer of descriptions both go through them, in this order.
#pragma once

#include "sim/machine.h"

#include <algorithm>

namespace sim {

enum Presence { required, optional };

template <class Keys> void timingKeys(Keys &keys, Timing &timing)
{
    constexpr int longest = 86400;
    keys.time("start", timing.start, second, longest);
    keys.time("synchronise", timing.synchronise, second, longest);
    keys.time("stop", timing.stop, second, longest);
    keys.time("firmware_update", timing.firmwareUpdate, second, longest);
}

// Those of the machine itself.
template <class Keys> void machineKeys(Keys &keys, Properties &machine)
{
    keys.name("name", machine.name);
    keys.word("type", machine.type, machineTypes, required);
    keys.table("bmc", [&] { keys.bytes("response", machine.bmcResponse, longestResponse); });
    keys.table("firmware",
               [&] { keys.text("data_file", machine.dataFileVersion, longestVersion, optional); });
    keys.table("settings", [&] {
        keys.flag("automatic_firmware_update", machine.automaticFirmwareUpdate);
        keys.flag("automatic_module_start", machine.automaticModuleStart);
    });
    keys.table("mtbf", [&] { keys.time("threshold", machine.mtbfThreshold, hour, longestMtbf); });
    keys.table("timing", [&] { timingKeys(keys, machine.timing); });
    keys.table("supports", [&] {
        for (const DeviceClass &each : deviceClasses)
            keys.codes(each.key, machine.supported, supportCodesOf(each.value));
    });
}

template <class Keys> void biosKeys(Keys &keys, Device &module)
{
    keys.text("bios_version", module.biosVersion, longestVersion, required);
    keys.text("bios_status", module.biosStatus, longestVersion, required);
    bool isValid = module.bios != Bios::invalid;
    Bios source = isValid ? module.bios : Bios::described;
    keys.flag("bios_valid", isValid);
    keys.word("bios_from", source, biosSources, optional);
    module.bios = isValid ? source : Bios::invalid;
}

// Those of a module or an adapter, except what it carries. The class of a module is known before.
// Where keys are uniform, all devices have all of them, and are in any state.
template <class Keys> void deviceKeys(Keys &keys, Device &device, Presence mtbfType)
{
    constexpr bool isUniform = Keys::isUniform;
    const bool isModule = isUniform || sim::isModule(device.id);
    if (isUniform || !isModule)
        keys.word("class", device.id.classCode, isUniform ? deviceClasses : adapterClasses,
                  required);
    keys.number("number", device.id.number, 1, mostDevices, required);
    keys.name("name", device.name);
    keys.path("path", device.path);
    if (isModule) {
        keys.word("state", device.state, isUniform ? states : lastingStates, required);
        keys.number("partner", device.partner, 0, mostDevices, optional);
        keys.word("mtbf_type", device.mtbfType, mtbfTypes, mtbfType);
    } else {
        keys.word("state", device.state, adapterStates, optional);
    }
    keys.flag("defective", device.defective);
    keys.timesAgo("failures", device.failures, hour, longestMtbf, failuresKept);
    const int known = static_cast<int>(device.failures.size());
    keys.number("failure_count", device.failureCount, isUniform ? 0 : known, mostFailures,
                optional);
    device.failureCount = std::max(device.failureCount, known);
    if (isUniform || device.id.classCode == YAT_CLASS_CPU_MODULE)
        biosKeys(keys, device);
    if (isUniform || device.id.classCode == YAT_CLASS_PCI_MODULE)
        keys.number("board", device.board, isUniform ? 0 : 1, mostDevices, required);
}

} // namespace sim
