#include "sim/model.h"

#include "yat/ft.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

namespace sim {

const SetKey setKeys[8] = {
    {"mtbf_type",
     "0 (stay down), 1 (always restart) or 2 (restart above threshold), of a module", true},
    {"bios_version", "a text of 1 to 1000 bytes, of a CPU module", true},
    {"bios_status", "a text of 1 to 1000 bytes, of a CPU module", true},
    {"automatic_firmware_update", "on or off", false},
    {"automatic_module_start", "on or off", false},
    {"mtbf_threshold", "hours, 0 to 876000", false},
    {"data_file", "the BIOS version in the firmware data file, a text of up to 1000 bytes", false},
    {"time", "+SECONDS, 0 to 315360000: lets so much time pass", false},
};

namespace {

struct Code {
    Verb verb;
    int classCode, support;
};

constexpr Code codes[] = {
    {Verb::clearMtbf, YAT_CLASS_CPU_MODULE, 1},
    {Verb::bringUp, YAT_CLASS_CPU_MODULE, 5},
    {Verb::bringDown, YAT_CLASS_CPU_MODULE, 7},
    {Verb::burnFirmware, YAT_CLASS_CPU_MODULE, 9},
    {Verb::setMtbfType, YAT_CLASS_CPU_MODULE, 13},
    {Verb::clearMtbf, YAT_CLASS_PCI_MODULE, 15},
    {Verb::bringUp, YAT_CLASS_PCI_MODULE, 19},
    {Verb::bringDown, YAT_CLASS_PCI_MODULE, 21},
    {Verb::setMtbfType, YAT_CLASS_PCI_MODULE, 23},
    {Verb::clearMtbf, YAT_CLASS_SCSI_ADAPTER, 25},
    {Verb::clearMtbf, YAT_CLASS_ETHERNET_ADAPTER, 31},
};

constexpr Time longestThreshold = longestMtbf * hour;
constexpr double longestStep = 315'360'000; // seconds

Device *partnerOf(Machine &machine, const Device &device)
{
    return device.partner < 0 ? nullptr : &machine.devices[static_cast<size_t>(device.partner)];
}

void enter(const Machine &machine, Device &device, State state)
{
    device.state = state;
    device.since = machine.now;
}

bool supports(const Machine &machine, Verb verb, int classCode)
{
    const int support = supportCode(verb, classCode);
    return support != 0 && (machine.description->supported & 1u << support) != 0;
}

// ---- Making a machine

void addFailures(Device &device, std::vector<Time> ago, int count, Time now)
{
    std::ranges::sort(ago, std::greater());
    for (const Time time : ago)
        device.failures.push_back(now - time);
    device.failureCount = count;
}

void addAdapters(Machine &machine, const std::vector<Adapter> &adapters, int carrier)
{
    for (const Adapter &adapter : adapters) {
        Device device;
        device.id = {adapter.classCode, adapter.number};
        device.name = adapter.name;
        device.carrier = carrier;
        device.state = adapter.broken ? State::broken : State::duplex;
        device.defective = adapter.defective;
        device.since = machine.now;
        addFailures(device, adapter.failures, adapter.failureCount, machine.now);
        machine.devices.push_back(std::move(device));
        addAdapters(machine, adapter.adapters, carrier);
    }
}

void addModule(Machine &machine, const Module &module)
{
    Device device;
    device.id = {module.classCode, module.number};
    device.name = module.name;
    device.state = module.state;
    device.since = machine.now;
    device.mtbfType = module.mtbfType;
    device.biosVersion = module.biosVersion;
    device.biosStatus = module.biosStatus;
    device.bios = module.bios;
    device.defective = module.defective;
    addFailures(device, module.failures, module.failureCount, machine.now);
    const int position = static_cast<int>(machine.devices.size());
    machine.devices.push_back(std::move(device));
    addAdapters(machine, module.adapters, position);
}

int positionOf(const Machine &machine, DeviceId id)
{
    for (size_t i = 0; i < machine.devices.size(); ++i)
        if (machine.devices[i].id == id)
            return static_cast<int>(i);
    return -1;
}

// ---- Describing one

// A description has no room for what is longer ago than the longest MTBF.
std::vector<Time> failuresAgo(const Machine &machine, const Device &device)
{
    std::vector<Time> result;
    for (const Time time : device.failures)
        result.push_back(std::min(machine.now - time, longestMtbf * hour));
    return result;
}

void describeAdapters(const Machine &machine, std::vector<Adapter> &adapters)
{
    for (Adapter &adapter : adapters) {
        const Device &device = *find(machine, {adapter.classCode, adapter.number});
        adapter.broken = device.state == State::broken;
        adapter.defective = device.defective;
        adapter.failureCount = device.failureCount;
        adapter.failures = failuresAgo(machine, device);
        describeAdapters(machine, adapter.adapters);
    }
}

// ---- In the course of time

Time duration(const Machine &machine, State state)
{
    const Timing &timing = machine.description->timing;
    switch (state) {
    case State::starting: return timing.start;
    case State::synchronising: return timing.synchronise;
    case State::stopping: return timing.stop;
    case State::firmwareUpdate: return timing.firmwareUpdate;
    default: return 0;
    }
}

bool endsByItself(State state)
{
    return state == State::starting || state == State::synchronising || state == State::stopping
           || state == State::firmwareUpdate;
}

bool partnerRuns(const Machine &machine, const Device &device)
{
    const Device *partner = sim::partnerOf(machine, device);
    return partner && isRunning(partner->state);
}

// The running module whose BIOS this one can take, null when there is none.
const Device *biosSource(const Machine &machine, const Device &device)
{
    const Device *partner = sim::partnerOf(machine, device);
    return partner && isRunning(partner->state) && partner->bios != Bios::invalid ? partner
                                                                                  : nullptr;
}

void countFailure(const Machine &machine, Device &device)
{
    device.failureCount = std::min(device.failureCount + 1, mostFailures);
    device.failures.push_back(machine.now);
    if (device.failures.size() > failuresKept)
        device.failures.erase(device.failures.begin());
}

// Whether a BIOS version is older than another one. The numbers in them count as numbers, whatever
// zeros they begin with.
bool isOlder(std::string_view left, std::string_view right)
{
    const auto isDigit = [](char byte) { return byte >= '0' && byte <= '9'; };
    const auto takeNumber = [&](std::string_view &text) {
        const auto end = std::ranges::find_if_not(text, isDigit);
        std::string_view number(text.begin(), end);
        text.remove_prefix(number.size());
        number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
        return number;
    };
    while (!left.empty() && !right.empty()) {
        if (isDigit(left[0]) && isDigit(right[0])) {
            const std::string_view one = takeNumber(left), other = takeNumber(right);
            if (one != other)
                return one.size() != other.size() ? one.size() < other.size() : one < other;
        } else if (left[0] != right[0]) {
            return left < right;
        } else {
            left.remove_prefix(1);
            right.remove_prefix(1);
        }
    }
    return left.empty() && !right.empty();
}

// The BIOS of a module that is about to start is brought up to that of the running one.
bool needsFirmware(const Machine &machine, const Device &device)
{
    const Device *source = biosSource(machine, device);
    if (!machine.automaticFirmwareUpdate || !source
        || !supports(machine, Verb::burnFirmware, device.id.classCode))
        return false;
    return device.bios == Bios::invalid || isOlder(device.biosVersion, source->biosVersion);
}

bool canStart(const Machine &machine, const Device &device)
{
    return device.bios != Bios::invalid || needsFirmware(machine, device);
}

void start(const Machine &machine, Device &device)
{
    if (!needsFirmware(machine, device)) {
        enter(machine, device, State::starting);
        return;
    }
    enter(machine, device, State::firmwareUpdate);
    device.newBios = biosSource(machine, device)->biosVersion;
    device.copies = true;
    device.startsAfter = true;
}

void startIfAutomatic(const Machine &machine, Device &device)
{
    if (machine.automaticModuleStart && device.state == State::stopped && canStart(machine, device))
        start(machine, device);
}

void endFirmwareUpdate(Device &device)
{
    device.newBios.clear();
    device.copies = false;
    device.startsAfter = false;
}

// What the partner does when this module no longer runs, or no longer will.
void tellPartner(Machine &machine, const Device &device)
{
    Device *partner = partnerOf(machine, device);
    if (!partner)
        return;
    if (partner->state == State::duplex) {
        enter(machine, *partner, State::simplex);
    } else if (partner->state == State::synchronising) {
        enter(machine, *partner, State::starting); // there is nothing left to synchronise with
    } else if (partner->state == State::firmwareUpdate && partner->copies) {
        endFirmwareUpdate(*partner);
        partner->bios = Bios::invalid;
        enter(machine, *partner, State::stopped);
    }
}

// Takes a module out of whatever it does, by no choice of its own.
void interrupt(Machine &machine, Device &device, State next)
{
    const bool ran = isRunning(device.state);
    if (device.state == State::firmwareUpdate) {
        endFirmwareUpdate(device);
        device.bios = Bios::invalid;
    }
    enter(machine, device, next);
    if (ran)
        tellPartner(machine, device);
}

// What a module carries starts with it.
void startAdapters(Machine &machine, const Device &module)
{
    for (Device &device : machine.devices)
        if (device.carrier >= 0 && &machine.devices[static_cast<size_t>(device.carrier)] == &module
            && device.defective && device.state != State::broken) {
            countFailure(machine, device);
            enter(machine, device, State::broken);
        }
}

// A start that fails is not tried again, whatever the MTBF type: that is for what runs.
void finishStart(Machine &machine, Device &device)
{
    if (device.defective) {
        countFailure(machine, device);
        enter(machine, device, State::broken);
    } else {
        enter(machine, device,
              partnerRuns(machine, device) ? State::synchronising : State::simplex);
        startAdapters(machine, device);
    }
}

void finishFirmwareUpdate(const Machine &machine, Device &device)
{
    device.biosVersion = device.newBios;
    device.bios = device.copies ? Bios::copied : Bios::burnt;
    enter(machine, device, device.startsAfter ? State::starting : State::stopped);
    endFirmwareUpdate(device);
}

void finish(Machine &machine, Device &device)
{
    switch (device.state) {
    case State::starting: finishStart(machine, device); break;
    case State::synchronising:
        enter(machine, device, State::duplex);
        enter(machine, *partnerOf(machine, device), State::duplex);
        break;
    case State::stopping: enter(machine, device, State::stopped); break;
    case State::firmwareUpdate: finishFirmwareUpdate(machine, device); break;
    default: break;
    }
}

Time due(const Machine &machine, const Device &device)
{
    return device.since + duration(machine, device.state);
}

bool restarts(const Machine &machine, const Device &device)
{
    const auto mean = mtbf(device);
    return device.mtbfType == alwaysRestart
           || (device.mtbfType == restartAboveThreshold
               && (!mean || *mean >= machine.mtbfThreshold));
}

// ---- Operations

// A broken device that may start again. An adapter starts at once with the module that runs.
void comeBack(const Machine &machine, Device &device)
{
    if (isModule(device.id)) {
        enter(machine, device, State::stopped);
        startIfAutomatic(machine, device);
    } else if (device.defective) {
        countFailure(machine, device);
    } else {
        enter(machine, device, State::duplex);
    }
}

void clearMtbf(const Machine &machine, Device &device)
{
    device.failureCount = 0;
    device.failures.clear();
    if (device.state == State::broken)
        comeBack(machine, device);
}

void bringDown(Machine &machine, Device &device)
{
    const bool ran = isRunning(device.state);
    enter(machine, device, State::stopping);
    if (ran)
        tellPartner(machine, device);
}

Refusal burnFirmware(const Machine &machine, Device &device, const std::string &mode)
{
    const bool copies = mode == "FWCOPY";
    if (!copies && mode != "FWBURN")
        return Refusal::wrongArgument;
    const Device *source = biosSource(machine, device);
    if (copies ? !source : machine.dataFileVersion.empty())
        return Refusal::noBiosSource;
    device.newBios = copies ? source->biosVersion : machine.dataFileVersion;
    device.copies = copies;
    enter(machine, device, State::firmwareUpdate);
    return Refusal::none;
}

bool isDigit(const std::string &text, char last)
{
    return text.size() == 1 && text[0] >= '0' && text[0] <= last;
}

Refusal setMtbfType(Device &device, const std::string &type)
{
    if (!isDigit(type, '2'))
        return Refusal::wrongArgument;
    device.mtbfType = type[0] - '0';
    return Refusal::none;
}

bool *settingOf(Machine &machine, int kind)
{
    return kind == YAT_SETTING_AUTO_BURN       ? &machine.automaticFirmwareUpdate
           : kind == YAT_SETTING_AUTO_BRING_UP ? &machine.automaticModuleStart
                                               : nullptr;
}

Refusal putSetting(Machine &machine, int kind, const std::string &value)
{
    bool *setting = settingOf(machine, kind);
    if (!setting)
        return Refusal::wrongCode;
    if (!isDigit(value, '1'))
        return Refusal::wrongArgument;
    *setting = value == "1";
    return Refusal::none;
}

Refusal fail(Machine &machine, Device &device, const std::string &argument)
{
    if (!argument.empty() && argument != "permanent")
        return Refusal::wrongArgument;
    countFailure(machine, device);
    if (argument == "permanent")
        device.defective = true;
    if (!isModule(device.id)) {
        if (device.defective || !restarts(machine, device))
            enter(machine, device, State::broken);
        return Refusal::none;
    }
    const bool wasToRun = device.state == State::firmwareUpdate ? device.startsAfter
                                                                : device.state != State::stopping;
    interrupt(machine, device, State::broken);
    if (wasToRun && restarts(machine, device) && canStart(machine, device))
        start(machine, device);
    return Refusal::none;
}

void repair(const Machine &machine, Device &device)
{
    device.defective = false;
    if (device.state == State::broken)
        comeBack(machine, device);
}

// ---- Operation set

std::optional<double> number(const std::string &text, double most)
{
    double result = 0;
    const char *end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, result);
    if (error != std::errc() || rest != end || !(result >= 0 && result <= most))
        return {};
    return result;
}

bool setOfMachine(Machine &machine, const std::string &key, const std::string &value)
{
    const bool isSwitch = value == "on" || value == "off";
    if (key == "automatic_firmware_update" && isSwitch) {
        machine.automaticFirmwareUpdate = value == "on";
    } else if (key == "automatic_module_start" && isSwitch) {
        machine.automaticModuleStart = value == "on";
    } else if (key == "data_file" && value.size() <= longestVersion) {
        machine.dataFileVersion = value;
    } else if (const auto hours = number(value, longestMtbf);
               key == "mtbf_threshold" && hours) {
        machine.mtbfThreshold = std::llround(*hours * static_cast<double>(hour));
    } else if (key == "time" && value.starts_with('+')) {
        const auto seconds = number(value.substr(1), longestStep);
        const Time step = std::llround(seconds.value_or(0) * static_cast<double>(second));
        if (!seconds || machine.now > lastMoment - step)
            return false;
        advance(machine, machine.now + step);
    } else {
        return false;
    }
    return true;
}

bool setOfDevice(Device &device, const std::string &key, const std::string &value)
{
    const bool isCpu = device.id.classCode == YAT_CLASS_CPU_MODULE;
    const bool isText = !value.empty() && value.size() <= longestVersion;
    if (key == "mtbf_type" && isModule(device.id))
        return setMtbfType(device, value) == Refusal::none;
    if (key == "bios_version" && isCpu && isText) {
        device.biosVersion = value;
        return true;
    }
    if (key == "bios_status" && isCpu && isText) {
        device.biosStatus = value;
        device.bios = Bios::described;
        return true;
    }
    return false;
}

Refusal set(Machine &machine, Device *device, const std::string &argument)
{
    const size_t equals = argument.find('=');
    if (equals == std::string::npos)
        return Refusal::wrongArgument;
    const std::string key = argument.substr(0, equals), value = argument.substr(equals + 1);
    const bool done = device ? setOfDevice(*device, key, value) : setOfMachine(machine, key, value);
    return done ? Refusal::none : Refusal::wrongArgument;
}

// ---- What is refused

bool canBeBroughtDown(State state)
{
    return state == State::duplex || state == State::starting || state == State::synchronising;
}

Refusal checkStart(const Machine &machine, const Device &device)
{
    if (device.state == State::broken)
        return Refusal::broken;
    if (device.state != State::stopped)
        return Refusal::notStopped;
    return canStart(machine, device) ? Refusal::none : Refusal::biosInvalid;
}

Refusal checkBurn(const Machine &machine, const Device &device)
{
    if (device.state != State::stopped)
        return Refusal::notStopped;
    return biosSource(machine, device) || !machine.dataFileVersion.empty() ? Refusal::none
                                                                           : Refusal::noBiosSource;
}

Refusal checkFailure(const Machine &machine, const Device &device)
{
    const State state = stateOf(machine, device);
    if (state == State::broken)
        return Refusal::broken;
    return isRunning(state) || (isModule(device.id) && endsByItself(state)) ? Refusal::none
                                                                            : Refusal::notRunning;
}

Refusal checkState(const Machine &machine, Verb verb, const Device &device)
{
    switch (verb) {
    case Verb::bringUp: return checkStart(machine, device);
    case Verb::bringDown:
        return canBeBroughtDown(device.state)   ? Refusal::none
               : device.state == State::simplex ? Refusal::lastRunning
                                                : Refusal::notRunning;
    case Verb::burnFirmware: return checkBurn(machine, device);
    case Verb::fail: return checkFailure(machine, device);
    case Verb::repair:
        return device.state == State::broken || device.defective ? Refusal::none
                                                                 : Refusal::notBroken;
    default: return Refusal::none;
    }
}

// ---- What can't be

std::string contradictionOfModule(const Machine &machine, const Device &device)
{
    const Device *partner = sim::partnerOf(machine, device);
    const State other = partner ? partner->state : State::empty;
    if (device.state == State::duplex && other != State::duplex)
        return "runs in duplex without its partner";
    if (device.state == State::simplex && isRunning(other))
        return "runs in simplex beside its running partner";
    if (device.state == State::synchronising && other != State::simplex)
        return "synchronises with a partner that does not run";
    if (device.copies && !isRunning(other))
        return "takes its firmware from a partner that does not run";
    if ((device.state == State::firmwareUpdate) != !device.newBios.empty())
        return "has new firmware without an update, or an update without firmware";
    if ((device.copies || device.startsAfter) && device.state != State::firmwareUpdate)
        return "updates its firmware in a state that is none of that";
    return {};
}

std::string contradictionOfBios(const Device &device)
{
    const bool hasBios = device.id.classCode == YAT_CLASS_CPU_MODULE;
    if (hasBios && (device.biosVersion.empty() || device.biosStatus.empty()))
        return "has no BIOS";
    if (!hasBios && !(device.biosVersion.empty() && device.biosStatus.empty()))
        return "has a BIOS and is no CPU module";
    if (std::max({device.biosVersion.size(), device.biosStatus.size(), device.newBios.size()})
        > longestVersion)
        return "has a BIOS with too long a name";
    return {};
}

std::string contradictionOfFailures(const Machine &machine, const Device &device)
{
    if (device.mtbfType < stayDown || device.mtbfType > restartAboveThreshold)
        return "has an MTBF type that there is not";
    if (device.since < 0 || device.since > machine.now
        || (!device.failures.empty() && device.failures.back() > machine.now))
        return "has a past that is to come";
    if (!device.failures.empty() && device.failures.front() < -longestMtbf * hour)
        return "has failed before there were such machines";
    if (!std::ranges::is_sorted(device.failures) || device.failures.size() > failuresKept
        || device.failureCount < 0 || device.failureCount > mostFailures
        || static_cast<size_t>(device.failureCount) < device.failures.size())
        return "has failures that do not add up";
    return {};
}

Refusal applyToDevice(Machine &machine, Device &device, const Operation &operation)
{
    switch (operation.verb) {
    case Verb::clearMtbf: clearMtbf(machine, device); return Refusal::none;
    case Verb::bringUp: start(machine, device); return Refusal::none;
    case Verb::bringDown: bringDown(machine, device); return Refusal::none;
    case Verb::setMtbfType: return setMtbfType(device, operation.argument);
    case Verb::burnFirmware: return burnFirmware(machine, device, operation.argument);
    case Verb::fail: return fail(machine, device, operation.argument);
    case Verb::repair: repair(machine, device); return Refusal::none;
    case Verb::pull: interrupt(machine, device, State::empty); return Refusal::none;
    case Verb::insert:
        enter(machine, device, State::stopped);
        startIfAutomatic(machine, device);
        return Refusal::none;
    case Verb::set: return set(machine, &device, operation.argument);
    case Verb::putSetting: break;
    }
    return Refusal::wrongCode;
}

} // namespace

