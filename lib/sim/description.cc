#include "sim/description.h"

#include "common/toml.h"
#include "yat/ft.h"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <set>
#include <span>
#include <string_view>

namespace sim {
namespace {

template <class Value> struct Choice {
    std::string_view text;
    Value value;
};

constexpr Choice<int> machineTypes[] = {
    {"ALDER", YAT_MACHINE_ALDER},
    {"BIRCH", YAT_MACHINE_BIRCH},
    {"CEDAR", YAT_MACHINE_CEDAR},
    {"PLAIN", YAT_MACHINE_PLAIN},
};

constexpr Choice<State> states[] = {
    {"empty", State::empty},   {"stopped", State::stopped}, {"simplex", State::simplex},
    {"duplex", State::duplex}, {"broken", State::broken},
};

constexpr Choice<int> mtbfTypes[] = {
    {"stay down", 0},
    {"always restart", 1},
    {"restart above threshold", 2},
};

constexpr Choice<int> adapterClasses[] = {
    {"SCSI", YAT_CLASS_SCSI_ADAPTER},
    {"Ethernet", YAT_CLASS_ETHERNET_ADAPTER},
};

constexpr Choice<unsigned> cpuOperations[] = {
    {"clear MTBF", 1u << 1},     {"bring up", 1u << 5},       {"bring down", 1u << 7},
    {"burn firmware", 1u << 9}, {"set MTBF type", 1u << 13},
};
constexpr Choice<unsigned> pciOperations[] = {
    {"clear MTBF", 1u << 15},
    {"bring up", 1u << 19},
    {"bring down", 1u << 21},
    {"set MTBF type", 1u << 23},
};
constexpr Choice<unsigned> scsiOperations[] = {{"clear MTBF", 1u << 25}};
constexpr Choice<unsigned> ethernetOperations[] = {{"clear MTBF", 1u << 31}};

// The rules of one description, and the mistakes found so far.
class Reader {
public:
    explicit Reader(std::vector<Mistake> &found) : mistakes(found) {}

    void report(const toml::node &where, const std::string &text)
    {
        mistakes.push_back({where.source().begin.line, text});
    }

    // The keys that a table may have; whatever else it has is a mistake.
    void allowKeys(const toml::table &table, std::string_view what,
                   std::initializer_list<std::string_view> keys)
    {
        for (const auto &[key, value] : table) {
            if (std::ranges::find(keys, key.str()) != keys.end())
                continue;
            std::string known;
            for (const std::string_view name : keys)
                known.append(known.empty() ? "" : ", ").append(name);
            mistakes.push_back({key.source().begin.line,
                                "unknown key '" + std::string(key.str()) + "' in "
                                    + std::string(what) + ", expected " + known});
        }
    }

    const toml::node *find(const toml::table &table, std::string_view key, bool required,
                           std::string_view expected)
    {
        const toml::node *node = table.get(key);
        if (!node && required)
            report(table, "missing key '" + std::string(key) + "', expected "
                              + std::string(expected));
        return node;
    }

    std::string text(const toml::table &table, std::string_view key, size_t most,
                     bool required = true)
    {
        const std::string expected = "a text of 1 to " + std::to_string(most) + " bytes";
        const toml::node *node = find(table, key, required, expected);
        if (!node)
            return {};
        const auto value = node->value_exact<std::string>();
        if (value && !value->empty() && value->size() <= most)
            return *value;
        wrong(*node, key, expected);
        return {};
    }

    int number(const toml::table &table, std::string_view key, int least, int most,
               bool required = true)
    {
        const std::string expected =
            "a number from " + std::to_string(least) + " to " + std::to_string(most);
        const toml::node *node = find(table, key, required, expected);
        if (!node)
            return 0;
        const auto value = node->value_exact<int64_t>();
        if (value && *value >= least && *value <= most)
            return static_cast<int>(*value);
        wrong(*node, key, expected);
        return 0;
    }

    bool truth(const toml::table &table, std::string_view key)
    {
        const toml::node *node = find(table, key, false, "");
        if (!node)
            return false;
        if (const auto value = node->value_exact<bool>())
            return *value;
        wrong(*node, key, "true or false");
        return false;
    }

    template <class Value, size_t count>
    Value choice(const toml::table &table, std::string_view key,
                 const Choice<Value> (&choices)[count], bool required = true)
    {
        const std::string expected = list(choices);
        const toml::node *node = find(table, key, required, expected);
        if (!node)
            return {};
        if (const auto value = choose(*node, choices))
            return *value;
        wrong(*node, key, expected);
        return {};
    }

