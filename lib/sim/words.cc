// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/words.h"

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

} // namespace sim
