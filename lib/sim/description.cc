// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/description.h"

#include "common/problem.h"
#include "common/toml.h"
#include "sim/values.h"

#include <algorithm>
#include <initializer_list>
#include <set>

namespace sim {
namespace {

// ---- Reading values by their rules, and saying where one is broken

// The mistakes found so far in one description. A value that is wrong or missing stays as it is.
class Reader {
public:
    static constexpr bool isOfState = false;

    template <class Value, class Rule>
    void operator()(std::string_view key, Value &value, const Rule &rule,
                    Presence presence = mayBeMissing)
    {
        const toml::node *node = find(key);
        if (!node && presence == required)
            missing(key, rule.expected());
        if (node && !rule.read(jsonOf(*node), value))
            wrong(*node, key, rule.expected());
    }

    // Reads a table, by the work given; each key that is not read in it is a mistake.
    template <class Work> void in(const toml::table &table, std::string_view what, const Work &work)
    {
        Scope outer = std::exchange(scope, {.table = &table, .known = {}, .wrong = {}});
        work();
        refuseOtherKeys(what);
        scope = std::move(outer);
    }

    // Reads a table below it. One that is missing is empty.
    template <class Work> void table(std::string_view key, const Work &work)
    {
        in(tableBelow(key), "[" + std::string(key) + "]", work);
    }

    // The tables of a list of tables, such as [[cpu_module]].
    std::vector<const toml::table *> tables(std::string_view key);

    // What was read for a key only one of its kind may have, whatever the case.
    void mustBeUnique(std::string_view key, int kind, const std::string &value);

    // Whether none of these keys has been found wrong in the table that is read.
    bool areRight(std::initializer_list<std::string_view> keys) const;

    void report(const toml::node &where, const std::string &text);
    void wrong(const toml::node &node, std::string_view key, std::string_view expected);

    // Throws what was found, in the order of its lines.
    void throwMistakes(const std::string &file);

private:
    struct Scope {
        const toml::table *table;
        std::vector<std::string_view> known, wrong; // keys
    };
    struct Mistake {
        size_t line;
        std::string text;
    };

    static Json jsonOf(const toml::node &node);
    const toml::node *find(std::string_view key);
    const toml::table &tableBelow(std::string_view key);
    void missing(std::string_view key, std::string_view expected);
    void refuseOtherKeys(std::string_view what);

    Scope scope{};
    std::vector<Mistake> mistakes;
    std::set<std::pair<int, std::string>> taken;
};

std::string inSmallLetters(std::string text)
{
    for (char &letter : text)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    return text;
}

void Reader::report(const toml::node &where, const std::string &text)
{
    mistakes.push_back({where.source().begin.line, text});
}

void Reader::wrong(const toml::node &node, std::string_view key, std::string_view expected)
{
    scope.wrong.push_back(key);
    report(node, "wrong value for '" + std::string(key) + "', expected " + std::string(expected));
}

void Reader::missing(std::string_view key, std::string_view expected)
{
    scope.wrong.push_back(key);
    report(*scope.table,
           "missing key '" + std::string(key) + "', expected " + std::string(expected));
}

void Reader::throwMistakes(const std::string &file)
{
    std::ranges::stable_sort(mistakes, {}, &Mistake::line);
    std::string all;
    for (const Mistake &mistake : mistakes)
        all += (all.empty() ? "" : "\n") + yat::inLine(file, mistake.line, mistake.text);
    if (!all.empty())
        throw yat::Problem(all);
}

void Reader::refuseOtherKeys(std::string_view what)
{
    for (const auto &[key, value] : *scope.table)
        if (std::ranges::find(scope.known, key.str()) == scope.known.end())
            mistakes.push_back({key.source().begin.line,
                                "unknown key '" + std::string(key.str()) + "' in "
                                    + std::string(what) + ", expected " + joined(scope.known)});
}

bool Reader::areRight(std::initializer_list<std::string_view> keys) const
{
    return std::ranges::find_first_of(scope.wrong, keys) == scope.wrong.end();
}

void Reader::mustBeUnique(std::string_view key, int kind, const std::string &value)
{
    if (!areRight({key}) || taken.insert({kind, inSmallLetters(value)}).second)
        return;
    scope.wrong.push_back(key);
    report(*scope.table->get(key),
           std::string(key) + " '" + value + "' is already in use; each must be unique");
}

// A table or a date is what no rule takes.
Json Reader::jsonOf(const toml::node &node)
{
    if (const toml::array *array = node.as_array()) {
        Json json = Json::array();
        for (const toml::node &each : *array)
            json.push_back(jsonOf(each));
        return json;
    }
    if (const auto text = node.value_exact<std::string>())
        return *text;
    if (const auto number = node.value_exact<int64_t>())
        return *number;
    if (const auto number = node.value_exact<double>())
        return *number;
    if (const auto flag = node.value_exact<bool>())
        return *flag;
    return {};
}

const toml::node *Reader::find(std::string_view key)
{
    scope.known.push_back(key);
    return scope.table->get(key);
}

const toml::table &Reader::tableBelow(std::string_view key)
{
    static const toml::table none;
    const toml::node *node = find(key);
    if (node && !node->is_table())
        wrong(*node, key, "a table");
    return node && node->is_table() ? *node->as_table() : none;
}

std::vector<const toml::table *> Reader::tables(std::string_view key)
{
    std::vector<const toml::table *> found;
    const toml::node *node = find(key);
    const toml::array *array = node ? node->as_array() : nullptr;
    for (size_t i = 0; array && i < array->size(); ++i)
        found.push_back((*array)[i].as_table());
    if (node && (!array || std::ranges::count(found, nullptr) > 0)) {
        wrong(*node, key, "tables that begin with [[" + std::string(key) + "]]");
        return {};
    }
    return found;
}

// ---- Modules and adapters

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
            deviceKeys(reader, adapter, mayBeMissing);
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
            reader.report(*table.get("bios_from"),
                          "'bios_from' must be left out when 'bios_valid' is false");
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
    const Presence mtbfType = machine.type == YAT_MACHINE_CEDAR ? required : mayBeMissing;
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
