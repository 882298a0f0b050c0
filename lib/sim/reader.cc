#include "sim/reader.h"

#include "common/problem.h"

#include <algorithm>
#include <cmath>

namespace sim {
namespace {

constexpr size_t longestName = 127; // bytes

std::string list(const Words &words, const char *quote)
{
    std::string result;
    for (const std::string_view word : words)
        result.append(result.empty() ? "" : ", ").append(quote).append(word).append(quote);
    return result;
}

std::string numberFrom(int64_t least, int64_t most)
{
    return "a number from " + std::to_string(least) + " to " + std::to_string(most);
}

std::optional<Time> timeOf(const toml::node &node, Time unit, int most)
{
    const auto value = node.is_number() ? node.value<double>() : std::nullopt;
    if (!value || !(*value >= 0 && *value <= most)) // nan, too
        return {};
    return std::llround(*value * static_cast<double>(unit));
}

// The values of a list, nothing unless all of them are right.
template <class Value, class Read>
std::optional<std::vector<Value>> valuesOf(const toml::node &node, const Read &read)
{
    const toml::array *array = node.as_array();
    std::vector<Value> result;
    for (size_t i = 0; array && i < array->size(); ++i)
        if (const std::optional<Value> value = read((*array)[i]))
            result.push_back(*value);
    return array && result.size() == array->size() ? std::optional(result) : std::nullopt;
}

std::string inSmallLetters(std::string text)
{
    for (char &letter : text)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    return text;
}

} // namespace

void Reader::report(const toml::node &where, const std::string &text)
{
    mistakes.push_back({where.source().begin.line, text});
}

void Reader::wrong(const toml::node &node, std::string_view key, std::string_view expected)
{
    report(node, "wrong value for '" + std::string(key) + "', expected " + std::string(expected));
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

void Reader::allowKeys(const toml::table &table, std::string_view what,
                       std::initializer_list<std::string_view> keys)
{
    for (const auto &[key, value] : table)
        if (std::ranges::find(keys, key.str()) == keys.end())
            mistakes.push_back({key.source().begin.line, "unknown key '" + std::string(key.str())
                                                             + "' in " + std::string(what)
                                                             + ", expected " + list(keys, "")});
}

const toml::node *Reader::find(const toml::table &table, std::string_view key, bool required,
                               std::string_view expected)
{
    const toml::node *node = table.get(key);
    if (!node && required)
        report(table, "missing key '" + std::string(key) + "', expected " + std::string(expected));
    return node;
}

std::string Reader::text(const toml::table &table, std::string_view key, size_t most, bool required)
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

std::string Reader::name(const toml::table &table)
{
    const std::string result = text(table, "name", longestName);
    const auto isControl = [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; };
    if (std::ranges::any_of(result, isControl))
        wrong(*table.get("name"), "name", "a text without control characters");
    return result;
}

std::string Reader::nameOfDevice(const toml::table &table)
{
    const std::string result = name(table);
    if (!result.empty() && !names.insert(inSmallLetters(result)).second)
        report(*table.get("name"),
               "name '" + result + "' is taken, expected one that no other device has");
    return result;
}

int Reader::number(const toml::table &table, std::string_view key, int least, int most,
                   bool required)
{
    const std::string expected = numberFrom(least, most);
    const toml::node *node = find(table, key, required, expected);
    if (!node)
        return 0;
    const auto value = node->value_exact<int64_t>();
    if (value && *value >= least && *value <= most)
        return static_cast<int>(*value);
    wrong(*node, key, expected);
    return 0;
}

bool Reader::flag(const toml::table &table, std::string_view key, bool otherwise)
{
    const toml::node *node = table.get(key);
    if (!node)
        return otherwise;
    if (const auto value = node->value_exact<bool>())
        return *value;
    wrong(*node, key, "true or false");
    return otherwise;
}

std::string_view Reader::word(const toml::table &table, std::string_view key, const Words &allowed,
                              bool required)
{
    const std::string expected = "one of " + list(allowed, "\"");
    const toml::node *node = find(table, key, required, expected);
    if (!node)
        return {};
    const auto value = node->value_exact<std::string_view>();
    if (value && std::ranges::find(allowed, *value) != allowed.end())
        return *value;
    wrong(*node, key, expected);
    return {};
}

Words Reader::words(const toml::table &table, std::string_view key, const Words &allowed)
{
    const toml::node *node = table.get(key);
    if (!node)
        return {};
    const std::string expected = "a list of any of " + list(allowed, "\"");
    Words result;
    const toml::array *array = node->as_array();
    if (!array)
        wrong(*node, key, expected);
    for (size_t i = 0; array && i < array->size(); ++i) {
        const toml::node &element = (*array)[i];
        const auto value = element.value_exact<std::string_view>();
        if (value && std::ranges::find(allowed, *value) != allowed.end())
            result.push_back(*value);
        else
            wrong(element, key, expected);
    }
    return result;
}

Time Reader::time(const toml::table &table, std::string_view key, Time unit, int most,
                  Time otherwise)
{
    const toml::node *node = table.get(key);
    if (!node)
        return otherwise;
    if (const auto value = timeOf(*node, unit, most))
        return *value;
    wrong(*node, key, numberFrom(0, most));
    return otherwise;
}

std::vector<Time> Reader::times(const toml::table &table, std::string_view key, Time unit, int most,
                                size_t mostTimes)
{
    const toml::node *node = table.get(key);
    if (!node)
        return {};
    const auto values = valuesOf<Time>(
        *node, [&](const toml::node &element) { return timeOf(element, unit, most); });
    if (values && values->size() <= mostTimes)
        return *values;
    wrong(*node, key,
          "a list of up to " + std::to_string(mostTimes) + " numbers from 0 to "
              + std::to_string(most));
    return {};
}

std::vector<uint8_t> Reader::bytes(const toml::table &table, std::string_view key, size_t most,
                                   bool required)
{
    const std::string expected =
        "a list of 1 to " + std::to_string(most) + " numbers from 0 to 255";
    const toml::node *node = find(table, key, required, expected);
    if (!node)
        return {};
    const auto values = valuesOf<uint8_t>(*node, [](const toml::node &element) {
        const auto value = element.value_exact<int64_t>();
        return value && *value >= 0 && *value <= 255 ? std::optional(static_cast<uint8_t>(*value))
                                                     : std::nullopt;
    });
    if (values && !values->empty() && values->size() <= most)
        return *values;
    wrong(*node, key, expected);
    return {};
}

PathIdentifier Reader::path(const toml::table &table)
{
    PathIdentifier result{};
    std::ranges::copy(bytes(table, "path", result.size(), true), result.begin());
    return result;
}

const toml::table &Reader::table(const toml::table &parent, std::string_view key)
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

std::vector<const toml::table *> Reader::tables(const toml::table &parent, std::string_view key)
{
    std::vector<const toml::table *> result;
    const toml::node *node = parent.get(key);
    if (!node)
        return result;
    const std::string expected = "tables that begin with [[" + std::string(key) + "]]";
    const toml::array *array = node->as_array();
    if (!array)
        wrong(*node, key, expected);
    for (size_t i = 0; array && i < array->size(); ++i) {
        const toml::node &element = (*array)[i];
        if (const toml::table *found = element.as_table())
            result.push_back(found);
        else
            wrong(element, key, expected);
    }
    return result;
}

bool Reader::isUnique(const toml::table &table, std::string_view key, int kind, int number)
{
    if (number == 0 || numbers.insert({kind, number}).second)
        return true;
    report(*table.get(key), std::string(key) + " " + std::to_string(number)
                                + " is taken, expected one that no other has");
    return false;
}

} // namespace sim
