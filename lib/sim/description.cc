// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/description.h"

#include "sim/reader.h"

#include <algorithm>

namespace sim {
namespace {

constexpr int deepestAdapter = 3; // tree level, the module's being 1

constexpr int names = -1, boards = -2; // no device classes

// The names of all devices differ, and the numbers of a class.
void checkIdentity(Reader &reader, const Device &device)
{
    reader.mustBeUnique("name", names, device.name);
    reader.mustBeUnique("number", device.id.classCode, std::to_string(device.id.number));
}

// The adapters in the table that is read, into the devices behind their carrier.
void readAdapters(Reader &reader, std::vector<Device> &devices, int level)
{
    const int carrier = static_cast<int>(devices.size()) - 1;
    for (const toml::table *table : reader.tables("adapter")) {
        if (level > deepestAdapter) {
            reader.report(*table, "adapter nested too deeply, expected at most two levels of "
                                  "adapters below a module");
            continue;
        }
        reader.in(*table, "an adapter", [&] {
            Device adapter;
            adapter.parent = carrier;
            adapter.state = State::duplex;
            deviceKeys(reader, adapter, optional);
            checkIdentity(reader, adapter);
            devices.push_back(std::move(adapter));
            readAdapters(reader, devices, level + 1);
        });
    }
}

// A module and, behind it, what it carries.
struct DescribedModule {
    const toml::table *table = nullptr;
    bool mayBePaired = false; // what a pair depends on is right
    std::vector<Device> devices{};
};

int numberOf(const DescribedModule &described)
{
    return described.devices[0].id.number;
}

DescribedModule readModule(Reader &reader, const toml::table &table, int classCode,
                           Presence mtbfType)
{
    DescribedModule result = {.table = &table};
    const bool isCpu = classCode == YAT_CLASS_CPU_MODULE;
    reader.in(table, isCpu ? "a CPU module" : "a PCI module", [&] {
        Device module;
        module.id.classCode = classCode;
        deviceKeys(reader, module, mtbfType);
        checkIdentity(reader, module);
        if (isCpu)
            module.board = module.id.number; // a CPU module is its own board
        reader.mustBeUnique(isCpu ? "number" : "board", boards, std::to_string(module.board));
        if (module.bios == Bios::invalid && table.contains("bios_from"))
            reader.wrong(*table.get("bios_from"), "bios_from", "none when 'bios_valid' is false");
        result.mayBePaired = reader.areRight({"number", "partner", "state"});
        result.devices.push_back(std::move(module));
        if (!isCpu)
            readAdapters(reader, result.devices, 2);
    });
    return result;
}

// The modules are in the order of their numbers; a wrong number is 0.
const DescribedModule *find(const std::vector<DescribedModule> &modules, int number)
{
    const auto found = std::ranges::lower_bound(modules, number, {}, numberOf);
    return number != 0 && found != modules.end() && numberOf(*found) == number ? &*found : nullptr;
}

// Where nothing else is said, modules 1 and 2 are a pair, 3 and 4 the next.
void choosePartners(std::vector<DescribedModule> &modules)
{
    for (DescribedModule &described : modules) {
        const int number = numberOf(described), neighbour = number % 2 ? number + 1 : number - 1;
        const DescribedModule *other = find(modules, neighbour);
        if (!described.table->contains("partner") && other && !other->table->contains("partner"))
            described.devices[0].partner = neighbour;
    }
}

void checkPair(Reader &reader, const DescribedModule &described,
               const std::vector<DescribedModule> &modules)
{
    const Device &module = described.devices[0];
    const DescribedModule *other = find(modules, module.partner);
    const toml::table &table = *described.table;
    if (module.partner != 0
        && (!other || other == &described || other->devices[0].partner != module.id.number)) {
        reader.wrong(*table.get("partner"), "partner",
                     "the number of another module of the same class that names this one as its "
                     "partner, or 0");
        return;
    }
    const State others = other ? other->devices[0].state : State::empty;
    if (module.state == State::duplex && others != State::duplex)
        reader.wrong(*table.get("state"), "state",
                     "\"duplex\" only if the partner is \"duplex\" too");
    if (module.state == State::simplex && isRunning(others))
        reader.wrong(*table.get("state"), "state",
                     "\"duplex\" for both modules of a pair that runs");
}

void readModules(Reader &reader, Machine &machine, std::string_view key, int classCode)
{
    const Presence mtbfType = machine.type == YAT_MACHINE_CEDAR ? required : optional;
    std::vector<DescribedModule> modules;
    for (const toml::table *table : reader.tables(key))
        modules.push_back(readModule(reader, *table, classCode, mtbfType));
    std::ranges::stable_sort(modules, {}, numberOf);
    choosePartners(modules);
    if (reader.areRight({key}) && std::ranges::all_of(modules, &DescribedModule::mayBePaired))
        for (const DescribedModule &each : modules)
            checkPair(reader, each, modules);
    for (DescribedModule &each : modules) {
        const int first = static_cast<int>(machine.devices.size());
        for (Device &device : each.devices) {
            device.parent += device.parent < 0 ? 0 : first;
            machine.devices.push_back(std::move(device));
        }
    }
}

void checkSupports(Reader &reader, const Machine &machine, const toml::table &table)
{
    for (const DeviceClass &each : deviceClasses)
        if (machine.type != YAT_MACHINE_CEDAR && reader.areRight({"type"})
            && supports(machine, Verb::setMtbfType, each.value))
            reader.wrong(*table["supports"][each.key].node(), each.key,
                         "\"set MTBF type\" only on a machine of type \"CEDAR\"");
}

} // namespace

Machine parseDescription(const std::string &text, const std::string &file)
{
    const toml::table table = yat::parseToml(text, file);
    Reader reader;
    Machine machine;
    reader.in(table, "the description", [&] {
        machineKeys(reader, machine);
        checkSupports(reader, machine, table);
        readModules(reader, machine, "cpu_module", YAT_CLASS_CPU_MODULE);
        readModules(reader, machine, "pci_module", YAT_CLASS_PCI_MODULE);
    });
    reader.throwMistakes(file);
    makeIndex(machine);
    return machine;
}

} // namespace sim
