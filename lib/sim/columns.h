// The columns of a table in the state file. A function goes through them, for the value in memory
// that a row of the table holds:
//
//     template <class Visit> void columnsOf(Visit &visit, Value &value)
//
// calls visit(NAME, PART, CONDITION) for each, where the condition gives what SQL checks. The table
// is defined, and its rows are written and read, by the same function.
#pragma once

#include "sim/database.h"

#include <string>
#include <string_view>

namespace sim {

constexpr auto anything = [] { return std::string("TRUE"); };

template <class Number> auto between(std::string_view name, Number least, Number most)
{
    return [=] {
        return std::string(name) + " BETWEEN " + std::to_string(least) + " AND "
               + std::to_string(most);
    };
}

inline auto atMostBytes(std::string_view name, size_t most)
{
    return [=] {
        return "length(CAST(" + std::string(name) + " AS BLOB)) <= " + std::to_string(most);
    };
}

struct Definition {
    std::string columns{}, places{};

    template <class Part, class Condition>
    void operator()(std::string_view name, const Part &, const Condition &condition)
    {
        columns.append(name).append(typeInSql<Part>).append("CHECK (" + condition() + "), ");
        places += places.empty() ? "?" : ", ?";
    }
};

struct Writing {
    SQLite::Statement &statement;
    int at = 0;

    template <class Part, class Condition>
    void operator()(std::string_view, const Part &part, const Condition &)
    {
        bindValue(statement, ++at, part);
    }
};

struct Reading {
    const QueryRow &row;
    int at = 0;

    template <class Part, class Condition>
    void operator()(std::string_view, Part &part, const Condition &)
    {
        readValue(row.getColumn(at++), part);
    }
};

// The statement that makes a table; constraints that are of no single column come last.
template <class... Value>
std::string definitionOf(const std::string &table, const std::string &last)
{
    Definition definition;
    columnsOf(definition, *std::make_unique<Value>()...);
    return "CREATE TABLE " + table + " (" + definition.columns + last + ") STRICT;\n";
}

// Writes a row, in place of the one that has its key.
template <class... Value> void putRow(Database &database, const char *table, Value &...value)
{
    static const std::string sql = [&] {
        Definition definition;
        columnsOf(definition, value...);
        return std::string("INSERT OR REPLACE INTO ") + table + " VALUES (" + definition.places
               + ")";
    }();
    SQLite::Statement &statement = database.prepared(sql.c_str());
    const QueryEnd end{statement};
    Writing writing{statement};
    columnsOf(writing, value...);
    statement.executeStep();
}

// Reads a row that has all columns.
template <class... Value> void readRow(const QueryRow &row, Value &...value)
{
    Reading reading{row};
    columnsOf(reading, value...);
}

} // namespace sim
