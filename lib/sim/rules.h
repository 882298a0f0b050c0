// SPDX-License-Identifier: GPL-2.0-or-later
// What a value of a machine can be, and how it is written down, in a description or in the tables
// of the state: as JSON. Each rule has
//
//     Json write(value) const         null for what a missing value stands for; where there is no
//                                     such function, the value itself
//     bool read(json, value &) const  false, with nothing changed, for what it can't be
//     std::string expected() const    what it can be, for messages
//
// A value that may be missing is a std::optional of what its rule is about.
#pragma once

#include "sim/terms.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace sim {

using Json = nlohmann::ordered_json;

template <class Rule, class Value> Json written(const Rule &rule, const Value &value)
{
    if constexpr (requires { rule.write(value); })
        return rule.write(value);
    else
        return value;
}

template <class Rule, class Value> Json written(const Rule &rule, const std::optional<Value> &value)
{
    return value ? written(rule, *value) : Json();
}

template <class Rule, class Value> bool isRead(const Rule &rule, const Json &json, Value &value)
{
    return rule.read(json, value);
}

template <class Rule, class Value>
bool isRead(const Rule &rule, const Json &json, std::optional<Value> &value)
{
    return rule.read(json, value.emplace());
}

// Words with commas between them, each with quotes of that kind around it.
template <class Words> std::string joined(const Words &words, const char *quote = "")
{
    std::string result;
    for (const std::string_view word : words)
        result.append(result.empty() ? "" : ", ").append(quote).append(word).append(quote);
    return result;
}

struct Text {
    size_t least = 0, most = SIZE_MAX; // bytes
    bool isLine = false;               // without control characters

    Json write(const std::string &value) const
    {
        return value.size() < least ? Json() : Json(value);
    }
    bool read(const Json &json, std::string &value) const
    {
        const auto isControl = [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; };
        const auto text = json.get_ptr<const std::string *>();
        if (!text || text->size() < least || text->size() > most
            || (isLine && std::ranges::any_of(*text, isControl)))
            return false;
        value = *text;
        return true;
    }
    std::string expected() const
    {
        return most == SIZE_MAX
                   ? "a text"
                   : "a text of " + std::to_string(least) + " to " + std::to_string(most) + " bytes"
                         + (isLine ? " without control characters" : "");
    }
};

struct Flag {
    bool read(const Json &json, bool &value) const
    {
        value = json.is_boolean() ? json.get<bool>() : value;
        return json.is_boolean();
    }
    std::string expected() const
    {
        return "true or false";
    }
};

// An integer.
struct Number {
    int64_t least = INT64_MIN, most = INT64_MAX;

    template <class Value> bool read(const Json &json, Value &value) const
    {
        if (!json.is_number_integer() || json.get<int64_t>() < least || json.get<int64_t>() > most)
            return false;
        value = json.get<Value>();
        return true;
    }
    std::string range() const
    {
        return "from " + std::to_string(least) + " to " + std::to_string(most);
    }
    std::string expected() const
    {
        return least == INT64_MIN ? "a number" : "a number " + range();
    }
};

// A number from 0 of units; of a length of time, or how long ago things were, as a time before 0.
struct Measure {
    int most;
    double unit = 1;

    Json write(auto value) const
    {
        return std::abs(static_cast<double>(value) / unit);
    }
    template <class Value> bool read(const Json &json, Value &value) const
    {
        const double units = json.is_number() ? json.get<double>() : -1;
        if (!(units >= 0 && units <= most)) // nan, too
            return false;
        if constexpr (std::is_same_v<Value, Time>)
            value = std::llround(units * unit);
        else
            value = units * unit;
        return true;
    }
    std::string range() const
    {
        return "from 0 to " + std::to_string(most);
    }
    std::string expected() const
    {
        return "a number " + range();
    }
};

template <class Rule> struct List {
    size_t least, most; // elements
    Rule each;

    template <class Value> Json write(const std::vector<Value> &values) const
    {
        Json json; // none when it is empty
        for (const Value &value : values)
            json.push_back(written(each, value));
        return json;
    }
    template <class Value> bool read(const Json &json, std::vector<Value> &values) const
    {
        if (!json.is_array() || json.size() < least || json.size() > most)
            return false;
        std::vector<Value> found;
        for (const Json &one : json)
            if (!each.read(one, found.emplace_back()))
                return false;
        values = std::move(found);
        return true;
    }
    std::string expected() const
    {
        return "a list of " + (least > 0 ? std::to_string(least) : "up") + " to "
               + std::to_string(most) + " numbers " + each.range();
    }
};
template <class Rule> List(size_t, size_t, Rule) -> List<Rule>;

// The value of one of the words in a table of sim/terms.h.
template <class Table> struct Word {
    const Table &terms;

    template <class Value> Json write(Value value) const
    {
        const auto row = rowOf(terms, value);
        return row ? Json(row->word) : Json();
    }
    template <class Value> bool read(const Json &json, Value &value) const
    {
        const auto word = json.get_ptr<const std::string *>();
        const auto found = word ? valueOf(terms, *word) : std::nullopt;
        value = found.value_or(value);
        return found.has_value();
    }
    std::string expected() const
    {
        std::vector<std::string_view> words;
        for (const auto &term : terms)
            words.push_back(term.word);
        return "one of " + joined(words, "\"");
    }
};
template <class Table> Word(const Table &) -> Word<Table>;

// A list of words for the operations on a class of devices, a bit for the support code of each.
struct Codes {
    int classCode;

    unsigned bitOf(const VerbTerm &verb) const // 0 for one that the class does not have
    {
        const int code = supportCode(verb.value, classCode);
        return code == 0 ? 0 : 1u << code;
    }
    Json write(unsigned value) const
    {
        Json json = Json::array();
        for (const VerbTerm &each : verbs)
            if (value & bitOf(each))
                json.push_back(each.support);
        return json;
    }
    bool read(const Json &json, unsigned &value) const
    {
        if (!json.is_array())
            return false;
        unsigned bits = 0;
        for (const Json &each : json) {
            const auto word = each.get_ptr<const std::string *>();
            const auto found = std::ranges::find_if(verbs, [&](const VerbTerm &verb) {
                return word && verb.support == *word && bitOf(verb) != 0;
            });
            if (found == std::end(verbs))
                return false;
            bits |= bitOf(*found);
        }
        value |= bits;
        return true;
    }
    std::string expected() const
    {
        std::vector<std::string_view> words;
        for (const VerbTerm &each : verbs)
            if (bitOf(each) != 0)
                words.push_back(each.support);
        return "a list of any of " + joined(words, "\"");
    }
};

} // namespace sim
