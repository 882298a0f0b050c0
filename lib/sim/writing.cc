#include "sim/writing.h"

#include <charconv>
#include <nlohmann/json.hpp>

namespace sim {
namespace {

using Json = nlohmann::ordered_json;

// ---- The tables of a description

double in(Time unit, Time time)
{
    return static_cast<double>(time) / static_cast<double>(unit);
}

// What a module and an adapter have in common.
template <class Device> Json deviceTable(const Device &device)
{
    size_t length = device.path.size();
    while (length > 1 && device.path[length - 1] == 0)
        --length;
    Json table = {{"number", device.number}, {"name", device.name}};
    table["path"] =
        std::vector(device.path.begin(), device.path.begin() + static_cast<ptrdiff_t>(length));
    return table;
}

template <class Device> void addFailures(Json &table, const Device &device)
{
    if (device.defective)
        table["defective"] = true;
    for (const Time ago : device.failures)
        table["failures"].push_back(in(hour, ago));
    if (device.failureCount > static_cast<int>(device.failures.size()))
        table["failure_count"] = device.failureCount;
}

void addAdapters(Json &table, const std::vector<Adapter> &adapters)
{
    for (const Adapter &adapter : adapters) {
        Json below = {{"class", wordOf(adapterClasses, adapter.classCode)}};
        below.update(deviceTable(adapter));
        below["state"] = wordOf(adapterStates, adapter.broken);
        addFailures(below, adapter);
        addAdapters(below, adapter.adapters);
        table["adapter"].push_back(std::move(below));
    }
}

void addModules(Json &table, std::string_view key, const std::vector<Module> &modules)
{
    for (const Module &module : modules) {
        Json each = deviceTable(module);
        each["state"] = wordOf(states, module.state);
        each["partner"] = module.partner;
        each["mtbf_type"] = wordOf(mtbfTypes, module.mtbfType);
        addFailures(each, module);
        if (module.classCode == YAT_CLASS_CPU_MODULE) {
            each["bios_version"] = module.biosVersion;
            each["bios_status"] = module.biosStatus;
            if (module.bios == Bios::invalid)
                each["bios_valid"] = false;
            else if (module.bios != Bios::described)
                each["bios_from"] = wordOf(biosSources, module.bios);
        } else {
            each["board"] = module.board;
        }
        addAdapters(each, module.adapters);
        table[key].push_back(std::move(each));
    }
}

Json supportsTable(unsigned supported)
{
    Json table;
    for (const DeviceClass &each : deviceClasses)
        table[each.key] = Json::array();
    for (const SupportCode &each : supportCodes)
        if (supported & 1u << each.code)
            table[rowOf(deviceClasses, each.classCode)->key].push_back(
                rowOf(verbs, each.verb)->support);
    return table;
}

Json tablesOf(const Description &machine)
{
    Json result = {{"name", machine.name}, {"type", wordOf(machineTypes, machine.type)}};
    if (!machine.bmcResponse.empty())
        result["bmc"] = {{"response", machine.bmcResponse}};
    if (!machine.dataFileVersion.empty())
        result["firmware"] = {{"data_file", machine.dataFileVersion}};
    result["settings"] = {{"automatic_firmware_update", machine.automaticFirmwareUpdate},
                          {"automatic_module_start", machine.automaticModuleStart}};
    result["mtbf"] = {{"threshold", in(hour, machine.mtbfThreshold)}};
    result["timing"] = {{"start", in(second, machine.timing.start)},
                        {"synchronise", in(second, machine.timing.synchronise)},
                        {"stop", in(second, machine.timing.stop)},
                        {"firmware_update", in(second, machine.timing.firmwareUpdate)}};
    result["supports"] = supportsTable(machine.supported);
    addModules(result, "cpu_module", machine.cpuModules);
    addModules(result, "pci_module", machine.pciModules);
    return result;
}

// ---- As text

std::string jsonText(const Json &json, int indentation)
{
    return json.dump(indentation, ' ', false, Json::error_handler_t::replace);
}

bool isTables(const Json &value)
{
    return value.is_object() || (value.is_array() && !value.empty() && value[0].is_object());
}

// TOML has the strings and numbers of JSON, but for one character.
std::string valueText(const Json &value)
{
    std::string result;
    if (!value.is_array()) {
        for (const char byte : jsonText(value, -1))
            result.append(byte == '\x7F' ? "\\u007F" : std::string(1, byte));
        return result;
    }
    for (const Json &each : value)
        result += (result.empty() ? "" : ", ") + valueText(each);
    return "[" + result + "]";
}

// The values of a table before the tables in it, which would take them over.
void writeTable(std::string &text, const Json &table, const std::string &path)
{
    for (const auto &[key, value] : table.items())
        if (!isTables(value))
            text += key + " = " + valueText(value) + "\n";
    for (const auto &[key, value] : table.items()) {
        const std::string name = path.empty() ? key : path + "." + key;
        for (const Json &each : isTables(value) && value.is_array() ? value : Json::array()) {
            text += "\n[[" + name + "]]\n";
            writeTable(text, each, name);
        }
        if (value.is_object()) {
            text += "\n[" + name + "]\n";
            writeTable(text, value, name);
        }
    }
}

} // namespace

std::string toToml(const Description &description)
{
    std::string text;
    writeTable(text, tablesOf(description), "");
    return text;
}

std::string toJson(const Description &description)
{
    return jsonText(tablesOf(description), 2) + "\n";
}

} // namespace sim
