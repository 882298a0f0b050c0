// The simulated machine: what its devices do in the course of time, and what operations do to
// them. Nothing here reads a clock or a file; whoever calls says what time it is.
#pragma once

#include "sim/description.h"
#include "yat/device.h"

#include <compare>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sim {

struct DeviceId {
    int classCode = 0; // YAT_CLASS_...
    int number = 0;
    auto operator<=>(const DeviceId &) const = default;
};

constexpr DeviceId wholeMachine = {YAT_CLASS_GENERAL, 1};

struct Device {
    DeviceId id;
    std::string name;
    int partner = -1; // position of the other module of the pair, -1 for none
    int carrier = -1; // of an adapter: position of its PCI module

    State state = State::stopped; // of an adapter: broken, or duplex for one that is whole
    Time since = 0;               // when the state began
    int mtbfType = restartAboveThreshold;
    bool defective = false;     // fails at each start until it is repaired
    int failureCount = 0;       // since it was cleared
    std::vector<Time> failures; // when the last of them were, the oldest first

    std::string biosVersion, biosStatus;
    Bios bios = Bios::described;
    std::string newBios;      // what the firmware update brings
    bool copies = false;      // the firmware update takes it from the running module
    bool startsAfter = false; // the firmware update is the beginning of a start

    bool operator==(const Device &) const = default;
};

struct Machine {
    std::shared_ptr<const Description> description;
    Time now = 0;
    bool automaticFirmwareUpdate = false;
    bool automaticModuleStart = false;
    Time mtbfThreshold = 0;
    std::string dataFileVersion;
    std::vector<Device> devices; // CPU modules, then PCI modules, each followed by its adapters

    bool operator==(const Machine &) const = default;
};

enum class Verb {
    // by the calls of yat/ft.h
    clearMtbf,
    bringUp,
    bringDown,
    setMtbfType,
    burnFirmware,
    putSetting,
    // from outside
    fail,
    repair,
    pull,
    insert,
    set,
};

struct Operation {
    Verb verb = Verb::clearMtbf;
    DeviceId device = wholeMachine;
    int code = 0;           // the operation code of a call on a device, or the kind of a setting
    std::string argument{}; // see apply
};

// Why an operation is refused.
enum class Refusal {
    none,
    unknownDevice,
    wrongCode,   // does not belong to the operation and the device's class
    unsupported, // by the machine type
    wrongArgument,
    notInstalled,
    installed,
    notStopped,
    notRunning,
    lastRunning, // of its pair
    broken,
    notBroken,
    biosInvalid,
    noBiosSource,
};

// The machine as its description has it.
Machine makeMachine(std::shared_ptr<const Description> description, Time now);

// The description that makes a machine like this one; what is under way is stopped in it.
Description describe(const Machine &machine);

// Lets the time pass: everything that is due until then happens, in its order. A time before
// machine.now changes nothing.
void advance(Machine &machine, Time until);

// Whether the machine takes an operation on a device now, whatever its argument.
Refusal check(const Machine &machine, Verb verb, DeviceId device, int code);

// Carries an operation out, or refuses it with nothing changed. The arguments:
//
//     setMtbfType   "0", "1" or "2"
//     burnFirmware  "FWCOPY" or "FWBURN"
//     putSetting    "1" or "0"
//     fail          "" or "permanent": it fails again at each start until it is repaired
//     set           "KEY=VALUE", see setKeys
Refusal apply(Machine &machine, const Operation &operation);

// What the operation set takes, for messages and manuals.
struct SetKey {
    const char *key, *values;
    bool ofDevice; // of a module; of the machine otherwise
};
extern const SetKey setKeys[8];

const Device *find(const Machine &machine, DeviceId id);
Device *find(Machine &machine, DeviceId id);
const Device *partnerOf(const Machine &machine, const Device &device);

bool isModule(DeviceId id);
bool isRunning(State state);

// The state of a device; an adapter has that of the module which carries it, unless it is broken
// itself. One that is whole is stopped on a broken module.
State stateOf(const Machine &machine, const Device &device);

// How far a state that ends by itself has got, 0 to 99 per cent; nothing for one that lasts.
std::optional<int> progress(const Machine &machine, const Device &device);

// The mean time between the failures; nothing for fewer than two.
std::optional<Time> mtbf(const Device &device);

// What can't be in a machine, such as one module in duplex; empty when there is nothing.
std::string contradiction(const Machine &machine);

// Support code of an operation on a class of devices, 0 when it has none. The operation code is
// one above.
int supportCode(Verb verb, int classCode);
std::optional<Verb> verbOfSupportCode(int classCode, int support);

} // namespace sim
