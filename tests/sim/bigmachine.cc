#include "bigmachine.h"

#include <algorithm>

using namespace sim;

namespace {

constexpr int adaptersOfModule = 9;

std::vector<Adapter> adaptersBelow(int module, int count)
{
    std::vector<Adapter> adapters;
    for (int i = 0; i < count; ++i) {
        const bool isScsi = i < 4;
        const int number = (module - 1) * (isScsi ? 4 : 5) + (isScsi ? i : i - 4) + 1;
        Adapter &adapter = adapters.emplace_back();
        adapter.classCode = isScsi ? YAT_CLASS_SCSI_ADAPTER : YAT_CLASS_ETHERNET_ADAPTER;
        adapter.number = number;
        adapter.name = (isScsi ? "SCSI adapter " : "Ethernet adapter ") + std::to_string(number);
    }
    return adapters;
}

} // namespace

Description bigMachine(int devices)
{
    Description machine;
    machine.name = "big machine";
    machine.type = YAT_MACHINE_CEDAR;
    machine.supported = ~0u;
    for (int left = devices; left > 0; left -= adaptersOfModule + 1) {
        Module &module = machine.pciModules.emplace_back();
        module.classCode = YAT_CLASS_PCI_MODULE;
        module.number = static_cast<int>(machine.pciModules.size());
        module.name = "PCI module " + std::to_string(module.number);
        module.board = module.number;
        module.state = State::simplex;
        module.adapters = adaptersBelow(module.number, std::min(left - 1, adaptersOfModule));
    }
    for (size_t i = 1; i < machine.pciModules.size(); i += 2) {
        Module &one = machine.pciModules[i - 1], &other = machine.pciModules[i];
        one.partner = other.number;
        other.partner = one.number;
        one.state = other.state = State::duplex;
    }
    return machine;
}
