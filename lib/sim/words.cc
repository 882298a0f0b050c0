// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/words.h"

#include <strings.h>

namespace sim {
namespace {

// Ideographs need no blank before the number.
std::string withProgress(std::string_view text, std::optional<int> percent, bool japanese)
{
    std::string result(text);
    if (percent)
        result += " " + std::to_string(*percent) + (japanese ? "%" : " %");
    return result;
}

bool equalsIgnoringCase(std::string_view left, std::string_view right)
{
    return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
}

} // namespace

std::string stateText(const Machine &machine, const Device &device, bool japanese)
{
    const StateTerm &state = *rowOf(states, stateOf(machine, device));
    return withProgress(japanese ? state.japanese : state.english, progress(machine, device),
                        japanese);
}

std::string biosStatusText(const Machine &machine, const Device &device, bool japanese)
{
    if (device.state == State::firmwareUpdate)
        return withProgress(japanese ? "更新中" : "Being updated", progress(machine, device),
                            japanese);
    if (device.bios == Bios::described)
        return device.biosStatus;
    const BiosTerm &bios = *rowOf(biosTerms, device.bios);
    return std::string(japanese ? bios.japanese : bios.english);
}

std::string mtbfTypeText(int type)
{
    return std::to_string(type) + " (" + std::string(wordOf(mtbfTypes, type)) + ")";
}

std::string nameOf(DeviceId id)
{
    if (id == wholeMachine)
        return {};
    if (const DeviceClass *known = rowOf(deviceClasses, id.classCode))
        return std::string(known->shortName) + std::to_string(id.number);
    return "class" + std::to_string(id.classCode) + "/" + std::to_string(id.number);
}

const Device *deviceNamed(const Machine &machine, std::string_view name)
{
    for (const Device &device : machine.devices) {
        const DeviceClass &known = *rowOf(deviceClasses, device.id.classCode);
        for (const std::string_view word : {known.shortName, known.alias})
            if (equalsIgnoringCase(name, std::string(word) + std::to_string(device.id.number)))
                return &device;
    }
    for (const Device &device : machine.devices)
        if (equalsIgnoringCase(name, device.name))
            return &device;
    return nullptr;
}

} // namespace sim
