#include "sim/course.h"

#include "sim/transitions.h"

#include <algorithm>

namespace sim {
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
