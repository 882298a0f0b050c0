// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/course.h"

#include <algorithm>
#include <cstring>

namespace sim {
namespace {

// A version without the zeros that its numbers begin with.
std::string withoutZeros(std::string version)
{
    constexpr char digits[] = "0123456789";
    for (size_t at = 0; (at = version.find_first_of(digits, at)) != version.npos;) {
        const size_t end = std::min(version.find_first_not_of(digits, at), version.size());
        const size_t zeros = std::min(version.find_first_not_of('0', at), end - 1) - at;
        version.erase(at, zeros);
        at = end - zeros;
    }
    return version;
}

// Whether a BIOS version is older than another one. The numbers in them count as numbers.
bool isOlder(const std::string &left, const std::string &right)
{
    return strverscmp(withoutZeros(left).c_str(), withoutZeros(right).c_str()) < 0;
}

// The BIOS of a module that is about to start is brought up to that of the running one.
bool needsFirmware(const Machine &machine, const Device &module)
{
    const Device *source = biosSource(machine, module);
    if (!machine.automaticFirmwareUpdate || !source
        || !supports(machine, Verb::burnFirmware, module.id.classCode))
        return false;
    return module.bios == Bios::invalid || isOlder(module.biosVersion, source->biosVersion);
}

// Whether it was done or not.
void endFirmwareUpdate(Device &module)
{
    module.newBios.clear();
    module.copies = false;
    module.startsAfter = false;
}

} // namespace

// ---- From one state into another

void enter(Machine &machine, Device &device, State state)
{
    const int position = positionOf(machine, device);
    const auto end = [&] {
        return std::pair(device.since + durationOf(machine, device.state), position);
    };
    machine.index.underWay.erase(end());
    device.state = state;
    device.since = machine.now;
    if (endsByItself(state))
        machine.index.underWay.insert(end());
    machine.index.changed.insert(position);
}

void countFailure(const Machine &machine, Device &device)
{
    device.failureCount = std::min(device.failureCount + 1, mostFailures);
    device.failures.push_back(machine.now);
    if (device.failures.size() > failuresKept)
        device.failures.erase(device.failures.begin());
}

const Device *biosSource(const Machine &machine, const Device &device)
{
    const Device *partner = partnerOf(machine, device);
    return partner && isRunning(partner->state) && partner->bios != Bios::invalid ? partner
                                                                                  : nullptr;
}

bool canStart(const Machine &machine, const Device &module)
{
    return module.bios != Bios::invalid || needsFirmware(machine, module);
}

void start(Machine &machine, Device &module)
{
    if (!needsFirmware(machine, module)) {
        enter(machine, module, State::starting);
        return;
    }
    enter(machine, module, State::firmwareUpdate);
    module.newBios = biosSource(machine, module)->biosVersion;
    module.copies = true;
    module.startsAfter = true;
}

void startIfAutomatic(Machine &machine, Device &module)
{
    if (machine.automaticModuleStart && canStart(machine, module))
        start(machine, module);
}

void interrupt(Machine &machine, Device &module, State next)
{
    const bool ran = isRunning(module.state);
    if (module.state == State::firmwareUpdate) {
        endFirmwareUpdate(module);
        module.bios = Bios::invalid;
    }
    enter(machine, module, next);
    if (ran)
        leavePartnerAlone(machine, module);
}

void leavePartnerAlone(Machine &machine, const Device &module)
{
    Device *partner = partnerOf(machine, module);
    if (!partner)
        return;
    if (partner->state == State::duplex)
        enter(machine, *partner, State::simplex);
    else if (partner->state == State::synchronising)
        enter(machine, *partner, State::starting); // there is nothing left to synchronise with
    else if (partner->state == State::firmwareUpdate && partner->copies)
        interrupt(machine, *partner, State::stopped);
}

// ---- By itself

namespace {

// What a module carries starts with it. It follows the module in the machine.
void startAdapters(Machine &machine, const Device &module)
{
    const int carrier = positionOf(machine, module);
    for (size_t next = static_cast<size_t>(carrier) + 1;
         next < machine.devices.size() && machine.devices[next].carrier == carrier; ++next) {
        Device &adapter = machine.devices[next];
        if (adapter.defective && adapter.state != State::broken) {
            countFailure(machine, adapter);
            enter(machine, adapter, State::broken);
        }
    }
}

// A start that fails is not retried: the MTBF type is about failures of what runs.
void finishStart(Machine &machine, Device &module)
{
    if (module.defective) {
        countFailure(machine, module);
        enter(machine, module, State::broken);
        return;
    }
    const Device *partner = partnerOf(machine, module);
    enter(machine, module,
          partner && isRunning(partner->state) ? State::synchronising : State::simplex);
    startAdapters(machine, module);
}

void finishFirmwareUpdate(Machine &machine, Device &module)
{
    module.biosVersion = module.newBios;
    module.bios = module.copies ? Bios::copied : Bios::burnt;
    enter(machine, module, module.startsAfter ? State::starting : State::stopped);
    endFirmwareUpdate(module);
}

void finish(Machine &machine, Device &module)
{
    switch (module.state) {
    case State::starting: finishStart(machine, module); break;
    case State::synchronising:
        enter(machine, module, State::duplex);
        enter(machine, *partnerOf(machine, module), State::duplex);
        break;
    case State::stopping: enter(machine, module, State::stopped); break;
    case State::firmwareUpdate: finishFirmwareUpdate(machine, module); break;
    default: break;
    }
}

} // namespace

void advance(Machine &machine, Time until)
{
    while (isAnythingDue(machine, until)) {
        const auto [end, position] = *machine.index.underWay.begin();
        machine.now = std::max(machine.now, end);
        finish(machine, machine.devices[static_cast<size_t>(position)]);
    }
    machine.now = std::max(machine.now, until);
}

bool isAnythingDue(const Machine &machine, Time until)
{
    return !machine.index.underWay.empty() && machine.index.underWay.begin()->first <= until;
}

} // namespace sim
