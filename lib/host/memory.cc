// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/memory.h"

#include "common/file.h"
#include "common/paths.h"
#include "host/lock.h"
#include "host/sysfs.h"

#include <nlohmann/json.hpp>

namespace host {
namespace {

using nlohmann::json;

std::string fileName()
{
    return yat::stateDirectory() + "/host.json";
}

// Another one after each start of the server, which sets the counters and the processors back.
std::string thisBoot()
{
    return readAttribute("/proc/sys/kernel/random/boot_id").value_or("");
}

Memory fromJson(const json &text)
{
    Memory memory;
    for (const auto &[processor, package] : text.at("packages").items())
        memory.packages[std::stoi(processor)] = package.get<int>();
    for (const auto &[device, counts] : text.at("baselines").items())
        memory.baselines[device] = {true, counts.at("corrected").get<uint64_t>(),
                                    counts.at("uncorrected").get<uint64_t>()};
    return memory;
}

json toJson(const Memory &memory)
{
    json text = {{"boot", thisBoot()}, {"packages", json::object()}, {"baselines", json::object()}};
    for (const auto &[processor, package] : memory.packages)
        text["packages"][std::to_string(processor)] = package;
    for (const auto &[device, counts] : memory.baselines)
        text["baselines"][device] = {{"corrected", counts.corrected},
                                     {"uncorrected", counts.uncorrected}};
    return text;
}

} // namespace

Memory readMemory()
try {
    const json text = json::parse(readAttribute(fileName()).value_or("{}"));
    return text.value("boot", "") == thisBoot() ? fromJson(text) : Memory();
} catch (const std::exception &) {
    return {};
}

void changeMemory(const std::function<void(Memory &)> &change)
{
    const Lock lock("host.json.lock", true);
    const Memory before = readMemory();
    Memory memory = before;
    change(memory);
    if (memory != before)
        yat::replaceFile(fileName(), toJson(memory).dump(2) + "\n", 0640);
}

} // namespace host