    template <size_t count>
    unsigned choices(const toml::table &table, std::string_view key,
                     const Choice<unsigned> (&choices)[count])
    {
        const toml::node *node = find(table, key, false, "");
        if (!node)
            return 0;
        const std::string expected = "a list out of " + list(choices);
        unsigned all = 0;
        const toml::array *array = node->as_array();
        if (!array)
            wrong(*node, key, expected);
        for (size_t i = 0; array && i < array->size(); ++i) {
            if (const auto value = choose((*array)[i], choices))
                all |= *value;
            else
                wrong((*array)[i], key, expected);
        }
        return all;
    }

    // A list of bytes, empty when it is missing or wrong.
    std::vector<uint8_t> bytes(const toml::table &table, std::string_view key, size_t most,
                               bool required)
    {
        const std::string expected =
            "a list of 1 to " + std::to_string(most) + " numbers from 0 to 255";
        const toml::node *node = find(table, key, required, expected);
        if (!node)
            return {};
        std::vector<uint8_t> result;
        const toml::array *array = node->as_array();
        for (size_t i = 0; array && i < array->size(); ++i)
            if (const auto value = (*array)[i].value_exact<int64_t>();
                value && *value >= 0 && *value <= 255)
                result.push_back(static_cast<uint8_t>(*value));
        if (array && result.size() == array->size() && !result.empty() && result.size() <= most)
            return result;
        wrong(*node, key, expected);
        return {};
    }

    PathIdentifier path(const toml::table &table)
    {
        PathIdentifier result{};
        std::ranges::copy(bytes(table, "path", result.size(), true), result.begin());
        return result;
    }

    // A table below another one; an empty one when it is missing.
    const toml::table &table(const toml::table &parent, std::string_view key)
    {
        static const toml::table none;
        const toml::node *node = parent.get(key);
        if (!node)
            return none;
        if (const toml::table *found = node->as_table())
            return *found;
        wrong(*node, key, "a table");
        return none;
    }

    // The tables of a list of tables, such as [[cpu_module]].
    std::vector<const toml::table *> tables(const toml::table &parent, std::string_view key)
    {
        std::vector<const toml::table *> result;
        const toml::node *node = parent.get(key);
        if (!node)
            return result;
        const std::string expected = "tables that begin with [[" + std::string(key) + "]]";
        const toml::array *array = node->as_array();
        if (!array) {
            wrong(*node, key, expected);
            return result;
        }
        for (const toml::node &element : *array) {
            if (const toml::table *found = element.as_table())
                result.push_back(found);
            else
                wrong(element, key, expected);
        }
        return result;
    }

    // A number that only one of its kind may have: of a device within its class, of a board.
    void unique(const toml::table &table, std::string_view key, int kind, int number)
    {
        if (number != 0 && !numbers.insert({kind, number}).second)
            report(*table.get(key), std::string(key) + " " + std::to_string(number)
                                        + " stands twice, expected one of its own");
    }

private:
    template <class Value, size_t count>
    static std::optional<Value> choose(const toml::node &node,
                                       const Choice<Value> (&choices)[count])
    {
        const auto value = node.value_exact<std::string_view>();
        for (const auto &choice : choices)
            if (value && *value == choice.text)
                return choice.value;
        return {};
    }

    template <class Value, size_t count>
    static std::string list(const Choice<Value> (&choices)[count])
    {
        std::string result;
        for (const auto &choice : choices)
            result.append(result.empty() ? "\"" : ", \"").append(choice.text).append("\"");
        return result;
    }

    void wrong(const toml::node &node, std::string_view key, std::string_view expected)
    {
        report(node, "wrong value for '" + std::string(key) + "', expected "
                         + std::string(expected));
    }

