// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/machine.h"

#include <algorithm>

namespace sim {
namespace {

void putAt(std::vector<int> &positions, int number, int position)
{
    const size_t at = static_cast<size_t>(number);
    if (positions.size() <= at)
        positions.resize(at + 1, -1);
    positions[at] = position;
}

int positionAt(const std::vector<int> &positions, int number)
{
    const size_t at = static_cast<size_t>(number); // beyond all of them for one below 0
    return at < positions.size() ? positions[at] : -1;
}

} // namespace

bool isModule(DeviceId id)
{
    return id.classCode == YAT_CLASS_CPU_MODULE || id.classCode == YAT_CLASS_PCI_MODULE;
}

void makeIndex(Machine &machine)
{
    Index index;
    for (Device &device : machine.devices) {
        const int position = positionOf(machine, device);
        putAt(index.byNumber[device.id.classCode], device.id.number, position);
        if (isModule(device.id))
            putAt(index.byBoard, device.board, position);
        const Device *above = deviceAt(machine, device.parent);
        device.carrier = above && !isModule(above->id) ? above->carrier : device.parent;
        if (endsByItself(device.state))
            index.underWay.insert({device.since + durationOf(machine, device.state), position});
    }
    machine.index = std::move(index);
}

Machine movedTo(Machine machine, Time now)
{
    const Time passed = now - machine.now;
    machine.now = now;
    for (Device &device : machine.devices) {
        device.since += passed;
        for (Time &failure : device.failures)
            failure += passed;
    }
    makeIndex(machine);
    return machine;
}

Machine atRest(Machine machine)
{
    machine = movedTo(std::move(machine), 0);
    for (Device &device : machine.devices) {
        device.state = endsByItself(device.state) ? State::stopped : device.state;
        device.since = 0;
        device.newBios.clear();
        device.copies = device.startsAfter = false;
        // A description can't have failures longer ago.
        for (Time &failure : device.failures)
            failure = std::max(failure, -longestMtbf * hour);
    }
    makeIndex(machine);
    return machine;
}

const Device *moduleOfBoard(const Machine &machine, int board)
{
    return deviceAt(machine, positionAt(machine.index.byBoard, board));
}

const Device *carrierOf(const Machine &machine, const Device &device)
{
    return deviceAt(machine, device.carrier);
}

int positionOf(const Machine &machine, DeviceId id)
{
    const auto positions = machine.index.byNumber.find(id.classCode);
    return positions == machine.index.byNumber.end() ? -1
                                                     : positionAt(positions->second, id.number);
}

int positionOf(const Machine &machine, const Device &device)
{
    return static_cast<int>(&device - machine.devices.data());
}

bool supports(const Machine &machine, Verb verb, int classCode)
{
    const int code = supportCode(verb, classCode);
    return code != 0 && (machine.supported & 1u << code) != 0;
}

State stateOf(const Machine &machine, const Device &device)
{
    const Device *carrier = carrierOf(machine, device);
    if (!carrier)
        return device.state;
    if (carrier->state == State::empty || device.state == State::broken)
        return carrier->state == State::empty ? State::empty : State::broken;
    return carrier->state == State::broken ? State::stopped : carrier->state;
}

Time durationOf(const Machine &machine, State state)
{
    switch (state) {
    case State::starting: return machine.timing.start;
    case State::synchronising: return machine.timing.synchronise;
    case State::stopping: return machine.timing.stop;
    case State::firmwareUpdate: return machine.timing.firmwareUpdate;
    default: return 0;
    }
}

std::optional<int> progress(const Machine &machine, const Device &device)
{
    const State state = stateOf(machine, device);
    if (!endsByItself(state))
        return {};
    const Device *carrier = carrierOf(machine, device);
    const Time since = (carrier ? *carrier : device).since, whole = durationOf(machine, state);
    if (whole == 0)
        return 99;
    return static_cast<int>(std::clamp<Time>((machine.now - since) * 100 / whole, 0, 99));
}

std::optional<Time> mtbf(const Device &device)
{
    if (device.failures.size() < 2)
        return {};
    return (device.failures.back() - device.failures.front())
           / static_cast<Time>(device.failures.size() - 1);
}

} // namespace sim
