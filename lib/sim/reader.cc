#include "sim/reader.h"

#include "common/problem.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>

namespace sim {
namespace {

constexpr size_t longestName = 127; // bytes

std::string joined(const Words &words, const char *quote)
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

template <class Number = int>
std::optional<Number> integerOf(const toml::node &node, int least, int most)
{
    const auto value = node.value_exact<int64_t>();
    return value && *value >= least && *value <= most ? std::optional(static_cast<Number>(*value))
                                                      : std::nullopt;
}

std::optional<Time> timeOf(const toml::node &node, Time unit, int most)
{
    const auto value = node.is_number() ? node.value<double>() : std::nullopt;
    if (!value || !(*value >= 0 && *value <= most)) // nan, too
        return {};
    return std::llround(*value * static_cast<double>(unit));
}

std::optional<std::string_view> wordOf(const toml::node &node, const Words &words)
{
    const auto word = node.value_exact<std::string_view>();
    return std::ranges::find(words, word) != words.end() ? word : std::nullopt;
}

std::optional<const toml::table *> tableIn(const toml::node &node)
{
    return node.is_table() ? std::optional(node.as_table()) : std::nullopt;
}

std::string inSmallLetters(std::string text)
{
    for (char &letter : text)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    return text;
}

} // namespace

// ---- Mistakes

void Reader::report(const toml::node &where, const std::string &text)
{
    mistakes.push_back({where.source().begin.line, text});
}

void Reader::wrong(const toml::node &node, std::string_view key, std::string_view expected)
{
    scope.wrong.push_back(key);
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

void Reader::refuseOtherKeys(std::string_view what)
{
    for (const auto &[key, value] : *scope.table)
        if (std::ranges::find(scope.known, key.str()) == scope.known.end())
            mistakes.push_back({key.source().begin.line,
                                "unknown key '" + std::string(key.str()) + "' in "
                                    + std::string(what) + ", expected " + joined(scope.known, "")});
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
           std::string(key) + " '" + value + "' is taken, expected one that no other has");
}

// ---- Values

const toml::node *Reader::find(std::string_view key, Presence presence, std::string_view expected)
{
    scope.known.push_back(key);
    const toml::node *node = scope.table->get(key);
    if (!node && presence == required) {
        scope.wrong.push_back(key);
        report(*scope.table,
               "missing key '" + std::string(key) + "', expected " + std::string(expected));
    }
    return node;
}

template <class Value, class Read>
void Reader::value(std::string_view key, Value &value, Presence presence,
                   const std::string &expected, Read read)
{
    const toml::node *node = find(key, presence, expected);
    if (const std::optional<Value> found = node ? read(*node) : std::nullopt)
        value = *found;
    else if (node)
        wrong(*node, key, expected);
}

template <class Value, class Read>
void Reader::list(std::string_view key, std::vector<Value> &values, Limits size, Presence presence,
                  const std::string &expected, Read read)
{
    const toml::node *node = find(key, presence, expected);
    const toml::array *array = node ? node->as_array() : nullptr;
    if (node && (!array || array->size() < size.least || array->size() > size.most)) {
        wrong(*node, key, expected);
        return;
    }
    for (size_t i = 0; array && i < array->size(); ++i)
        if (const std::optional<Value> found = read((*array)[i]))
            values.push_back(*found);
        else
            wrong((*array)[i], key, expected);
}

void Reader::text(std::string_view key, std::string &value, size_t most, Presence presence)
{
    this->value(key, value, presence, "a text of 1 to " + std::to_string(most) + " bytes",
                [&](const toml::node &node) {
                    const auto text = node.value_exact<std::string>();
                    return text && !text->empty() && text->size() <= most ? text : std::nullopt;
                });
}

void Reader::name(std::string_view key, std::string &value)
{
    text(key, value, longestName, required);
    const auto isControl = [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; };
    if (std::ranges::any_of(value, isControl))
        wrong(*scope.table->get(key), key, "a text without control characters");
}

void Reader::number(std::string_view key, int &value, int least, int most, Presence presence)
{
    this->value(key, value, presence, numberFrom(least, most),
                [&](const toml::node &node) { return integerOf(node, least, most); });
}

void Reader::flag(std::string_view key, bool &value)
{
    this->value(key, value, optional, "true or false",
                [](const toml::node &node) { return node.value_exact<bool>(); });
}

void Reader::time(std::string_view key, Time &value, Time unit, int most)
{
    this->value(key, value, optional, numberFrom(0, most),
                [&](const toml::node &node) { return timeOf(node, unit, most); });
}

std::string_view Reader::oneOf(std::string_view key, const Words &words, Presence presence)
{
    std::string_view word;
    value(key, word, presence, "one of " + joined(words, "\""),
          [&](const toml::node &node) { return wordOf(node, words); });
    return word;
}

void Reader::timesAgo(std::string_view key, std::vector<Time> &value, Time unit, int most,
                      size_t mostTimes)
{
    list(key, value, {0, mostTimes}, optional,
         "a list of up to " + std::to_string(mostTimes) + " numbers from 0 to "
             + std::to_string(most),
         [&](const toml::node &node) { return timeOf(node, unit, most); });
    std::ranges::transform(value, value.begin(), std::negate());
    std::ranges::sort(value);
}

void Reader::bytes(std::string_view key, std::vector<uint8_t> &value, size_t most,
                   Presence presence)
{
    list(key, value, {1, most}, presence,
         "a list of 1 to " + std::to_string(most) + " numbers from 0 to 255",
         [](const toml::node &node) { return integerOf<uint8_t>(node, 0, 255); });
}

void Reader::path(std::string_view key, PathIdentifier &value)
{
    std::vector<uint8_t> path;
    bytes(key, path, value.size(), required);
    std::ranges::copy(path, value.begin());
}

void Reader::codes(std::string_view key, unsigned &value, std::span<const SupportCode> codes)
{
    Words all, found;
    for (const SupportCode &each : codes)
        all.push_back(rowOf(verbs, each.verb)->support);
    list(key, found, {}, optional, "a list of any of " + joined(all, "\""),
         [&](const toml::node &node) { return wordOf(node, all); });
    for (size_t i = 0; i < all.size(); ++i)
        value |= std::ranges::count(found, all[i]) > 0 ? 1u << codes[i].code : 0;
}

const toml::table &Reader::tableBelow(std::string_view key)
{
    static const toml::table none;
    const toml::table *found = &none;
    value(key, found, optional, "a table", tableIn);
    return *found;
}

std::vector<const toml::table *> Reader::tables(std::string_view key)
{
    std::vector<const toml::table *> found;
    list(key, found, {}, optional, "tables that begin with [[" + std::string(key) + "]]", tableIn);
    return found;
}

} // namespace sim
