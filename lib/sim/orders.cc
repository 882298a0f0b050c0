// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/orders.h"

#include "common/numbers.h"
#include "sim/course.h"
#include "sim/values.h"
#include "sim/words.h"

namespace sim {
namespace {

// ---- What is refused

Refusal checkStart(const Machine &machine, const Device &device)
{
    if (device.state == State::broken)
        return Refusal::broken;
    if (device.state != State::stopped)
        return Refusal::notStopped;
    return canStart(machine, device) ? Refusal::none : Refusal::biosInvalid;
}

Refusal checkStop(const Machine &, const Device &device)
{
    switch (device.state) {
    case State::duplex:
    case State::starting:
    case State::synchronising: return Refusal::none;
    case State::simplex: return Refusal::lastRunning;
    default: return Refusal::notRunning;
    }
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

Refusal checkRepair(const Machine &, const Device &device)
{
    return device.state == State::broken || device.defective ? Refusal::none : Refusal::notBroken;
}

// ---- What can be set

using Value = const std::string &;

constexpr Measure timeStep = {.most = 315'360'000, .unit = second}; // ten years
constexpr Term<bool> switches[] = {{true, "on"}, {false, "off"}};

bool setLength(Time &time, std::string_view value, const Measure &rule)
{
    const auto number = yat::numberIn<double>(value);
    return number && rule.read(*number, time);
}

bool setBiosStatus(Machine &, Device *device, Value value)
{
    if (!version.read(value, device->biosStatus))
        return false;
    device->bios = Bios::described;
    return true;
}

bool letTimePass(Machine &machine, Device *, Value value)
{
    Time step = 0;
    if (!value.starts_with('+') || !setLength(step, std::string_view(value).substr(1), timeStep)
        || machine.now > lastMoment - step)
        return false;
    advance(machine, machine.now + step);
    return true;
}

// Carries out "KEY=VALUE"; the device is null for a key of the machine.
Refusal set(Machine &machine, Device *device, const std::string &argument)
{
    const size_t equals = std::min(argument.find('='), argument.size());
    for (const SetKey &each : setKeys())
        if (isOwner(device ? device->id : wholeMachine, each.owner)
            && argument.compare(0, equals, each.key) == 0 && equals < argument.size()
            && each.set(machine, device, argument.substr(equals + 1)))
            return Refusal::none;
    return Refusal::wrongArgument;
}

// ---- By the calls

bool restarts(const Machine &machine, const Device &device)
{
    const auto mean = mtbf(device);
    return device.mtbfType == alwaysRestart
           || (device.mtbfType == restartAboveThreshold
               && (!mean || *mean >= machine.mtbfThreshold));
}

// A broken device that may start again. An adapter starts at once with the module that runs.
void comeBack(Machine &machine, Device &device)
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

Refusal clearMtbf(Machine &machine, Device &device, const std::string &)
{
    device.failureCount = 0;
    device.failures.clear();
    if (device.state == State::broken)
        comeBack(machine, device);
    return Refusal::none;
}

Refusal bringUp(Machine &machine, Device &device, const std::string &)
{
    start(machine, device);
    return Refusal::none;
}

Refusal bringDown(Machine &machine, Device &device, const std::string &)
{
    interrupt(machine, device, State::stopping);
    return Refusal::none;
}

// "0", "1" or "2".
Refusal setMtbfType(Machine &, Device &device, const std::string &type)
{
    for (const auto &each : mtbfTypes)
        if (type == std::to_string(each.value)) {
            device.mtbfType = each.value;
            return Refusal::none;
        }
    return Refusal::wrongArgument;
}

Refusal burnFirmware(Machine &machine, Device &device, const std::string &mode)
{
    const bool copies = mode == YAT_BURN_COPY;
    if (!copies && mode != YAT_BURN_FILE)
        return Refusal::wrongArgument;
    const Device *source = biosSource(machine, device);
    if (copies ? !source : machine.dataFileVersion.empty())
        return Refusal::noBiosSource;
    device.newBios = copies ? source->biosVersion : machine.dataFileVersion;
    device.copies = copies;
    enter(machine, device, State::firmwareUpdate);
    return Refusal::none;
}

Refusal putSetting(Machine &machine, const Order &order)
{
    if (order.device != wholeMachine)
        return Refusal::unknownDevice;
    const auto setting = settingOf(order.code);
    if (!setting)
        return Refusal::wrongCode;
    if (order.argument != "0" && order.argument != "1")
        return Refusal::wrongArgument;
    machine.*setting = order.argument == "1";
    return Refusal::none;
}

// ---- From outside

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

Refusal repair(Machine &machine, Device &device, const std::string &)
{
    device.defective = false;
    if (device.state == State::broken)
        comeBack(machine, device);
    return Refusal::none;
}

Refusal pull(Machine &machine, Device &device, const std::string &)
{
    interrupt(machine, device, State::empty);
    return Refusal::none;
}

Refusal insert(Machine &machine, Device &device, const std::string &)
{
    enter(machine, device, State::stopped);
    startIfAutomatic(machine, device);
    return Refusal::none;
}

template <size_t index> bool setSwitch(Machine &machine, Device *, const std::string &value)
{
    return Word{switches}.read(value, machine.*settingMembers[index]);
}

Refusal setKey(Machine &machine, Device &device, const std::string &argument)
{
    return set(machine, &device, argument);
}

// An operation on a device: why the state that this is in refuses it, and what it does.
struct OnDevice {
    Verb value;
    Refusal (*apply)(Machine &, Device &, const std::string &argument);
    Refusal (*check)(const Machine &, const Device &) = nullptr; // of one that is installed
    bool isOfModules = false;
};

constexpr OnDevice onDevices[] = {
    {Verb::clearMtbf, clearMtbf},
    {Verb::bringUp, bringUp, checkStart},
    {Verb::bringDown, bringDown, checkStop},
    {Verb::setMtbfType, setMtbfType},
    {Verb::burnFirmware, burnFirmware, checkBurn},
    {Verb::fail, fail, checkFailure},
    {Verb::repair, repair, checkRepair},
    {Verb::pull, pull, nullptr, true},
    {Verb::insert, insert, nullptr, true},
    {Verb::set, setKey},
};

} // namespace

bool isOwner(DeviceId id, SetKey::Owner owner)
{
    return owner == SetKey::machine  ? id == wholeMachine
           : owner == SetKey::module ? isModule(id)
                                     : id.classCode == YAT_CLASS_CPU_MODULE;
}

const std::vector<SetKey> &setKeys()
{
    static const std::string bytes = std::to_string(longestVersion) + " bytes";
    static const std::vector<SetKey> keys = {
        {"mtbf_type", SetKey::module,
         mtbfTypeText(stayDown) + ", " + mtbfTypeText(alwaysRestart) + " or "
             + mtbfTypeText(restartAboveThreshold),
         "of a module",
         [](Machine &machine, Device *device, Value value) {
             return setMtbfType(machine, *device, value) == Refusal::none;
         }},
        {"bios_version", SetKey::cpuModule, version.expected(), "of a CPU module",
         [](Machine &, Device *device, Value value) {
             return version.read(value, device->biosVersion);
         }},
        {"bios_status", SetKey::cpuModule, version.expected(), "of a CPU module", setBiosStatus},
        {yat::settings[0].key, SetKey::machine, "on or off", "", setSwitch<0>},
        {yat::settings[1].key, SetKey::machine, "on or off", "", setSwitch<1>},
        {"mtbf_threshold", SetKey::machine, "a number of hours " + threshold.range(), "",
         [](Machine &machine, Device *, Value value) {
             return setLength(machine.mtbfThreshold, value, threshold);
         }},
        {"data_file", SetKey::machine, "a text of up to " + bytes,
         "the BIOS version in the firmware data file",
         [](Machine &machine, Device *, Value value) {
             return Text{.most = longestVersion}.read(value, machine.dataFileVersion);
         }},
        {"time", SetKey::machine, "'+' and a number of seconds " + timeStep.range(),
         "which pass at once", letTimePass},
    };
    return keys;
}

Refusal check(const Machine &machine, Verb verb, DeviceId id, int code)
{
    const int support = supportCode(verb, id.classCode);
    if (isCall(verb) && (support == 0 || code != support + 1))
        return Refusal::wrongCode;
    const Device *device = find(machine, id);
    if (!device)
        return Refusal::unknownDevice;
    const OnDevice &operation = *rowOf(onDevices, verb);
    if (isCall(verb) ? !supports(machine, verb, id.classCode)
                     : operation.isOfModules && !isModule(id))
        return Refusal::unsupported;
    const bool isInstalled = stateOf(machine, *device) != State::empty;
    if (isInstalled == (verb == Verb::insert))
        return isInstalled ? Refusal::installed : Refusal::notInstalled;
    return operation.check ? operation.check(machine, *device) : Refusal::none;
}

Refusal apply(Machine &machine, const Order &order)
{
    if (order.verb == Verb::putSetting)
        return putSetting(machine, order);
    if (order.verb == Verb::set && order.device == wholeMachine)
        return set(machine, nullptr, order.argument);
    Refusal refusal = check(machine, order.verb, order.device, order.code);
    if (refusal != Refusal::none)
        return refusal;
    Device &device = *find(machine, order.device);
    refusal = rowOf(onDevices, order.verb)->apply(machine, device, order.argument);
    if (refusal == Refusal::none)
        machine.index.changed.insert(positionOf(machine, device));
    return refusal;
}

} // namespace sim
