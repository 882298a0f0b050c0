// Reads the values of a description's tables by rules, and says where one is broken.
#pragma once

#include "common/toml.h"
#include "sim/keys.h"

#include <initializer_list>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sim {

using Words = std::vector<std::string_view>;

// The rules for one description, and the mistakes found so far. A value that is wrong or missing
// stays as it is.
class Reader {
public:
    static constexpr bool isUniform = false;

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

    void text(std::string_view key, std::string &value, size_t most, Presence presence);
    void name(std::string_view key, std::string &value); // a text to show on a line
    void number(std::string_view key, int &value, int least, int most, Presence presence);
    void flag(std::string_view key, bool &value);
    void time(std::string_view key, Time &value, Time unit, int most);

    // How long ago things were, a list, as times before 0 in their order.
    void timesAgo(std::string_view key, std::vector<Time> &value, Time unit, int most,
                  size_t mostTimes);
    void bytes(std::string_view key, std::vector<uint8_t> &value, size_t most,
               Presence presence = optional);
    void path(std::string_view key, PathIdentifier &value);

    // The value of one of the words in a table of sim/terms.h.
    template <class Table, class Value>
    void word(std::string_view key, Value &value, const Table &terms, Presence presence)
    {
        Words words;
        for (const auto &term : terms)
            words.push_back(term.word);
        if (const auto known = valueOf(terms, oneOf(key, words, presence)))
            value = *known;
    }

    // A bit for each of the codes whose words are in a list.
    void codes(std::string_view key, unsigned &value, std::span<const SupportCode> codes);

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
        Words known, wrong; // keys
    };
    struct Limits {
        size_t least = 0, most = SIZE_MAX;
    };
    struct Mistake {
        size_t line;
        std::string text;
    };

    const toml::table &tableBelow(std::string_view key);
    void refuseOtherKeys(std::string_view what);
    const toml::node *find(std::string_view key, Presence presence, std::string_view expected);
    std::string_view oneOf(std::string_view key, const Words &words, Presence presence);
    template <class Value, class Read>
    void value(std::string_view key, Value &value, Presence presence, const std::string &expected,
               Read read);
    template <class Value, class Read>
    void list(std::string_view key, std::vector<Value> &values, Limits size, Presence presence,
              const std::string &expected, Read read);

    Scope scope{};
    std::vector<Mistake> mistakes;
    std::set<std::pair<int, std::string>> taken;
};

} // namespace sim
