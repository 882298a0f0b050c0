#include "sim/setkeys.h"

#include "sim/course.h"
#include "sim/numbers.h"
#include "sim/words.h"

#include <algorithm>
#include <cmath>

namespace sim {
namespace {

constexpr int longestStep = 315'360'000; // seconds

// A length of time from 0 to the given number of units; nothing for any other text.
std::optional<Time> timeOf(std::string_view text, Time unit, int most)
{
    const auto number = numberIn<double>(text);
    if (!number || !(*number >= 0 && *number <= most))
        return {};
    return std::llround(*number * static_cast<double>(unit));
}

bool setSwitch(bool &setting, const std::string &value)
{
    if (value != "on" && value != "off")
        return false;
    setting = value == "on";
    return true;
}

bool setText(std::string &text, const std::string &value)
{
    if (value.size() > longestVersion)
        return false;
    text = value;
    return true;
}

bool setBios(const Device &device, std::string &text, const std::string &value)
{
    return device.id.classCode == YAT_CLASS_CPU_MODULE && !value.empty() && setText(text, value);
}

bool setBiosStatus(Machine &, Device *device, const std::string &value)
{
    if (!setBios(*device, device->biosStatus, value))
        return false;
    device->bios = Bios::described;
    return true;
}

bool setThreshold(Machine &machine, Device *, const std::string &value)
{
    const auto threshold = timeOf(value, hour, longestMtbf);
    machine.mtbfThreshold = threshold.value_or(machine.mtbfThreshold);
    return threshold.has_value();
}

bool letTimePass(Machine &machine, Device *, const std::string &value)
{
    if (!value.starts_with('+'))
        return false;
    const auto step = timeOf(std::string_view(value).substr(1), second, longestStep);
    if (!step || machine.now > lastMoment - *step)
        return false;
    advance(machine, machine.now + *step);
    return true;
}

} // namespace

const std::vector<SetKey> &setKeys()
{
    using Value = const std::string &;
    static const std::string version = std::to_string(longestVersion) + " bytes";
    static const std::vector<SetKey> keys = {
        {"mtbf_type", true,
         mtbfTypeText(stayDown) + ", " + mtbfTypeText(alwaysRestart) + " or "
             + mtbfTypeText(restartAboveThreshold) + ", of a module",
         [](Machine &, Device *device, Value value) {
             return isModule(device->id) && setMtbfType(*device, value);
         }},
        {"bios_version", true, "a text of 1 to " + version + ", of a CPU module",
         [](Machine &, Device *device, Value value) {
             return setBios(*device, device->biosVersion, value);
         }},
        {"bios_status", true, "a text of 1 to " + version + ", of a CPU module", setBiosStatus},
        {"automatic_firmware_update", false, "on or off",
         [](Machine &machine, Device *, Value value) {
             return setSwitch(machine.automaticFirmwareUpdate, value);
         }},
        {"automatic_module_start", false, "on or off",
         [](Machine &machine, Device *, Value value) {
             return setSwitch(machine.automaticModuleStart, value);
         }},
        {"mtbf_threshold", false, "hours, 0 to " + std::to_string(longestMtbf), setThreshold},
        {"data_file", false,
         "the BIOS version in the firmware data file, a text of up to " + version,
         [](Machine &machine, Device *, Value value) {
             return setText(machine.dataFileVersion, value);
         }},
        {"time", false,
         "+SECONDS, 0 to " + std::to_string(longestStep) + ": lets that much time pass",
         letTimePass},
    };
    return keys;
}

Refusal set(Machine &machine, Device *device, const std::string &argument)
{
    const size_t equals = std::min(argument.find('='), argument.size());
    for (const SetKey &each : setKeys())
        if (each.ofDevice == (device != nullptr) && argument.compare(0, equals, each.key) == 0
            && equals < argument.size() && each.set(machine, device, argument.substr(equals + 1)))
            return Refusal::none;
    return Refusal::wrongArgument;
}

bool setMtbfType(Device &device, const std::string &type)
{
    for (const auto &each : mtbfTypes)
        if (type == std::to_string(each.value)) {
            device.mtbfType = each.value;
            return true;
        }
    return false;
}

} // namespace sim
