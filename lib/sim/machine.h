// SPDX-License-Identifier: GPL-2.0-or-later
// The simulated machine as a value: its devices with what they are and what they do now. Nothing
// in it needs a clock or a file; the caller says what time it is.
#pragma once

#include "sim/terms.h"

#include <compare>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace sim {

struct DeviceId {
    int classCode = 0; // YAT_CLASS_...
    int number = 0;    // from 1
    auto operator<=>(const DeviceId &) const = default;
};

constexpr DeviceId wholeMachine = {YAT_CLASS_GENERAL, 1};

bool isModule(DeviceId id);

struct Device {
    // what it is
    DeviceId id;
    std::string name;
    PathIdentifier path{};
    int board = 0;    // of a module: number of the board that carries it
    int partner = 0;  // of a module: number of the other one of the pair, 0 for none
    int parent = -1;  // of an adapter: position of the module or the adapter right above it
    int carrier = -1; // of an adapter: position of its module; made with the index

    // what it does
    State state = State::stopped; // of an adapter: broken, or duplex for one that is whole
    Time since = 0;               // when the state began
    int mtbfType = restartAboveThreshold;
    bool defective = false;     // fails at each start until it is repaired
    int failureCount = 0;       // since it was cleared
    std::vector<Time> failures; // when the last of them were, the oldest first

    std::string biosVersion, biosStatus; // of a CPU module
    Bios bios = Bios::described;
    std::string newBios;      // what the firmware update brings
    bool copies = false;      // the firmware update takes it from the running module
    bool startsAfter = false; // the firmware update is the beginning of a start

    bool operator==(const Device &) const = default;
};

// Where devices are found, so that no call looks through all of them.
struct Index {
    std::map<int, std::vector<int>> byNumber; // of each class: positions, -1 for none
    std::vector<int> byBoard;
    std::set<std::pair<Time, int>> underWay; // when a state ends by itself, and of which position
    std::set<int> changed; // positions changed since they were last written; the writer clears it

    bool operator==(const Index &) const = default;
};

struct Machine {
    std::string name;
    int type = YAT_MACHINE_PLAIN;
    std::vector<uint8_t> bmcResponse; // to Get Device ID, the completion code first
    std::string dataFileVersion;      // of the BIOS in the firmware data file
    bool automaticFirmwareUpdate = false;
    bool automaticModuleStart = false;
    Time mtbfThreshold = 24 * hour;
    Timing timing;
    unsigned supported = 0; // a bit for each support code

    Time now = 0;
    // CPU modules, then PCI modules, each class in instance order; each module followed by its
    // adapters, each of these by those below it.
    std::vector<Device> devices;
    Index index;

    bool operator==(const Machine &) const = default;
};

// As yat::settings has them.
constexpr bool Machine::*settingMembers[] = {&Machine::automaticFirmwareUpdate,
                                             &Machine::automaticModuleStart};
static_assert(std::size(settingMembers) == std::size(yat::settings));

// The setting of a YAT_SETTING_... kind; null for another kind.
constexpr bool Machine::*settingOf(int kind)
{
    for (size_t i = 0; i < std::size(yat::settings); ++i)
        if (yat::settings[i].kind == kind)
            return settingMembers[i];
    return nullptr;
}

// The machine at another time: all that has happened to it is as long ago as before.
Machine movedTo(Machine machine, Time now);

// The machine as a description of it says: its time is 0, and what was under way is stopped.
Machine atRest(Machine machine);

// Rebuilds the index and the carriers after devices were added or changed by other means than time
// and operations.
void makeIndex(Machine &machine);

int positionOf(const Machine &machine, DeviceId id); // -1 for none
int positionOf(const Machine &machine, const Device &device);

// These give null for none, and what can be changed of a machine that can.
auto *deviceAt(auto &&machine, int position)
{
    return position < 0 ? nullptr : &machine.devices[static_cast<size_t>(position)];
}

auto *find(auto &&machine, DeviceId id)
{
    return deviceAt(machine, positionOf(machine, id));
}

auto *partnerOf(auto &&machine, const Device &device)
{
    return find(machine, DeviceId{device.id.classCode, device.partner});
}

const Device *moduleOfBoard(const Machine &machine, int board);
const Device *carrierOf(const Machine &machine, const Device &device); // of an adapter

// Whether the machine type has an operation for a class of devices.
bool supports(const Machine &machine, Verb verb, int classCode);

// The state of a device; an adapter has that of the module which carries it, unless it is broken
// itself. One that is whole is stopped on a broken module.
State stateOf(const Machine &machine, const Device &device);

// How long a state that ends by itself lasts; 0 for any other.
Time durationOf(const Machine &machine, State state);

// How far a state that ends by itself has got, 0 to 99 per cent; nothing for one that lasts.
std::optional<int> progress(const Machine &machine, const Device &device);

// The mean time between the failures; nothing for fewer than two.
std::optional<Time> mtbf(const Device &device);

} // namespace sim
