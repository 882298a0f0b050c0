// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/tables.h"

#include "sim/values.h"

namespace sim {
namespace {

constexpr char journalIsNeverRewritten[] = R"(
CREATE TRIGGER journal_is_not_changed BEFORE UPDATE ON journal
BEGIN SELECT RAISE(ABORT, 'the journal is never rewritten'); END;
CREATE TRIGGER journal_is_not_shortened BEFORE DELETE ON journal
BEGIN SELECT RAISE(ABORT, 'the journal is never rewritten'); END;
-- INSERT OR REPLACE deletes without telling the trigger above.
CREATE TRIGGER journal_is_not_replaced BEFORE INSERT ON journal
WHEN EXISTS (SELECT 1 FROM journal WHERE id = NEW.id)
BEGIN SELECT RAISE(ABORT, 'the journal is never rewritten'); END;
)";

// ---- What stands in a row of each table; the first column is its key

template <class Keys> void keysOf(Keys &keys, MachineState &state)
{
    const Number moment = {.least = 0, .most = lastMoment};
    int one = 1;
    keys("id", one, Number{1, 1});
    keys("simulated", state.clock.simulated, moment, required);
    keys("real", state.clock.real, moment, required);
    keys("scale", state.clock.scale, Measure{.most = fastest}, required);
    machineKeys(keys, state.machine);
}

template <class Keys> void keysOf(Keys &keys, int &position, Device &device)
{
    keys("position", position, Number());
    keys("parent", device.parent, Number{-1, position - 1}, required);
    deviceKeys(keys, device, required);
    keys("since", device.since, Number{0, lastMoment}, required);
    keys("new_bios", device.newBios, version);
    keys("copies", device.copies, Flag());
    keys("starts_after", device.startsAfter, Flag());
}

template <class Keys> void keysOf(Keys &keys, Injection &injection)
{
    keys("id", injection.id, Number());
    keys("call", injection.call, Text());
    keys("result", injection.result, Number{INT32_MIN, INT32_MAX});
    keys("times", injection.times, Number{0, mostTimes}, required);
    keys("delay", injection.delay, Number{0, longestDelay}, required);
    keys("text", injection.text, Text());
}

template <class Keys> void keysOf(Keys &keys, JournalRow &row)
{
    keys("id", row.id, Number());
    keys("simulated", row.simulated, Number());
    keys("real", row.real, Number());
    keys("user", row.user, Text());
    keys("terminal", row.terminal, Text());
    keys("device", row.device, Text());
    keys("operation", row.operation, Text());
    keys("code", row.code, Number{INT32_MIN, INT32_MAX});
    keys("argument", row.argument, Text());
    keys("result", row.result, Text());
}

// ---- Columns. A flag is 0 or 1 in them, and a list the text of its JSON, as a blob, so that it is
// not taken for a text.

struct ColumnKeys {
    static constexpr bool isOfState = true;

    template <class Work> void table(std::string_view, const Work &work)
    {
        work();
    }
};

struct Names : ColumnKeys {
    std::string columns{}, places{};

    void operator()(std::string_view key, const auto &, const auto &, Presence = mayBeMissing)
    {
        const bool isFirst = columns.empty();
        columns.append(isFirst ? "" : ", ")
            .append(key)
            .append(isFirst ? " INTEGER PRIMARY KEY" : "");
        places += isFirst ? "?" : ", ?";
    }
};

struct Binding : ColumnKeys {
    const yat::Database &database;
    sqlite3_stmt *statement;
    int at = 0;

    void operator()(std::string_view, const auto &value, const auto &rule, Presence = mayBeMissing)
    {
        const Json json = written(rule, value);
        database.require(bind(json, ++at));
    }

private:
    int bind(const Json &json, int position) const
    {
        if (json.is_null())
            return sqlite3_bind_null(statement, position);
        if (json.is_boolean())
            return sqlite3_bind_int(statement, position, json.get<bool>());
        if (json.is_number_float())
            return sqlite3_bind_double(statement, position, json.get<double>());
        if (json.is_number())
            return sqlite3_bind_int64(statement, position, json.get<int64_t>());
        const bool isText = json.is_string();
        const std::string bytes = isText ? json.get<std::string>() : json.dump();
        const int size = static_cast<int>(bytes.size());
        return isText
                   ? sqlite3_bind_text(statement, position, bytes.data(), size, SQLITE_TRANSIENT)
                   : sqlite3_bind_blob(statement, position, bytes.data(), size, SQLITE_TRANSIENT);
    }
};

Json jsonOf(sqlite3_stmt *row, int column)
{
    const int type = sqlite3_column_type(row, column);
    if (type == SQLITE_INTEGER)
        return sqlite3_column_int64(row, column);
    if (type == SQLITE_FLOAT)
        return sqlite3_column_double(row, column);
    if (type == SQLITE_NULL)
        return {};
    const auto *bytes = static_cast<const char *>(sqlite3_column_blob(row, column));
    const std::string_view text(bytes, static_cast<size_t>(sqlite3_column_bytes(row, column)));
    return type == SQLITE_TEXT ? Json(text) : Json::parse(text, nullptr, false);
}

[[noreturn]] void damaged(const yat::Database &database, const std::string &what)
{
    throw yat::Problem(database.file + " is damaged: " + what);
}

struct Reading : ColumnKeys {
    const yat::Database &database;
    sqlite3_stmt *row;
    int at = 0;