Machine makeMachine(std::shared_ptr<const Description> description, Time now)
{
    Machine machine;
    machine.description = description;
    machine.now = now;
    machine.automaticFirmwareUpdate = description->automaticFirmwareUpdate;
    machine.automaticModuleStart = description->automaticModuleStart;
    machine.mtbfThreshold = description->mtbfThreshold;
    machine.dataFileVersion = description->dataFileVersion;
    for (const std::vector<Module> *modules :
         {&description->cpuModules, &description->pciModules}) {
        for (const Module &module : *modules)
            addModule(machine, module);
        for (const Module &module : *modules)
            if (Device *device = find(machine, {module.classCode, module.number}))
                device->partner = positionOf(machine, {module.classCode, module.partner});
    }
    return machine;
}

Description describe(const Machine &machine)
{
    Description result = *machine.description;
    result.automaticFirmwareUpdate = machine.automaticFirmwareUpdate;
    result.automaticModuleStart = machine.automaticModuleStart;
    result.mtbfThreshold = machine.mtbfThreshold;
    result.dataFileVersion = machine.dataFileVersion;
    for (std::vector<Module> *modules : {&result.cpuModules, &result.pciModules})
        for (Module &module : *modules) {
            Device device = *find(machine, {module.classCode, module.number});
            if (endsByItself(device.state))
                device.state = State::stopped;
            module.state = device.state;
            module.mtbfType = device.mtbfType;
            module.defective = device.defective;
            module.failureCount = device.failureCount;
            module.failures = failuresAgo(machine, device);
            module.biosVersion = device.biosVersion;
            module.biosStatus = device.biosStatus;
            module.bios = device.bios;
            describeAdapters(machine, module.adapters);
        }
    return result;
}

