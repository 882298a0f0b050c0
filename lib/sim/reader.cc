// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/reader.h"

#include "common/problem.h"

#include <algorithm>

namespace sim {
namespace {

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

} // namespace sim
