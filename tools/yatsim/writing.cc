// SPDX-License-Identifier: GPL-2.0-or-later
#include "yatsim/writing.h"

#include "sim/values.h"
#include "text/json.h"

#include <utility>

namespace sim {
namespace {

// Puts values into a table.
struct Writer {
    static constexpr bool isOfState = false;
    Json values = Json::object();

    template <class Value, class Rule>
    void operator()(std::string_view key, const Value &value, const Rule &rule,
                    Presence = mayBeMissing)
    {
        if (Json json = written(rule, value); !json.is_null())
            values[key] = std::move(json);
    }

    template <class Work> void table(std::string_view key, const Work &work)
    {
        Json outer = std::exchange(values, Json::object());
        work();
        if (!values.empty())
            outer[key] = std::move(values);
        values = std::move(outer);
    }
};

// A device and, in tables below it, what it carries; next is its position, and then that of the
// one behind them all.
Json tableOf(Machine &machine, size_t &next)
{
    const int position = static_cast<int>(next);
    Writer writer;
    deviceKeys(writer, machine.devices[next++], mayBeMissing);
    while (next < machine.devices.size() && machine.devices[next].parent == position)
        writer.values["adapter"].push_back(tableOf(machine, next));
    return std::move(writer.values);
}

Json tablesOf(Machine machine)
{
    Writer writer;
    machineKeys(writer, machine);
    for (size_t next = 0; next < machine.devices.size();) {
        const std::string_view key = rowOf(deviceClasses, machine.devices[next].id.classCode)->key;
        writer.values[key].push_back(tableOf(machine, next));
    }
    return std::move(writer.values);
}

// ---- As text

bool isTables(const Json &value)
{
    return value.is_object() || (value.is_array() && !value.empty() && value[0].is_object());
}

// TOML has the strings and numbers of JSON, but for one escape.
std::string valueText(const Json &value)
{
    if (!value.is_array())
        return yat::jsonText(value, -1, yat::Escapes::ofToml);
    std::string result;
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

std::string toToml(const Machine &machine)
{
    std::string text;
    writeTable(text, tablesOf(machine), "");
    return text;
}

std::string toJson(const Machine &machine)
{
    return yat::jsonText(tablesOf(machine), 2) + "\n";
}

} // namespace sim