    std::vector<Mistake> &mistakes;
    std::set<std::pair<int, int>> numbers;
};

constexpr size_t longestName = 127; // bytes
constexpr int mostDevices = 9999;   // of a class
constexpr int deepestAdapter = 3;   // tree level, the module's being 1
constexpr int boards = -1;          // no device class

Adapter readAdapter(Reader &reader, const toml::table &table, int level)
{
    reader.allowKeys(table, "an adapter", {"class", "number", "name", "path", "adapter"});
    Adapter adapter{.classCode = reader.choice(table, "class", adapterClasses),
                    .number = reader.number(table, "number", 1, mostDevices),
                    .name = reader.text(table, "name", longestName),
                    .path = reader.path(table),
                    .adapters = {}};
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

Module readModule(Reader &reader, const toml::table &table, int classCode, bool hasMtbfType)
{
    Module module{.classCode = classCode,
                  .number = reader.number(table, "number", 1, mostDevices),
                  .name = reader.text(table, "name", longestName),
                  .path = reader.path(table),
                  .state = reader.choice(table, "state", states),
                  .mtbfType = reader.choice(table, "mtbf_type", mtbfTypes, hasMtbfType),
                  .biosVersion = {},
                  .biosStatus = {},
                  .adapters = {}};
    reader.unique(table, "number", classCode, module.number);
    if (classCode == YAT_CLASS_CPU_MODULE) {
        reader.allowKeys(table, "a CPU module",
                         {"number", "name", "path", "state", "mtbf_type", "bios_version",
                          "bios_status"});
        module.board = module.number; // a CPU module is its own board
        reader.unique(table, "number", boards, module.board);
        module.biosVersion = reader.text(table, "bios_version", 1000);
        module.biosStatus = reader.text(table, "bios_status", 1000);
    } else {
        reader.allowKeys(table, "a PCI module",
                         {"number", "name", "path", "state", "mtbf_type", "board", "adapter"});
        module.board = reader.number(table, "board", 1, mostDevices);
        reader.unique(table, "board", boards, module.board);
        for (const toml::table *adapter : reader.tables(table, "adapter"))
            module.adapters.push_back(readAdapter(reader, *adapter, 2));
    }
    return module;
}

std::vector<Module> readModules(Reader &reader, const toml::table &table, std::string_view key,
                                int classCode, bool hasMtbfType)
{
    std::vector<Module> modules;
    for (const toml::table *module : reader.tables(table, key))
        modules.push_back(readModule(reader, *module, classCode, hasMtbfType));
    std::ranges::stable_sort(modules, {}, &Module::number);
    return modules;
}

} // namespace

Description readDescription(const std::string &file, std::vector<Mistake> &mistakes)
{
    const toml::parse_result parsed = toml::parse_file(file);
    if (!parsed) {
        mistakes.push_back({parsed.error().source().begin.line,
                            std::string(parsed.error().description())});
        return {};
    }
    const toml::table &machine = parsed.table();
    Reader reader(mistakes);
    reader.allowKeys(machine, "the description",
                     {"name", "type", "bmc", "firmware", "settings", "supports", "cpu_module",
                      "pci_module"});
    const toml::table &bmc = reader.table(machine, "bmc");
    reader.allowKeys(bmc, "[bmc]", {"response"});
    const toml::table &firmware = reader.table(machine, "firmware");
    reader.allowKeys(firmware, "[firmware]", {"data_file"});
    const toml::table &settings = reader.table(machine, "settings");
    reader.allowKeys(settings, "[settings]",
                     {"automatic_firmware_update", "automatic_module_start"});
    const toml::table &supports = reader.table(machine, "supports");
    reader.allowKeys(supports, "[supports]",
                     {"cpu_module", "pci_module", "scsi_adapter", "ethernet_adapter"});

    Description result;
    result.name = reader.text(machine, "name", longestName);
    result.type = reader.choice(machine, "type", machineTypes);
    result.bmcResponse = reader.bytes(bmc, "response", 16, false);
    result.dataFileVersion = reader.text(firmware, "data_file", 1000, false);
    result.automaticFirmwareUpdate = reader.truth(settings, "automatic_firmware_update");
    result.automaticModuleStart = reader.truth(settings, "automatic_module_start");
    result.supported = reader.choices(supports, "cpu_module", cpuOperations)
                       | reader.choices(supports, "pci_module", pciOperations)
                       | reader.choices(supports, "scsi_adapter", scsiOperations)
                       | reader.choices(supports, "ethernet_adapter", ethernetOperations);
    const bool hasMtbfType = result.type == YAT_MACHINE_CEDAR;
    result.cpuModules =
        readModules(reader, machine, "cpu_module", YAT_CLASS_CPU_MODULE, hasMtbfType);
    result.pciModules =
        readModules(reader, machine, "pci_module", YAT_CLASS_PCI_MODULE, hasMtbfType);
    return result;
}

} // namespace sim
