// SPDX-License-Identifier: GPL-2.0-or-later
#include "yatctl/watch.h"

#include "base/display.h"
#include "shared/program.h"
#include "text/encoding.h"
#include "yatctl/report.h"
#include "yatctl/waiting.h"

#include <cstdio>
#include <ctime>
#include <map>

namespace yatctl {
namespace {

// The states by short names. One that gets on has not changed.
using States = std::map<std::string, std::string>;

std::string stateOf(Device device)
{
    if (!stateWord(device).empty()) {
        device.stateText.clear();
        device.facts.known &= ~YAT_KNOWS_PROGRESS;
    }
    return shownState(device);
}

States look(Machine &machine)
{
    States states;
    findDevices(machine);
    for (Device &device : machine.devices) {
        read(device);
        states[device.shortName] = stateOf(device);
    }
    return states;
}

std::string timeNow()
{
    const time_t now = time(nullptr);
    tm parts{};
    localtime_r(&now, &parts);
    char text[64];
    return std::string(text, strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S%z", &parts));
}

void tell(const Request &request, const std::string &device, const std::string &from,
          const std::string &to)
{
    if (request.json) {
        Json json = beginJson();
        json["change"] = {{"device", device}, {"from", from}, {"to", to}, {"time", timeNow()}};
        print(json, -1);
    } else {
        const std::string line = timeNow() + " " + device + ": " + from + " -> " + to;
        printf("%s\n", showable(yat::toDisplay(line)).c_str());
    }
    finishOutput();
}

} // namespace

void watch(const Request &request)
{
    constexpr char absent[] = "-";
    Machine machine;
    for (States before = look(machine);;) {
        sleepFor(request.interval);
        States now = look(machine);
        for (const auto &[device, state] : now) {
            const auto known = before.find(device);
            const std::string from = known == before.end() ? absent : known->second;
            if (from != state)
                tell(request, device, from, state);
        }
        for (const auto &[device, state] : before)
            if (!now.contains(device))
                tell(request, device, state, absent);
        before = std::move(now);
    }
}

} // namespace yatctl