void advance(Machine &machine, Time until)
{
    for (;;) {
        Device *next = nullptr;
        for (Device &device : machine.devices)
            if (endsByItself(device.state) && due(machine, device) <= until
                && (!next || due(machine, device) < due(machine, *next)))
                next = &device;
        if (!next)
            break;
        machine.now = std::max(machine.now, due(machine, *next));
        finish(machine, *next);
    }
    machine.now = std::max(machine.now, until);
}

Refusal check(const Machine &machine, Verb verb, DeviceId id, int code)
{
    const int support = supportCode(verb, id.classCode);
    const bool isCall = verb <= Verb::burnFirmware;
    if (isCall && (support == 0 || code != support + 1))
        return Refusal::wrongCode;
    const Device *device = find(machine, id);
    if (!device)
        return Refusal::unknownDevice;
    if (isCall && !supports(machine, verb, id.classCode))
        return Refusal::unsupported;
    const bool movesModule = verb == Verb::pull || verb == Verb::insert;
    if (movesModule && !isModule(id))
        return Refusal::unsupported;
    const bool isInstalled = stateOf(machine, *device) != State::empty;
    if (verb == Verb::insert)
        return isInstalled ? Refusal::installed : Refusal::none;
    return isInstalled ? checkState(machine, verb, *device) : Refusal::notInstalled;
}

