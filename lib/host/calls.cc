// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/calls.h"

#include "common/answers.h"
#include "common/records.h"
#include "host/names.h"
#include "host/reading.h"
#include "host/words.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <set>

namespace host {
namespace {

// The devices as they were last listed: their numbers are those that the callers have.
std::vector<Device> listed;

void list(const Machine &machine)
{
    listed = devicesOf(machine, nameOf, yat::isJapanese());
    forgetNames();
}

// One look at the server for all questions of a listing, as a look at a large one takes long. It
// answers each question once and for a moment only: who asks again wants to know what it is now.
struct Look {
    Memory memory; // from before: counters that others clear meanwhile are above it, never below
    Machine machine;
    std::chrono::steady_clock::time_point until;
    std::set<std::string> answered{};
};
std::optional<Look> lastLook;

bool canAnswer(const std::string &question)
{
    return lastLook && std::chrono::steady_clock::now() < lastLook->until
           && lastLook->answered.insert(question).second;
}

Look lookNow()
{
    Memory memory = recall();
    return {.memory = std::move(memory),
            .machine = readMachine(),
            .until = std::chrono::steady_clock::now() + std::chrono::seconds(1)};
}

// The answers to what is asked after facts may come from their look.
const Look &lookForFacts(const std::string &question)
{
    if (!canAnswer(question)) {
        lastLook = lookNow();
        lastLook->answered.insert(question);
    }
    return *lastLook;
}

Look lookFor(int kind, int number, int what)
{
    const std::string question =
        std::to_string(kind) + " " + std::to_string(number) + " " + std::to_string(what);
    return canAnswer(question) ? *lastLook : lookNow();
}

const Device *deviceNumbered(int classCode, int instance)
{
    if (listed.empty())
        list(readMachine());
    const auto found = std::ranges::find_if(listed, [&](const Device &device) {
        return classOf(device.kind) == classCode && device.instance == instance;
    });
    return found == listed.end() ? nullptr : &*found;
}

std::optional<int32_t> toldState(const Machine &machine, const Device &device)
{
    const Package *package = packageOf(machine, device);
    const Slot *slot = slotOf(machine, device);
    switch (package ? stateOf(*package) : slot ? stateOf(machine, *slot) : State::running) {
    case State::running: return YAT_DEVICE_RUNNING;
    case State::stopped: return YAT_DEVICE_STOPPED;
    case State::empty: return YAT_DEVICE_NOT_INSTALLED;
    case State::unknown: break;
    }
    return {};
}

// Those of processors that are offline are not counted, and are again once they are back.
bool countsAllOf(const Machine &machine, const Device &device)
{
    const Package *package = packageOf(machine, device);
    return countsOf(machine, device).isKnown
           && (!package || onlineOf(*package) == static_cast<int>(package->processors.size()));
}

Counts countsSinceCleared(const Look &look, const Device &device)
{
    const auto found = look.memory.baselines.find(keyOf(device));
    const Counts counts = countsOf(look.machine, device);
    if (found == look.memory.baselines.end())
        return counts;
    const Counts baseline = zeroedWhereReset(found->second, counts);
    if (baseline != found->second && countsAllOf(look.machine, device))
        rememberBaseline(keyOf(device), found->second, baseline);
    return since(baseline, counts);
}

} // namespace

// ---- Devices, properties, state

int createTree(yat_device **root)
{
    lookAnew();
    list(readMachine());
    std::vector<yat::DeviceRow> rows;
    rows.reserve(listed.size());
    for (const Device &device : listed)
        rows.push_back(
            {classOf(device.kind), device.instance, device.path, device.name, device.parent});
    *root = yat::makeRecords(rows);
    return 1;
}

int isFt(int)
{
    return YAT_MACHINE_ALDER; // modules, and no MTBF type
}

static std::optional<std::string> propertyOf(const Machine &machine, int kind, int number,
                                             int property)
{
    const Device *device = deviceNumbered(kind, number);
    if (!device || !packageOf(machine, *device))
        return {};
    if (property == YAT_PROPERTY_BIOS_VERSION && !machine.biosVersion.empty())
        return machine.biosVersion;
    if (property == YAT_PROPERTY_BIOS_STATUS)
        return biosStatusText(yat::isJapanese());
    return {};
}

int getProperty(int kind, int number, int property, char *buffer, unsigned long *size)
{
    if (!buffer || !size)
        return -1;
    const auto value = propertyOf(lookFor(kind, number, property).machine, kind, number, property);
    return value && yat::putProperty(*value, buffer, size) ? 0 : -1;
}

int statusChange(int kind, int number, int code, char *text)
{
    const Device *device = yat::isStateOf(kind, code) ? deviceNumbered(kind, number) : nullptr;
    if (!device)
        return -1;
    const Look look = lookFor(kind, number, -code);
    const auto state =
        stateText(look.machine, *device, countsSinceCleared(look, *device), yat::isJapanese());
    if (!state)
        return -1;
    yat::putState(*state, text);
    return 0;
}

// ---- Facts

int getFacts(yat_device *record, yat_facts *facts)
{
    const Device *device = listedDevice(record);
    if (!device)
        return 0;
    const Look &look = lookForFacts(keyOf(*device));
    const Counts counts = countsSinceCleared(look, *device);
    yat_facts told{};
    if (const auto state = toldState(look.machine, *device)) {
        told.known |= YAT_KNOWS_STATE;
        told.state = *state;
    }
    if (counts.isKnown) {
        told.known |= YAT_KNOWS_FAILURES;
        told.failures = static_cast<int64_t>(sumOfErrors(counts.corrected, counts.uncorrected));
    }
    if (device->kind == Kind::package) {
        told.known |= YAT_KNOWS_BIOS;
        told.bios = YAT_BIOS_VALID;
    }
    yat::putFacts(told, facts);
    return 1;
}

const Device *listedDevice(const yat_device *record)
{
    const yat_identity *identity = record ? record->identity : nullptr;
    const auto found = std::ranges::find_if(listed, [&](const Device &device) {
        return identity && identity->ClassCode == classOf(device.kind)
               && std::ranges::equal(identity->DevicePathID, device.path);
    });
    return found == listed.end() ? nullptr : &*found;
}

void lookAnew()
{
    lastLook.reset();
}

void forget()
{
    lookAnew();
    listed.clear();
    forgetNames();
}

} // namespace host
