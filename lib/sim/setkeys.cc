// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/setkeys.h"

#include "common/numbers.h"
#include "sim/course.h"
#include "sim/values.h"
#include "sim/words.h"

#include <algorithm>

namespace sim {
namespace {

using Value = const std::string &;

constexpr int longestStep = 315'360'000; // seconds
constexpr Term<bool> switches[] = {{true, "on"}, {false, "off"}};

bool setLength(Time &time, std::string_view value, const Measure &rule)
{
    const auto number = yat::numberIn<double>(value);
    return number && rule.read(*number, time);
}

bool setBiosStatus(Machine &, Device *device, Value value)
{
    if (!version.read(value, device->biosStatus))
        return false;
    device->bios = Bios::described;
    return true;
}

bool letTimePass(Machine &machine, Device *, Value value)
{
    Time step = 0;
    if (!value.starts_with('+')
        || !setLength(step, std::string_view(value).substr(1),
                      {.most = longestStep, .unit = second})
        || machine.now > lastMoment - step)
        return false;
    advance(machine, machine.now + step);
    return true;
}

bool isOwner(SetKey::Owner owner, const Device *device)
{
    switch (owner) {
    case SetKey::machine: return !device;
    case SetKey::module: return device && isModule(device->id);
    case SetKey::cpuModule: return device && device->id.classCode == YAT_CLASS_CPU_MODULE;
    }
    return false;
}

} // namespace

const std::vector<SetKey> &setKeys()
{
    static const std::string bytes = std::to_string(longestVersion) + " bytes";
    static const std::vector<SetKey> keys = {
        {"mtbf_type", SetKey::module,
         mtbfTypeText(stayDown) + ", " + mtbfTypeText(alwaysRestart) + " or "
             + mtbfTypeText(restartAboveThreshold) + ", of a module",
         [](Machine &machine, Device *device, Value value) {
             return setMtbfType(machine, *device, value) == Refusal::none;
         }},
        {"bios_version", SetKey::cpuModule, version.expected() + ", of a CPU module",
         [](Machine &, Device *device, Value value) {
             return version.read(value, device->biosVersion);
         }},
        {"bios_status", SetKey::cpuModule, version.expected() + ", of a CPU module", setBiosStatus},
        {"automatic_firmware_update", SetKey::machine, "on or off",
         [](Machine &machine, Device *, Value value) {
             return Word{switches}.read(value, machine.automaticFirmwareUpdate);
         }},
        {"automatic_module_start", SetKey::machine, "on or off",
         [](Machine &machine, Device *, Value value) {
             return Word{switches}.read(value, machine.automaticModuleStart);
         }},
        {"mtbf_threshold", SetKey::machine, "hours, 0 to " + std::to_string(longestMtbf),
         [](Machine &machine, Device *, Value value) {
             return setLength(machine.mtbfThreshold, value, {.most = longestMtbf, .unit = hour});
         }},
        {"data_file", SetKey::machine,
         "the BIOS version in the firmware data file, a text of up to " + bytes,
         [](Machine &machine, Device *, Value value) {
             return Text{.most = longestVersion}.read(value, machine.dataFileVersion);
         }},
        {"time", SetKey::machine,
         "+SECONDS, 0 to " + std::to_string(longestStep) + ": lets that much time pass",
         letTimePass},
    };
    return keys;
}

Refusal set(Machine &machine, Device *device, const std::string &argument)
{
    const size_t equals = std::min(argument.find('='), argument.size());
    for (const SetKey &each : setKeys())
        if (isOwner(each.owner, device) && argument.compare(0, equals, each.key) == 0
            && equals < argument.size() && each.set(machine, device, argument.substr(equals + 1)))
            return Refusal::none;
    return Refusal::wrongArgument;
}

Refusal setMtbfType(Machine &, Device &device, const std::string &type)
{
    for (const auto &each : mtbfTypes)
        if (type == std::to_string(each.value)) {
            device.mtbfType = each.value;
            return Refusal::none;
        }
    return Refusal::wrongArgument;
}

} // namespace sim