Refusal apply(Machine &machine, const Operation &operation)
{
    if (operation.verb == Verb::putSetting)
        return operation.device == wholeMachine
                   ? putSetting(machine, operation.code, operation.argument)
                   : Refusal::unknownDevice;
    if (operation.verb == Verb::set && operation.device == wholeMachine)
        return set(machine, nullptr, operation.argument);
    const Refusal refusal = check(machine, operation.verb, operation.device, operation.code);
    if (refusal != Refusal::none)
        return refusal;
    return applyToDevice(machine, *find(machine, operation.device), operation);
}

const Device *find(const Machine &machine, DeviceId id)
{
    const int position = positionOf(machine, id);
    return position < 0 ? nullptr : &machine.devices[static_cast<size_t>(position)];
}

Device *find(Machine &machine, DeviceId id)
{
    const int position = positionOf(machine, id);
    return position < 0 ? nullptr : &machine.devices[static_cast<size_t>(position)];
}

const Device *partnerOf(const Machine &machine, const Device &device)
{
    return device.partner < 0 ? nullptr : &machine.devices[static_cast<size_t>(device.partner)];
}

bool isModule(DeviceId id)
{
    return id.classCode == YAT_CLASS_CPU_MODULE || id.classCode == YAT_CLASS_PCI_MODULE;
}

