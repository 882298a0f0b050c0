#include "sim/operations.h"

#include "sim/setkeys.h"
#include "sim/transitions.h"

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

Refusal checkStop(const Device &device)
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

Refusal checkState(const Machine &machine, Verb verb, const Device &device)
{
    switch (verb) {
    case Verb::bringUp: return checkStart(machine, device);
    case Verb::bringDown: return checkStop(device);
    case Verb::burnFirmware: return checkBurn(machine, device);
    case Verb::fail: return checkFailure(machine, device);
    case Verb::repair:
        return device.state == State::broken || device.defective ? Refusal::none
                                                                 : Refusal::notBroken;
    default: return Refusal::none;
    }
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

void clearMtbf(Machine &machine, Device &device)
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
        leavePartnerAlone(machine, device);
}

Refusal burnFirmware(Machine &machine, Device &device, const std::string &mode)
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

Refusal putSetting(Machine &machine, const Operation &operation)
{
    if (operation.device != wholeMachine)
        return Refusal::unknownDevice;
    const auto setting = settingOf(operation.code);
    if (!setting)
        return Refusal::wrongCode;
    if (operation.argument != "0" && operation.argument != "1")
        return Refusal::wrongArgument;
    machine.*setting = operation.argument == "1";
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

void repair(Machine &machine, Device &device)
{
    device.defective = false;
    if (device.state == State::broken)
        comeBack(machine, device);
}

void insert(Machine &machine, Device &device)
{
    enter(machine, device, State::stopped);
    startIfAutomatic(machine, device);
}

Refusal applyToDevice(Machine &machine, Device &device, const Operation &operation)
{
    switch (operation.verb) {
    case Verb::clearMtbf: clearMtbf(machine, device); break;
    case Verb::bringUp: start(machine, device); break;
    case Verb::bringDown: bringDown(machine, device); break;
    case Verb::setMtbfType:
        return setMtbfType(device, operation.argument) ? Refusal::none : Refusal::wrongArgument;
    case Verb::burnFirmware: return burnFirmware(machine, device, operation.argument);
    case Verb::fail: return fail(machine, device, operation.argument);
    case Verb::repair: repair(machine, device); break;
    case Verb::pull: interrupt(machine, device, State::empty); break;
    case Verb::insert: insert(machine, device); break;
    case Verb::set: return set(machine, &device, operation.argument);
    case Verb::putSetting: return Refusal::wrongCode;
    }
    return Refusal::none;
}

} // namespace

Refusal check(const Machine &machine, Verb verb, DeviceId id, int code)
{
    const int support = supportCode(verb, id.classCode);
    if (isCall(verb) && (support == 0 || code != support + 1))
        return Refusal::wrongCode;
    const Device *device = find(machine, id);
    if (!device)
        return Refusal::unknownDevice;
    if (isCall(verb) && !supports(machine, verb, id.classCode))
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
        return putSetting(machine, operation);
    if (operation.verb == Verb::set && operation.device == wholeMachine)
        return set(machine, nullptr, operation.argument);
    Refusal refusal = check(machine, operation.verb, operation.device, operation.code);
    if (refusal != Refusal::none)
        return refusal;
    Device &device = *find(machine, operation.device);
    refusal = applyToDevice(machine, device, operation);
    if (refusal == Refusal::none)
        machine.index.changed.insert(positionOf(machine, device));
    return refusal;
}

} // namespace sim
