// SPDX-License-Identifier: GPL-2.0-or-later
#include "bigmachine.h"

using namespace sim;

namespace {

constexpr int adaptersOfModule = 9;

// Pairs that run, but for one that is left over.
Device moduleOf(int number, int modules)
{
    const int neighbour = number % 2 ? number + 1 : number - 1;
    Device module;
    module.id = {YAT_CLASS_PCI_MODULE, number};
    module.name = "PCI module " + std::to_string(number);
    module.board = number;
    module.partner = neighbour <= modules ? neighbour : 0;
    module.state = module.partner ? State::duplex : State::simplex;
    return module;
}

Device adapterOf(int module, int nth)
{
    const bool isScsi = nth < 4;
    const int number = (module - 1) * (isScsi ? 4 : 5) + (isScsi ? nth : nth - 4) + 1;
    Device adapter;
    adapter.id = {isScsi ? YAT_CLASS_SCSI_ADAPTER : YAT_CLASS_ETHERNET_ADAPTER, number};
    adapter.name = (isScsi ? "SCSI adapter " : "Ethernet adapter ") + std::to_string(number);
    adapter.state = State::duplex;
    return adapter;
}

} // namespace

Machine bigMachine(int devices)
{
    Machine machine;
    machine.name = "big machine";
    machine.type = YAT_MACHINE_CEDAR;
    machine.supported = ~0u;
    const int modules = (devices + adaptersOfModule) / (adaptersOfModule + 1);
    for (int position = 0; position < devices; ++position) {
        const int number = position / (adaptersOfModule + 1) + 1;
        const int nth = position % (adaptersOfModule + 1);
        machine.devices.push_back(nth == 0 ? moduleOf(number, modules)
                                           : adapterOf(number, nth - 1));
        machine.devices.back().parent = nth == 0 ? -1 : position - nth;
    }
    makeIndex(machine);
    return machine;
}
