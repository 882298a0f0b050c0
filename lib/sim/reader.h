// Reads the values of a description's tables by rules, and says where one is broken.
#pragma once

#include "common/toml.h"
#include "sim/terms.h"

#include <initializer_list>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sim {

using Words = std::vector<std::string_view>;

template <class Table> Words wordsOf(const Table &terms)
{
    Words words;
    for (const auto &term : terms)
        words.push_back(term.word);
    return words;
}

// The rules for one description, and the mistakes found so far. A value that is wrong or missing
// is a mistake, and read as 0, false or nothing.
class Reader {
public:
    void report(const toml::node &where, const std::string &text);

    // The keys that a table may have; whatever else it has is a mistake.
    void allowKeys(const toml::table &table, std::string_view what,
                   std::initializer_list<std::string_view> keys);

    std::string text(const toml::table &table, std::string_view key, size_t most,
                     bool required = true);

    // A text to show on a line; of a device, no other one may have it, whatever the case.
    std::string name(const toml::table &table);
    std::string nameOfDevice(const toml::table &table);

    int number(const toml::table &table, std::string_view key, int least, int most,
               bool required = true);
    bool flag(const toml::table &table, std::string_view key, bool otherwise = false);

    // The value of one of the words in a table of sim/terms.h.
    template <class Table, class Value = decltype(std::begin(std::declval<const Table &>())->value)>
    Value choice(const toml::table &table, std::string_view key, const Table &terms,
                 bool required = true, Value otherwise = Value())
    {
        const std::string_view word = this->word(table, key, wordsOf(terms), required);
        return word.empty() ? otherwise : *valueOf(terms, word);
    }

    // The words of a list, each one of these.
    Words words(const toml::table &table, std::string_view key, const Words &allowed);

    // A length of time in units such as seconds, and a list of them; decimals are allowed.
    Time time(const toml::table &table, std::string_view key, Time unit, int most, Time otherwise);
    std::vector<Time> times(const toml::table &table, std::string_view key, Time unit, int most,
                            size_t mostTimes);

    std::vector<uint8_t> bytes(const toml::table &table, std::string_view key, size_t most,
                               bool required);
    PathIdentifier path(const toml::table &table);

    // A table below another one; an empty one when it is missing.
    const toml::table &table(const toml::table &parent, std::string_view key);

    // The tables of a list of tables, such as [[cpu_module]].
    std::vector<const toml::table *> tables(const toml::table &parent, std::string_view key);

    // A number that only one of its kind may have: of a device within its class, of a board.
    // False when another one has it.
    bool isUnique(const toml::table &table, std::string_view key, int kind, int number);

    size_t found() const
    {
        return mistakes.size();
    }

    // Throws what was found, in the order of its lines.
    void throwMistakes(const std::string &file);

private:
    const toml::node *find(const toml::table &table, std::string_view key, bool required,
                           std::string_view expected);
    std::string_view word(const toml::table &table, std::string_view key, const Words &allowed,
                          bool required);
    void wrong(const toml::node &node, std::string_view key, std::string_view expected);

    struct Mistake {
        size_t line;
        std::string text;
    };
    std::vector<Mistake> mistakes;
    std::set<std::pair<int, int>> numbers;
    std::set<std::string> names;
};

} // namespace sim