    void operator()(std::string_view key, auto &value, const auto &rule,
                    Presence presence = mayBeMissing)
    {
        Json json = jsonOf(row, at++);
        for (const int stored : {0, 1})
            if (std::is_same_v<decltype(value), bool &> && json == stored)
                json = stored != 0;
        if (json.is_null() ? presence == required : !isRead(rule, json, value))
            damaged(database,
                    "wrong value for '" + std::string(key) + "', expected " + rule.expected());
    }
};

template <class... Value> std::string definitionOf(const std::string &table)
{
    Names names;
    keysOf(names, *std::make_unique<Value>()...);
    return "CREATE TABLE " + table + " (" + names.columns + ");\n";
}

// Writes a row, in place of the one that has its key.
template <class... Value> void putRow(yat::Database &database, const char *table, Value &...value)
{
    static const std::string sql = [&] {
        Names names;
        keysOf(names, value...);
        return std::string("INSERT OR REPLACE INTO ") + table + " VALUES (" + names.places + ")";
    }();
    Binding binding{{}, database, database.prepared(sql.c_str())};
    keysOf(binding, value...);
    database.each(binding.statement, [](sqlite3_stmt *) {});
}

template <class... Value>
void readRow(const yat::Database &database, sqlite3_stmt *row, Value &...value)
{
    Reading reading{{}, database, row};
    keysOf(reading, value...);
}

// What no rule of a single value says.
void check(const yat::Database &database, const Machine &machine)
{
    for (const Device &device : machine.devices) {
        if (device.partner != 0 && !partnerOf(machine, device))
            damaged(database, "the partner of a module is missing");
        if (device.partner == 0 && device.state == State::synchronising)
            damaged(database, "a module is synchronising without a partner");
    }
}

} // namespace

std::string schema()
{
    return definitionOf<MachineState>("machine") + definitionOf<int, Device>("device")
           + definitionOf<Injection>("injection") + definitionOf<JournalRow>("journal")
           + journalIsNeverRewritten;
}

MachineState readState(yat::Database &database)
{
    MachineState state;
    Machine &machine = state.machine;
    bool isThere = false;
    database.each(database.prepared("SELECT * FROM machine"), [&](sqlite3_stmt *row) {
        readRow(database, row, state);
        isThere = true;
    });
    if (!isThere)
        damaged(database, "it describes no machine");
    machine.now = state.clock.simulated;
    database.each(database.prepared("SELECT * FROM device ORDER BY position"),
                  [&](sqlite3_stmt *row) {
                      int position = 0;
                      readRow(database, row, position, machine.devices.emplace_back());
                      if (position != static_cast<int>(machine.devices.size()) - 1)
                          damaged(database, "a device is missing");
                  });
    database.each(database.prepared("SELECT * FROM injection ORDER BY id"), [&](sqlite3_stmt *row) {
        readRow(database, row, state.injections.emplace_back());
    });
    makeIndex(machine);
    check(database, machine);
    return state;
}

void writeMachine(yat::Database &database, MachineState &state)
{
    database.exec("DELETE FROM device");
    for (size_t i = 0; i < state.machine.devices.size(); ++i)
        state.machine.index.changed.insert(static_cast<int>(i));
    writeChanges(database, state);
}

void writeChanges(yat::Database &database, MachineState &state)
{
    Machine &machine = state.machine;
    for (int position : machine.index.changed)
        putRow(database, "device", position, machine.devices[static_cast<size_t>(position)]);
    machine.index.changed.clear();
    putRow(database, "machine", state);
}

void writeInjections(yat::Database &database, std::vector<Injection> &injections)
{
    database.exec("DELETE FROM injection");
    for (Injection &injection : injections)
        putRow(database, "injection", injection);
}

void addToJournal(yat::Database &database, JournalRow row)
{
    putRow(database, "journal", row);
}

void readJournal(yat::Database &database, int64_t last,
                 const std::function<void(const JournalRow &)> &work)
{
    sqlite3_stmt *query = database.prepared(
        "SELECT * FROM (SELECT * FROM journal ORDER BY id DESC LIMIT ?) ORDER BY id");
    database.require(sqlite3_bind_int64(query, 1, last > 0 ? last : -1));
    database.each(query, [&](sqlite3_stmt *columns) {
        JournalRow row;
        readRow(database, columns, row);
        work(row);
    });
}

} // namespace sim
