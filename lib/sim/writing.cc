#include "sim/writing.h"

#include "sim/keys.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace sim {
namespace {

using Json = nlohmann::ordered_json;

// ---- The tables of a description

double in(Time unit, Time time)
{
    return static_cast<double>(time) / static_cast<double>(unit);
}

// Puts values into a table. What can't be written, such as an empty text, is what a missing key
// stands for.
struct Writer {
    static constexpr bool isUniform = false;
    Json values = Json::object();

    template <class Work> void table(std::string_view key, const Work &work)
    {
        Json outer = std::exchange(values, Json::object());
        work();
        if (!values.empty())
            outer[key] = std::move(values);
        values = std::move(outer);
    }

    void text(std::string_view key, const std::string &value, size_t, Presence)
    {
        if (!value.empty())
            values[key] = value;
    }

    void name(std::string_view key, const std::string &value)
    {
        values[key] = value;
    }

    void number(std::string_view key, int value, int, int, Presence)
    {
        values[key] = value;
    }

    void flag(std::string_view key, bool value)
    {
        values[key] = value;
    }

    template <class Value, class Table>
    void word(std::string_view key, Value value, const Table &terms, Presence)
    {
        if (const auto *row = rowOf(terms, value))
            values[key] = row->word;
    }

    void time(std::string_view key, Time value, Time unit, int)
    {
        values[key] = in(unit, value);
    }

    void timesAgo(std::string_view key, const std::vector<Time> &value, Time unit, int, size_t)
    {
        for (const Time time : value)
            values[key].push_back(in(unit, -time));
    }

    void bytes(std::string_view key, const std::vector<uint8_t> &value, size_t)
    {
        if (!value.empty())
            values[key] = value;
    }

    void path(std::string_view key, const PathIdentifier &value)
    {
        size_t length = value.size();
        while (length > 1 && value[length - 1] == 0)
            --length;
        values[key] = std::vector(value.begin(), value.begin() + static_cast<ptrdiff_t>(length));
    }

    void codes(std::string_view key, unsigned value, std::span<const SupportCode> codes)
    {
        values[key] = Json::array();
        for (const SupportCode &each : codes)
            if (value & 1u << each.code)
                values[key].push_back(rowOf(verbs, each.verb)->support);
    }
};

// A device and, in tables below it, what it carries; next is its position, and then that of the
// one behind them all.
Json tableOf(Machine &machine, size_t &next)
{
    const int position = static_cast<int>(next);
    Writer writer;
    deviceKeys(writer, machine.devices[next++], optional);
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

std::string toToml(const Machine &machine)
{
    std::string text;
    writeTable(text, tablesOf(machine), "");
    return text;
}

std::string toJson(const Machine &machine)
{
    return jsonText(tablesOf(machine), 2) + "\n";
}

} // namespace sim
