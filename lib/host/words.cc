// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/words.h"

namespace host {
namespace {

std::string wordOf(State state, bool japanese)
{
    switch (state) {
    case State::running: return japanese ? "稼働中" : "Running";
    case State::stopped: return japanese ? "停止中" : "Stopped";
    case State::empty: return japanese ? "未搭載" : "Not installed";
    case State::unknown: break;
    }
    return {};
}

std::string countText(const Counts &counts)
{
    return counts.isKnown ? ",\nCE " + std::to_string(counts.corrected) + ", UE "
                                + std::to_string(counts.uncorrected)
                          : "";
}

std::string packageText(const Package &package, bool japanese)
{
    const State state = stateOf(package);
    if (state != State::running)
        return wordOf(state, japanese);
    const std::string online = std::to_string(onlineOf(package)),
                      all = std::to_string(package.processors.size());
    return japanese ? wordOf(state, true) + " " + online + "/" + all
                    : online + " of " + all + " running";
}

} // namespace

std::optional<std::string> stateText(const Machine &machine, const Device &device,
                                     const Counts &counts, bool japanese)
{
    std::string text;
    if (const Package *package = packageOf(machine, device))
        text = packageText(*package, japanese);
    else if (const Slot *slot = slotOf(machine, device))
        text = wordOf(stateOf(machine, *slot), japanese);
    else if (device.kind == Kind::unslotted)
        text = wordOf(State::running, japanese);
    return text.empty() ? std::nullopt : std::optional(text + countText(counts));
}

std::string biosStatusText(bool japanese)
{
    return japanese ? "使用中" : "In use";
}

} // namespace host
