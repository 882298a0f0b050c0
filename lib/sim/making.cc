#include "sim/making.h"

#include <algorithm>

namespace sim {
namespace {

// ---- A machine

// What a module and an adapter have in common.
template <class Described> Device deviceOf(const Described &described, Time now)
{
    Device device;
    device.id = {described.classCode, described.number};
    device.name = described.name;
    device.path = described.path;
    device.since = now;
    device.defective = described.defective;
    device.failureCount = described.failureCount;
    for (const Time ago : described.failures)
        device.failures.push_back(now - ago);
    std::ranges::sort(device.failures);
    return device;
}

void addAdapters(Machine &machine, const std::vector<Adapter> &adapters, int parent)
{
    for (const Adapter &adapter : adapters) {
        Device device = deviceOf(adapter, machine.now);
        device.parent = parent;
        device.state = adapter.broken ? State::broken : State::duplex;
        const int position = static_cast<int>(machine.devices.size());
        machine.devices.push_back(std::move(device));
        addAdapters(machine, adapter.adapters, position);
    }
}

void addModule(Machine &machine, const Module &module)
{
    Device device = deviceOf(module, machine.now);
    device.board = module.board;
    device.state = module.state;
    device.mtbfType = module.mtbfType;
    device.biosVersion = module.biosVersion;
    device.biosStatus = module.biosStatus;
    device.bios = module.bios;
    const int position = static_cast<int>(machine.devices.size());
    machine.devices.push_back(std::move(device));
    addAdapters(machine, module.adapters, position);
}

void joinPairs(Machine &machine, const std::vector<Module> &modules)
{
    for (const Module &module : modules)
        if (const Device *partner = find(machine, {module.classCode, module.partner}))
            find(machine, {module.classCode, module.number})->partner =
                positionOf(machine, *partner);
}

// ---- A description

template <class Described>
void describeDevice(const Machine &machine, const Device &device, Described &described)
{
    described.classCode = device.id.classCode;
    described.number = device.id.number;
    described.name = device.name;
    described.path = device.path;
    described.defective = device.defective;
    described.failureCount = device.failureCount;
    // A description can't have failures longer ago than the longest MTBF.
    for (const Time time : device.failures)
        described.failures.push_back(std::min(machine.now - time, longestMtbf * hour));
}

// The adapters right below a device; next is the position after it, and after them at the end.
std::vector<Adapter> describeAdapters(const Machine &machine, size_t &next)
{
    const int parent = static_cast<int>(next) - 1;
    std::vector<Adapter> adapters;
    while (next < machine.devices.size() && machine.devices[next].parent == parent) {
        const Device &device = machine.devices[next++];
        Adapter &adapter = adapters.emplace_back();
        describeDevice(machine, device, adapter);
        adapter.broken = device.state == State::broken;
        adapter.adapters = describeAdapters(machine, next);
    }
    return adapters;
}

Module describeModule(const Machine &machine, const Device &device)
{
    Module module;
    describeDevice(machine, device, module);
    module.state = endsByItself(device.state) ? State::stopped : device.state;
    module.board = device.board;
    if (const Device *partner = partnerOf(machine, device))
        module.partner = partner->id.number;
    module.mtbfType = device.mtbfType;
    module.biosVersion = device.biosVersion;
    module.biosStatus = device.biosStatus;
    module.bios = device.bios;
    return module;
}

} // namespace

Machine makeMachine(const Description &description, Time now)
{
    Machine machine{description, now, {}, {}};
    for (const auto *modules : {&description.cpuModules, &description.pciModules})
        for (const Module &module : *modules)
            addModule(machine, module);
    makeIndex(machine);
    joinPairs(machine, description.cpuModules);
    joinPairs(machine, description.pciModules);
    return machine;
}

Description describe(const Machine &machine)
{
    Description result{machine, {}, {}};
    for (size_t next = 0; next < machine.devices.size();) {
        const Device &device = machine.devices[next++];
        auto &modules =
            device.id.classCode == YAT_CLASS_CPU_MODULE ? result.cpuModules : result.pciModules;
        modules.push_back(describeModule(machine, device));
        modules.back().adapters = describeAdapters(machine, next);
    }
    return result;
}

} // namespace sim
