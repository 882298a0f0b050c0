// SPDX-License-Identifier: GPL-2.0-or-later
// Reads the values of a description's tables by their rules, and says where one is broken.
#pragma once

#include "common/toml.h"
#include "sim/values.h"

#include <initializer_list>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sim {

// The mistakes found so far in one description. A value that is wrong or missing stays as it is.
class Reader {
public:
    static constexpr bool isOfState = false;

    template <class Value, class Rule>
    void operator()(std::string_view key, Value &value, const Rule &rule,
                    Presence presence = optional)
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

} // namespace sim
