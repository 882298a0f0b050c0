#include "sim/description.h"

#include "sim/reader.h"

#include <algorithm>

namespace sim {
namespace {

constexpr int deepestAdapter = 3;    // tree level, the module's being 1
constexpr int boards = -1;           // no device class
constexpr int longestTiming = 86400; // seconds

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
    const bool isValid = reader.flag(table, "bios_valid", true);
    const Bios source = reader.choice(table, "bios_from", biosSources, false, Bios::described);
    if (!isValid && source != Bios::described)
        reader.report(*table.get("bios_from"),
                      "wrong value for 'bios_from', expected none when 'bios_valid' is false");
    return isValid ? source : Bios::invalid;
}

Adapter readAdapter(Reader &reader, const toml::table &table, int level)
{
    reader.allowKeys(table, "an adapter",
                     {"class", "number", "name", "path", "state", "defective", "failures",
                      "failure_count", "adapter"});
    Adapter adapter{.classCode = reader.choice(table, "class", adapterClasses),
                    .number = reader.number(table, "number", 1, mostDevices),
                    .name = reader.nameOfDevice(table),
                    .path = reader.path(table),
                    .broken = reader.choice(table, "state", adapterStates, false),
                    .defective = reader.flag(table, "defective"),
                    .failureCount = 0,
                    .failures = readFailures(reader, table),
                    .adapters = {}};
    adapter.failureCount = readFailureCount(reader, table, adapter.failures.size());
    reader.isUnique(table, "number", adapter.classCode, adapter.number);
    for (const toml::table *below : reader.tables(table, "adapter")) {
        if (level == deepestAdapter)
            reader.report(*below, "adapter nested too deeply, expected at most two levels of "
                                  "adapters below a module");
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
    place.isUnique = reader.isUnique(table, "number", classCode, place.number);
    place.isRight = reader.found() == before;
    return place;
}

Module readModule(Reader &reader, const toml::table &table, int classCode, const Place &place,
                  bool hasMtbfType)
{
    Module module{.classCode = classCode,
                  .number = place.number,
                  .name = reader.nameOfDevice(table),
                  .path = reader.path(table),
                  .state = place.state,
                  .partner = place.partner,
                  .mtbfType = reader.choice(table, "mtbf_type", mtbfTypes, hasMtbfType,
                                            restartAboveThreshold),
                  .defective = reader.flag(table, "defective"),
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
            reader.isUnique(table, "number", boards, module.board);
        module.biosVersion = reader.text(table, "bios_version", longestVersion);
        module.biosStatus = reader.text(table, "bios_status", longestVersion);
        module.bios = readBios(reader, table);
    } else {
        reader.allowKeys(table, "a PCI module",
                         {"number", "name", "path", "state", "partner", "mtbf_type", "defective",
                          "failures", "failure_count", "board", "adapter"});
        module.board = reader.number(table, "board", 1, mostDevices);
        reader.isUnique(table, "board", boards, module.board);
        for (const toml::table *adapter : reader.tables(table, "adapter"))
            module.adapters.push_back(readAdapter(reader, *adapter, 2));
    }
    return module;
}

struct DescribedModule {
    const toml::table *table;
    Module module;
};

int numberOf(const DescribedModule &described)
{
    return described.module.number;
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
        Module &module = described.module;
        const int neighbour = module.number % 2 ? module.number + 1 : module.number - 1;
        const DescribedModule *other = find(modules, neighbour);
        if (!described.table->contains("partner") && other && !other->table->contains("partner"))
            module.partner = neighbour;
    }
}

void checkPair(Reader &reader, const DescribedModule &described,
               const std::vector<DescribedModule> &modules)
{
    const Module &module = described.module;
    const DescribedModule *other = find(modules, module.partner);
    const toml::node *where = described.table->get("partner");
    if (module.partner != 0
        && (!other || other == &described || other->module.partner != module.number)) {
        reader.report(where ? *where : *described.table,
                      "wrong value for 'partner', expected the number of another module of the "
                      "same class that names this one as its partner, or 0");
        return;
    }
    if (const toml::node *state = described.table->get("state"))
        where = state;
    if (module.state == State::duplex && (!other || other->module.state != State::duplex))
        reader.report(
            *where,
            "wrong value for 'state', expected \"duplex\" only if the partner is \"duplex\" too");
    if (module.state == State::simplex && other && isRunning(other->module.state))
        reader.report(*where, "wrong value for 'state', expected \"duplex\" for both modules of "
                              "a pair that runs");
}

std::vector<Module> readModules(Reader &reader, const toml::table &table, std::string_view key,
                                int classCode, bool hasMtbfType)
{
    std::vector<DescribedModule> modules;
    const size_t before = reader.found();
    const auto tables = reader.tables(table, key);
    bool placesAreRight = reader.found() == before;
    for (const toml::table *module : tables) {
        const Place place = readPlace(reader, *module, classCode);
        placesAreRight = placesAreRight && place.isRight;
        modules.push_back({module, readModule(reader, *module, classCode, place, hasMtbfType)});
    }
    std::ranges::stable_sort(modules, {}, numberOf);
    choosePartners(modules);
    for (const DescribedModule &described : modules)
        if (placesAreRight)
            checkPair(reader, described, modules);
    std::vector<Module> result;
    for (DescribedModule &described : modules)
        result.push_back(std::move(described.module));
    return result;
}

// The bits of what the machine supports for a class of devices.
unsigned readSupport(Reader &reader, const toml::table &supports, const DeviceClass &devices)
{
    Words allowed;
    for (const SupportCode &each : supportCodes)
        if (each.classCode == devices.value)
            allowed.push_back(rowOf(verbs, each.verb)->support);
    unsigned supported = 0;
    for (const std::string_view word : reader.words(supports, devices.key, allowed))
        for (const SupportCode &each : supportCodes)
            if (each.classCode == devices.value && rowOf(verbs, each.verb)->support == word)
                supported |= 1u << each.code;
    return supported;
}

unsigned readSupports(Reader &reader, const toml::table &machine, bool mayHaveMtbfType)
{
    const toml::table &supports = reader.table(machine, "supports");
    reader.allowKeys(supports, "[supports]",
                     {"cpu_module", "pci_module", "scsi_adapter", "ethernet_adapter"});
    unsigned supported = 0;
    for (const DeviceClass &each : deviceClasses) {
        supported |= readSupport(reader, supports, each);
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
    result.name = reader.name(machine);
    const size_t before = reader.found();
    result.type = reader.choice(machine, "type", machineTypes);
    const bool typeIsKnown = reader.found() == before;
    result.bmcResponse = reader.bytes(bmc, "response", 16, false);
    result.dataFileVersion = reader.text(firmware, "data_file", longestVersion, false);
    result.automaticFirmwareUpdate = reader.flag(settings, "automatic_firmware_update");
    result.automaticModuleStart = reader.flag(settings, "automatic_module_start");
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

} // namespace

Description parseDescription(const std::string &text, const std::string &file)
{
    Reader reader;
    Description description = readMachine(reader, yat::parseToml(text, file));
    reader.throwMistakes(file);
    return description;
}

} // namespace sim
