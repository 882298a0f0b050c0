// Reads the values of a description's tables by rules, and says where one is broken.
#pragma once

#include "common/problem.h"
#include "common/toml.h"
#include "sim/description.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <optional>
#include <set>
#include <string_view>

namespace sim {

// The rules of one description, and the mistakes found so far.
class Reader {
public:
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
            mistakes.push_back({key.source().begin.line, "unknown key '" + std::string(key.str())
                                                             + "' in " + std::string(what)
                                                             + ", expected " + known});
        }
    }

    const toml::node *find(const toml::table &table, std::string_view key, bool required,
                           std::string_view expected)
    {
        const toml::node *node = table.get(key);
        if (!node && required)
            report(table,
                   "missing key '" + std::string(key) + "', expected " + std::string(expected));
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

    // A text to show on a line.
    std::string name(const toml::table &table, size_t most)
    {
        const std::string result = text(table, "name", most);
        const auto isControl = [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; };
        if (std::ranges::any_of(result, isControl))
            wrong(*table.get("name"), "name", "a text without control characters");
        return result;
    }

    // The same, of a device: no other one may have it, whatever the case.
    std::string ownName(const toml::table &table, size_t most)
    {
        const std::string result = name(table, most);
        std::string lower = result;
        for (char &letter : lower)
            if (letter >= 'A' && letter <= 'Z')
                letter = static_cast<char>(letter - 'A' + 'a');
        if (!result.empty() && !names.insert(lower).second)
            report(*table.get("name"), "name '" + result + "' stands twice, expected one of its own");
        return result;
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

    bool truth(const toml::table &table, std::string_view key, bool otherwise = false)
    {
        const toml::node *node = find(table, key, false, "");
        if (!node)
            return otherwise;
        if (const auto value = node->value_exact<bool>())
            return *value;
        wrong(*node, key, "true or false");
        return otherwise;
    }

    // One of the words of a table of sim/terms.h.
    template <class Table, class Value = decltype(std::begin(std::declval<const Table &>())->value)>
    Value choice(const toml::table &table, std::string_view key, const Table &choices,
                 bool required = true, Value otherwise = Value())
    {
        const std::string expected = list(choices);
        const toml::node *node = find(table, key, required, expected);
        if (!node)
            return otherwise;
        if (const auto value = choose(*node, choices))
            return *value;
        wrong(*node, key, expected);
        return otherwise;
    }

    unsigned choices(const toml::table &table, std::string_view key,
                     const std::vector<Term<unsigned>> &choices)
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

    // A length of time in units such as seconds; decimals are allowed.
    Time time(const toml::table &table, std::string_view key, Time unit, int most, Time otherwise)
    {
        const toml::node *node = table.get(key);
        if (!node)
            return otherwise;
        if (const auto value = timeOf(*node, unit, most))
            return *value;
        wrong(*node, key, "a number from 0 to " + std::to_string(most));
        return otherwise;
    }

    std::vector<Time> times(const toml::table &table, std::string_view key, Time unit, int most,
                            size_t mostTimes)
    {
        const toml::node *node = table.get(key);
        if (!node)
            return {};
        std::vector<Time> result;
        const toml::array *array = node->as_array();
        for (size_t i = 0; array && i < array->size(); ++i)
            if (const auto value = timeOf((*array)[i], unit, most))
                result.push_back(*value);
        if (array && result.size() == array->size() && result.size() <= mostTimes)
            return result;
        wrong(*node, key,
              "a list of up to " + std::to_string(mostTimes) + " numbers from 0 to "
                  + std::to_string(most));
        return {};
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
    // False when it is there already.
    bool unique(const toml::table &table, std::string_view key, int kind, int number)
    {
        if (number == 0 || numbers.insert({kind, number}).second)
            return true;
        report(*table.get(key), std::string(key) + " " + std::to_string(number)
                                    + " stands twice, expected one of its own");
        return false;
    }

    size_t found() const
    {
        return mistakes.size();
    }

    // Throws what was found, in the order of its lines.
    void throwMistakes(const std::string &file)
    {
        std::ranges::stable_sort(mistakes, {}, &Mistake::line);
        std::string all;
        for (const Mistake &mistake : mistakes)
            all += (all.empty() ? "" : "\n") + yat::inLine(file, mistake.line, mistake.text);
        if (!all.empty())
            throw yat::Problem(all);
    }

private:
    static std::optional<Time> timeOf(const toml::node &node, Time unit, int most)
    {
        const auto value = node.value<double>();
        const bool isNumber = node.is_number() && value;
        if (!isNumber || !(*value >= 0 && *value <= most))
            return {};
        return std::llround(*value * static_cast<double>(unit));
    }

    template <class Table>
    static auto choose(const toml::node &node, const Table &choices)
        -> decltype(valueOf(choices, std::string_view()))
    {
        const auto word = node.value_exact<std::string_view>();
        return word ? valueOf(choices, *word) : std::nullopt;
    }

    template <class Table> static std::string list(const Table &choices)
    {
        std::string result;
        for (const auto &choice : choices)
            result.append(result.empty() ? "\"" : ", \"").append(choice.word).append("\"");
        return result;
    }

    void wrong(const toml::node &node, std::string_view key, std::string_view expected)
    {
        report(node,
               "wrong value for '" + std::string(key) + "', expected " + std::string(expected));
    }

    struct Mistake {
        size_t line;
        std::string text;
    };
    std::vector<Mistake> mistakes;
    std::set<std::pair<int, int>> numbers;
    std::set<std::string> names;
};

} // namespace sim
