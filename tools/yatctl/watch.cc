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

using Seen = std::pair<std::string, Json>; // as it is shown, and in JSON

using States = std::map<std::string, Seen>; // by short names

// One that gets on has not changed, so what is shown leaves out how far it is.
Seen seen(Device device)
{
    Json json = stateJson(device);
    if (!stateWord(device).empty()) {
        device.stateText.clear();
        device.facts.known &= ~YAT_KNOWS_PROGRESS;
    }
    return {shownState(device), json};
}

States look(Machine &machine)
{
    States states;
    findDevices(machine);
    for (Device &device : machine.devices) {
        read(device);
        states[device.shortName] = seen(device);
    }
    return states;
}

std::string timeNow()
{
    const time_t now = time(nullptr);
    tm parts{};
    localtime_r(&now, &parts);
    char text[64];
    std::string zoned(text, strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S%z", &parts));
    return zoned.insert(zoned.size() - 2, ":");
}

void tell(const Request &request, const std::string &device, const Seen &from, const Seen &to)
{
    if (request.json) {
        Json json = beginJson();
        json["change"] = {
            {"device", device}, {"from", from.second}, {"to", to.second}, {"time", timeNow()}};
        print(json, -1);
    } else {
        const std::string line = timeNow() + " " + device + ": " + from.first + " -> " + to.first;
        printf("%s\n", showable(yat::toDisplay(line)).c_str());
    }
    finishOutput();
}

} // namespace

void watch(const Request &request)
{
    const Seen absent = {"-", Json()};
    Machine machine;
    for (States before = look(machine);;) {
        sleepFor(request.interval);
        States now = look(machine);
        for (const auto &[device, state] : now) {
            const auto known = before.find(device);
            const Seen &from = known == before.end() ? absent : known->second;
            if (from.first != state.first)
                tell(request, device, from, state);
        }
        for (const auto &[device, state] : before)
            if (!now.contains(device))
                tell(request, device, state, absent);
        before = std::move(now);
    }
}

} // namespace yatctl
