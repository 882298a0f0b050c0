#include "sim/description.h"

#include "sim/reader.h"
#include "yat/ft.h"

#include <span>
#include <sstream>

namespace sim {
namespace {

// An adapter runs when its module does.
constexpr Term<bool> adapterStates[] = {{false, "running"}, {true, "broken"}};

constexpr size_t longestName = 127;      // bytes
constexpr int deepestAdapter = 3;        // tree level, the module's being 1
constexpr int boards = -1;               // no device class
constexpr int longestTiming = 86400;     // seconds

std::vector<Time> readFailures(Reader &reader, const toml::table &table)
{
    return reader.times(table, "failures", hour, longestMtbf, failuresKept);
}

int readFailureCount(Reader &reader, const toml::table &table, size_t known)
{
    const int least = static_cast<int>(known);
    return table.contains("failure_count")
               ? reader.number(table, "failure_count", least, mostFailures)
               : least;
}

Bios readBios(Reader &reader, const toml::table &table)
{
    const bool isValid = reader.truth(table, "bios_valid", true);
    const Bios source = reader.choice(table, "bios_from", biosSources, false, Bios::described);
    if (!isValid && source != Bios::described)
        reader.report(*table.get("bios_from"),
                      "wrong value for 'bios_from', expected none where 'bios_valid' is false");
    return isValid ? source : Bios::invalid;
}

Adapter readAdapter(Reader &reader, const toml::table &table, int level)
{
    reader.allowKeys(
        table, "an adapter",
        {"class", "number", "name", "path", "state", "defective", "failures", "failure_count",
         "adapter"});
    Adapter adapter{.classCode = reader.choice(table, "class", adapterClasses),
                    .number = reader.number(table, "number", 1, mostDevices),
                    .name = reader.ownName(table, longestName),
                    .path = reader.path(table),
                    .broken = reader.choice(table, "state", adapterStates, false),
                    .defective = reader.truth(table, "defective"),
                    .failureCount = 0,
                    .failures = readFailures(reader, table),
                    .adapters = {}};
    adapter.failureCount = readFailureCount(reader, table, adapter.failures.size());
    reader.unique(table, "number", adapter.classCode, adapter.number);
    for (const toml::table *below : reader.tables(table, "adapter")) {
        if (level == deepestAdapter)
            reader.report(*below, "adapter below the third level, expected two levels of "
                                  "adapters below a module at the most");
        else
            adapter.adapters.push_back(readAdapter(reader, *below, level + 1));
    }
    return adapter;
}

// What makes a module one of a pair.
struct Place {
    int number = 0, partner = 0;
    State state = State::empty;
    bool isUnique = false;
    bool isRight = false; // a wrong one would count as a wrong pair, too
};

Place readPlace(Reader &reader, const toml::table &table, int classCode)
{
    const size_t before = reader.found();
    Place place{.number = reader.number(table, "number", 1, mostDevices),
                .partner = reader.number(table, "partner", 0, mostDevices, false),
                .state = reader.choice(table, "state", lastingStates)};
    place.isUnique = reader.unique(table, "number", classCode, place.number);
    place.isRight = reader.found() == before;
    return place;
}

Module readModule(Reader &reader, const toml::table &table, int classCode, const Place &place,
                  bool hasMtbfType)
{
    Module module{.classCode = classCode,
                  .number = place.number,
                  .name = reader.ownName(table, longestName),
                  .path = reader.path(table),
                  .state = place.state,
                  .partner = place.partner,
                  .mtbfType = reader.choice(table, "mtbf_type", mtbfTypes, hasMtbfType,
                                            restartAboveThreshold),
                  .defective = reader.truth(table, "defective"),
                  .failureCount = 0,
                  .failures = readFailures(reader, table),
                  .biosVersion = {},
                  .biosStatus = {},
                  .adapters = {}};
    module.failureCount = readFailureCount(reader, table, module.failures.size());
    if (classCode == YAT_CLASS_CPU_MODULE) {
        reader.allowKeys(table, "a CPU module",
                         {"number", "name", "path", "state", "partner", "mtbf_type", "defective",
                          "failures", "failure_count", "bios_version", "bios_status", "bios_valid",
                          "bios_from"});
        module.board = module.number; // a CPU module is its own board
        if (place.isUnique)
            reader.unique(table, "number", boards, module.board);
        module.biosVersion = reader.text(table, "bios_version", longestVersion);
        module.biosStatus = reader.text(table, "bios_status", longestVersion);
        module.bios = readBios(reader, table);
    } else {
        reader.allowKeys(table, "a PCI module",
                         {"number", "name", "path", "state", "partner", "mtbf_type", "defective",
                          "failures", "failure_count", "board", "adapter"});
        module.board = reader.number(table, "board", 1, mostDevices);
        reader.unique(table, "board", boards, module.board);
        for (const toml::table *adapter : reader.tables(table, "adapter"))
            module.adapters.push_back(readAdapter(reader, *adapter, 2));
    }
    return module;
}

// A module as it was read, and where.
struct Read {
    const toml::table *table;
    Module module;
};

const Read *find(const std::vector<Read> &modules, int number)
{
    for (const Read &read : modules)
        if (number != 0 && read.module.number == number)
            return &read;
    return nullptr;
}

bool runs(const Module &module)
{
    return module.state == State::simplex || module.state == State::duplex;
}

// Where nothing else is said, modules 1 and 2 are a pair, 3 and 4 the next.
void choosePartners(std::vector<Read> &modules)
{
    for (Read &read : modules) {
        Module &module = read.module;
        const int neighbour = module.number % 2 ? module.number + 1 : module.number - 1;
        const Read *other = find(modules, neighbour);
        if (!read.table->contains("partner") && other && !other->table->contains("partner"))
            module.partner = neighbour;
    }
}

void checkPair(Reader &reader, const Read &read, const std::vector<Read> &modules)
{
    const Module &module = read.module;
    const Read *other = find(modules, module.partner);
    const toml::node *where = read.table->get("partner");
    if (module.partner != 0
        && (!other || other == &read || other->module.partner != module.number)) {
        reader.report(where ? *where : *read.table,
                      "wrong value for 'partner', expected the number of another module of the "
                      "class that has this one as its partner, or 0");
        return;
    }
    if (const toml::node *state = read.table->get("state"))
        where = state;
    if (module.state == State::duplex && (!other || other->module.state != State::duplex))
        reader.report(*where, "wrong value for 'state', expected \"duplex\" only where the "
                              "partner has it too");
    if (module.state == State::simplex && other && runs(other->module))
        reader.report(*where, "wrong value for 'state', expected \"duplex\" for both modules of "
                              "a pair that runs");
}

std::vector<Module> readModules(Reader &reader, const toml::table &table, std::string_view key,
                                int classCode, bool hasMtbfType)
{
    std::vector<Read> modules;
    const size_t before = reader.found();
    const auto tables = reader.tables(table, key);
    bool placesAreRight = reader.found() == before;
    for (const toml::table *module : tables) {
        const Place place = readPlace(reader, *module, classCode);
        placesAreRight = placesAreRight && place.isRight;
        modules.push_back({module, readModule(reader, *module, classCode, place, hasMtbfType)});
    }
    choosePartners(modules);
    for (const Read &read : modules)
        if (placesAreRight)
            checkPair(reader, read, modules);
    std::vector<Module> result;
    for (Read &read : modules)
        result.push_back(std::move(read.module));
    std::ranges::stable_sort(result, {}, &Module::number);
    return result;
}

// What a machine may support for a class of devices, each with its bit.
std::vector<Term<unsigned>> operationsOf(int classCode)
{
    std::vector<Term<unsigned>> result;
    for (const SupportCode &each : supportCodes)
        if (each.classCode == classCode)
            result.push_back({1u << each.code, rowOf(verbs, each.verb)->support});
    return result;
}

unsigned readSupports(Reader &reader, const toml::table &machine, bool mayHaveMtbfType)
{
    const toml::table &supports = reader.table(machine, "supports");
    reader.allowKeys(supports, "[supports]",
                     {"cpu_module", "pci_module", "scsi_adapter", "ethernet_adapter"});
    unsigned supported = 0;
    for (const DeviceClass &each : deviceClasses) {
        supported |= reader.choices(supports, each.key, operationsOf(each.value));
        const int code = supportCode(Verb::setMtbfType, each.value);
        if (code != 0 && (supported & 1u << code) != 0 && !mayHaveMtbfType)
            reader.report(*supports.get(each.key), "wrong value for '" + std::string(each.key)
                                                       + "', expected \"set MTBF type\" only on a "
                                                         "machine of type \"CEDAR\"");
    }
    return supported;
}

Timing readTiming(Reader &reader, const toml::table &machine)
{
    const toml::table &table = reader.table(machine, "timing");
    reader.allowKeys(table, "[timing]", {"start", "synchronise", "stop", "firmware_update"});
    const auto seconds = [&](std::string_view key, Time otherwise) {
        return reader.time(table, key, second, longestTiming, otherwise);
    };
    const Timing usual;
    return {.start = seconds("start", usual.start),
            .synchronise = seconds("synchronise", usual.synchronise),
            .stop = seconds("stop", usual.stop),
            .firmwareUpdate = seconds("firmware_update", usual.firmwareUpdate)};
}

Description readMachine(Reader &reader, const toml::table &machine)
{
    reader.allowKeys(machine, "the description",
                     {"name", "type", "bmc", "firmware", "settings", "mtbf", "timing", "supports",
                      "cpu_module", "pci_module"});
    const toml::table &bmc = reader.table(machine, "bmc");
    reader.allowKeys(bmc, "[bmc]", {"response"});
    const toml::table &firmware = reader.table(machine, "firmware");
    reader.allowKeys(firmware, "[firmware]", {"data_file"});
    const toml::table &settings = reader.table(machine, "settings");
    reader.allowKeys(settings, "[settings]",
                     {"automatic_firmware_update", "automatic_module_start"});
    const toml::table &mtbf = reader.table(machine, "mtbf");
    reader.allowKeys(mtbf, "[mtbf]", {"threshold"});

    Description result;
    result.name = reader.name(machine, longestName);
    const size_t before = reader.found();
    result.type = reader.choice(machine, "type", machineTypes);
    const bool typeIsKnown = reader.found() == before;
    result.bmcResponse = reader.bytes(bmc, "response", 16, false);
    result.dataFileVersion = reader.text(firmware, "data_file", longestVersion, false);
    result.automaticFirmwareUpdate = reader.truth(settings, "automatic_firmware_update");
    result.automaticModuleStart = reader.truth(settings, "automatic_module_start");
    result.mtbfThreshold = reader.time(mtbf, "threshold", hour, longestMtbf, result.mtbfThreshold);
    result.timing = readTiming(reader, machine);
    const bool hasMtbfType = result.type == YAT_MACHINE_CEDAR;
    result.supported = readSupports(reader, machine, hasMtbfType || !typeIsKnown);
    result.cpuModules =
        readModules(reader, machine, "cpu_module", YAT_CLASS_CPU_MODULE, hasMtbfType);
    result.pciModules =
        readModules(reader, machine, "pci_module", YAT_CLASS_PCI_MODULE, hasMtbfType);
    return result;
}

// ---- Writing

toml::table supportsTable(unsigned supported)
{
    toml::table result;
    for (const DeviceClass &each : deviceClasses) {
        toml::array operations;
        for (const auto &[bit, word] : operationsOf(each.value))
            if (supported & bit)
                operations.push_back(word);
        result.insert(each.key, operations);
    }
    return result;
}

double in(Time unit, Time time)
{
    return static_cast<double>(time) / static_cast<double>(unit);
}

toml::array toArray(std::span<const uint8_t> bytes)
{
    toml::array result;
    for (const uint8_t byte : bytes)
        result.push_back(int64_t{byte});
    return result;
}

// What a module and an adapter have in common.
template <class Device> toml::table deviceTable(const Device &device)
{
    std::span<const uint8_t> path = device.path;
    while (path.size() > 1 && path.back() == 0)
        path = path.first(path.size() - 1);
    toml::table result{{"number", device.number}, {"name", device.name}, {"path", toArray(path)}};
    if (device.defective)
        result.insert("defective", true);
    toml::array failures;
    for (const Time ago : device.failures)
        failures.push_back(in(hour, ago));
    if (!failures.empty())
        result.insert("failures", failures);
    if (device.failureCount > static_cast<int>(failures.size()))
        result.insert("failure_count", device.failureCount);
    toml::array adapters;
    for (const Adapter &adapter : device.adapters) {
        toml::table below = deviceTable(adapter);
        below.insert("class", wordOf(adapterClasses, adapter.classCode));
        below.insert("state", wordOf(adapterStates, adapter.broken));
        adapters.push_back(below);
    }
    if (!adapters.empty())
        result.insert("adapter", adapters);
    return result;
}

toml::array moduleTables(const std::vector<Module> &modules)
{
    toml::array result;
    for (const Module &module : modules) {
        toml::table table = deviceTable(module);
        table.insert("state", wordOf(states, module.state));
        table.insert("partner", module.partner);
        table.insert("mtbf_type", wordOf(mtbfTypes, module.mtbfType));
        if (module.classCode == YAT_CLASS_CPU_MODULE) {
            table.insert("bios_version", module.biosVersion);
            table.insert("bios_status", module.biosStatus);
            if (module.bios == Bios::invalid)
                table.insert("bios_valid", false);
            else if (module.bios != Bios::described)
                table.insert("bios_from", wordOf(biosSources, module.bios));
        } else {
            table.insert("board", module.board);
        }
        result.push_back(table);
    }
    return result;
}

toml::table toTable(const Description &machine)
{
    toml::table result{
        {"name", machine.name},
        {"type", wordOf(machineTypes, machine.type)},
        {"settings", toml::table{{"automatic_firmware_update", machine.automaticFirmwareUpdate},
                                 {"automatic_module_start", machine.automaticModuleStart}}},
        {"mtbf", toml::table{{"threshold", in(hour, machine.mtbfThreshold)}}},
        {"timing", toml::table{{"start", in(second, machine.timing.start)},
                               {"synchronise", in(second, machine.timing.synchronise)},
                               {"stop", in(second, machine.timing.stop)},
                               {"firmware_update", in(second, machine.timing.firmwareUpdate)}}},
        {"supports", supportsTable(machine.supported)},
    };
    if (!machine.bmcResponse.empty())
        result.insert("bmc", toml::table{{"response", toArray(machine.bmcResponse)}});
    if (!machine.dataFileVersion.empty())
        result.insert("firmware", toml::table{{"data_file", machine.dataFileVersion}});
    if (!machine.cpuModules.empty())
        result.insert("cpu_module", moduleTables(machine.cpuModules));
    if (!machine.pciModules.empty())
        result.insert("pci_module", moduleTables(machine.pciModules));
    return result;
}

} // namespace

Description parseDescription(const std::string &text, const std::string &file)
{
    Reader reader;
    Description description = readMachine(reader, yat::parseToml(text, file));
    reader.throwMistakes(file);
    return description;
}

std::string toToml(const Description &description)
{
    std::ostringstream text;
    // A text in several lines would lose the first one when it is empty, and one that is not
    // escaped can't have control characters.
    constexpr auto flags = toml::toml_formatter::default_flags
                           & ~toml::format_flags::allow_multi_line_strings
                           & ~toml::format_flags::allow_literal_strings;
    const toml::table table = toTable(description);
    text << toml::toml_formatter(table, flags) << "\n";
    return text.str();
}

std::string toJson(const Description &description)
{
    std::ostringstream text;
    text << toml::json_formatter(toTable(description)) << "\n";
    return text.str();
}

} // namespace sim