bool isRunning(State state)
{
    return state == State::simplex || state == State::duplex;
}

State stateOf(const Machine &machine, const Device &device)
{
    if (device.carrier < 0)
        return device.state;
    const State carried = machine.devices[static_cast<size_t>(device.carrier)].state;
    if (carried == State::empty || device.state == State::broken)
        return carried == State::empty ? State::empty : State::broken;
    return carried == State::broken ? State::stopped : carried;
}

std::optional<int> progress(const Machine &machine, const Device &device)
{
    const State state = stateOf(machine, device);
    if (!endsByItself(state))
        return {};
    const Device &timed =
        device.carrier < 0 ? device : machine.devices[static_cast<size_t>(device.carrier)];
    const Time whole = duration(machine, state);
    if (whole == 0)
        return 99;
    return static_cast<int>(std::clamp<Time>((machine.now - timed.since) * 100 / whole, 0, 99));
}

std::optional<Time> mtbf(const Device &device)
{
    if (device.failures.size() < 2)
        return {};
    return (device.failures.back() - device.failures.front())
           / static_cast<Time>(device.failures.size() - 1);
}

std::string contradiction(const Machine &machine)
{
    if (machine.mtbfThreshold < 0 || machine.mtbfThreshold > longestThreshold)
        return "it has an MTBF threshold that there is not";
    if (machine.dataFileVersion.size() > longestVersion)
        return "it has a data file with too long a version";
    for (const Device &device : machine.devices) {
        std::string found = isModule(device.id) ? contradictionOfModule(machine, device)
                            : device.state != State::broken && device.state != State::duplex
                                ? "is an adapter in the state of a module"
                                : "";
        if (found.empty())
            found = contradictionOfFailures(machine, device);
        if (found.empty())
            found = contradictionOfBios(device);
        if (!found.empty())
            return device.name + " " + found;
    }
    return {};
}

int supportCode(Verb verb, int classCode)
{
    for (const Code &code : codes)
        if (code.verb == verb && code.classCode == classCode)
            return code.support;
    return 0;
}

std::optional<Verb> verbOfSupportCode(int classCode, int support)
{
    for (const Code &code : codes)
        if (code.classCode == classCode && code.support == support)
            return code.verb;
    return {};
}

} // namespace sim
