#include "sim/setkeys.h"

#include "sim/course.h"
#include "sim/words.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace sim
{
namespace {

constexpr int longestStep = 315'360'000; // seconds

// A length of time from 0 to so many units; nothing for another text.
std::optional<Time> timeOf(std::string_view text, Time unit, int most)
{
    double number = 0;
    const char *end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || rest != end || !(number >= 0 && number <= most))
        return {};
    return std::llround(number * static_cast<double>(unit));
}

bool setSwitch(bool &setting, const std::string &value)
{
    if (value != "on" && value != "off")
        return false;
    setting = value == "on";
    return true;
}

bool setBios(Device &device, std::string Device::*text, const std::string &value)
{
    if (device.id.classCode != YAT_CLASS_CPU_MODULE || value.empty()
        || value.size() > longestVersion)
        return false;
    device.*text = value;
    return true;
}

bool setModuleMtbfType(Machine &, Device *device, const std::string &value)
{
    return isModule(device->id) && setMtbfType(*device, value);
}

bool setBiosVersion(Machine &, Device *device, const std::string &value)
{
    return setBios(*device, &Device::biosVersion, value);
}

bool setBiosStatus(Machine &, Device *device, const std::string &value)
{
    if (!setBios(*device, &Device::biosStatus, value))
        return false;
    device->bios = Bios::described;
    return true;
}

bool setFirmwareUpdate(Machine &machine, Device *, const std::string &value)
{
    return setSwitch(machine.automaticFirmwareUpdate, value);
}

bool setModuleStart(Machine &machine, Device *, const std::string &value)
{
    return setSwitch(machine.automaticModuleStart, value);
}

bool setThreshold(Machine &machine, Device *, const std::string &value)
{
    const auto threshold = timeOf(value, hour, longestMtbf);
    machine.mtbfThreshold = threshold.value_or(machine.mtbfThreshold);
    return threshold.has_value();
}

bool setDataFile(Machine &machine, Device *, const std::string &value)
{
    if (value.size() > longestVersion)
        return false;
    machine.dataFileVersion = value;
    return true;
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

std::string allMtbfTypes()
{
    std::string result;
    for (const auto &type : mtbfTypes)
        result += (&type == std::begin(mtbfTypes)     ? ""
                   : &type + 1 == std::end(mtbfTypes) ? " or "
                                                      : ", ")
                  + mtbfTypeText(type.value);
    return result;
}

} // namespace

const std::vector<SetKey> &setKeys()
{
    static const std::string version = std::to_string(longestVersion) + " bytes";
    static const std::vector<SetKey> keys = {
        {"mtbf_type", true, allMtbfTypes() + ", of a module", setModuleMtbfType},
        {"bios_version", true, "a text of 1 to " + version + ", of a CPU module", setBiosVersion},
        {"bios_status", true, "a text of 1 to " + version + ", of a CPU module", setBiosStatus},
        {"automatic_firmware_update", false, "on or off", setFirmwareUpdate},
        {"automatic_module_start", false, "on or off", setModuleStart},
        {"mtbf_threshold", false, "hours, 0 to " + std::to_string(longestMtbf), setThreshold},
        {"data_file", false,
         "the BIOS version in the firmware data file, a text of up to " + version, setDataFile},
        {"time", false,
         "+SECONDS, 0 to " + std::to_string(longestStep) + ": lets so much time pass", letTimePass},
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
