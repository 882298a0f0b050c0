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

    void operator()(std::string_view key, const auto &, const auto &, Presence = optional)
    {
        const bool isFirst = columns.empty();
        columns.append(isFirst ? "" : ", ")
            .append(key)
            .append(isFirst ? " INTEGER PRIMARY KEY" : "");
        places += isFirst ? "?" : ", ?";
    }
};

struct Binding : ColumnKeys {
    Statement &statement;
    int at = 0;

    explicit Binding(Statement &row) : statement(row) {}

    void operator()(std::string_view, const auto &value, const auto &rule, Presence = optional)
    {
        const Json json = written(rule, value);
        ++at;
        if (json.is_null())
            statement.bind(at);
        else if (json.is_string())
            statement.bind(at, json.get_ref<const std::string &>());
        else if (json.is_number_integer())
            statement.bind(at, json.get<int64_t>());
        else if (json.is_number())
            statement.bind(at, json.get<double>());
        else if (json.is_boolean())
            statement.bind(at, int64_t{json.get<bool>()});
        else
            statement.bindBlob(at, json.dump());
    }

    template <class Value, class Rule>
    void operator()(std::string_view key, const std::optional<Value> &value, const Rule &rule,
                    Presence = optional)
    {
        value ? operator()(key, *value, rule) : statement.bind(++at);
    }
};

Json jsonOf(const QueryRow &row, int column)
{
    switch (row.type(column)) {
    case SQLITE_INTEGER: return row.integer(column);
    case SQLITE_FLOAT: return row.real(column);
    case SQLITE_TEXT: return row.bytes(column);
    case SQLITE_BLOB: return Json::parse(row.bytes(column), nullptr, false);
    default: return {};
    }
}

[[noreturn]] void damaged(const Database &database, const std::string &what)
{
    throw yat::Problem(database.file + " is damaged: " + what);
}

struct Reading : ColumnKeys {
    const Database &database;
    const QueryRow &row;
    int at = 0;

    Reading(const Database &file, const QueryRow &read) : database(file), row(read) {}

    void operator()(std::string_view key, auto &value, const auto &rule,
                    Presence presence = optional)
    {
        Json json = jsonOf(row, at++);
        if (std::is_same_v<decltype(value), bool &> && (json == 0 || json == 1))
            json = json == 1;
        if (json.is_null() ? presence == required : !rule.read(json, value))
            damaged(database,
                    "wrong value for '" + std::string(key) + "', expected " + rule.expected());
    }

    template <class Value, class Rule>
    void operator()(std::string_view key, std::optional<Value> &value, const Rule &rule,
                    Presence = optional)
    {
        if (row.type(at) == SQLITE_NULL)
            ++at;
        else
            operator()(key, value.emplace(), rule);
    }
};

template <class... Value> std::string definitionOf(const std::string &table)
{
    Names names;
    keysOf(names, *std::make_unique<Value>()...);
    return "CREATE TABLE " + table + " (" + names.columns + ");\n";
}

// Writes a row, in place of the one that has its key.
template <class... Value> void putRow(Database &database, const char *table, Value &...value)
{
    static const std::string sql = [&] {
        Names names;
        keysOf(names, value...);
        return std::string("INSERT OR REPLACE INTO ") + table + " VALUES (" + names.places + ")";
    }();
    Statement &statement = database.prepared(sql.c_str());
    const QueryEnd end{statement};
    Binding binding(statement);
    keysOf(binding, value...);
    statement.step();
}

template <class... Value>
void readRow(const Database &database, const QueryRow &row, Value &...value)
{
    Reading reading(database, row);
    keysOf(reading, value...);
}

// What no rule of a single value says.
void check(const Database &database, const Machine &machine)
{
    for (const Device &device : machine.devices) {
        if (device.partner != 0 && !partnerOf(machine, device))
            damaged(database, "the partner of a module is missing");
        if (device.partner == 0 && device.state == State::synchronising)
            damaged(database, "a module synchronises with none");
    }
}

} // namespace

std::string schema()
{
    return definitionOf<MachineState>("machine") + definitionOf<int, Device>("device")
           + definitionOf<Injection>("injection") + definitionOf<JournalRow>("journal")
           + journalIsNeverRewritten;
}

MachineState readState(Database &database)
{
    MachineState state;
    Machine &machine = state.machine;
    bool isThere = false;
    database.each("SELECT * FROM machine", [&](const QueryRow &row) {
        readRow(database, row, state);
        isThere = true;
    });
    if (!isThere)
        damaged(database, "the machine is missing");
    machine.now = state.clock.simulated;
    database.each("SELECT * FROM device ORDER BY position", [&](const QueryRow &row) {
        int position = 0;
        readRow(database, row, position, machine.devices.emplace_back());
        if (position != static_cast<int>(machine.devices.size()) - 1)
            damaged(database, "a device is missing");
    });
    database.each("SELECT * FROM injection ORDER BY id", [&](const QueryRow &row) {
        readRow(database, row, state.injections.emplace_back());
    });
    makeIndex(machine);
    check(database, machine);
    return state;
}

void writeMachine(Database &database, MachineState &state)
{
    database.run("DELETE FROM device");
    for (size_t i = 0; i < state.machine.devices.size(); ++i)
        state.machine.index.changed.insert(static_cast<int>(i));
    writeChanges(database, state);
}

void writeChanges(Database &database, MachineState &state)
{
    Machine &machine = state.machine;
    for (int position : machine.index.changed)
        putRow(database, "device", position, machine.devices[static_cast<size_t>(position)]);
    machine.index.changed.clear();
    putRow(database, "machine", state);
}

void writeInjections(Database &database, std::vector<Injection> &injections)
{
    database.run("DELETE FROM injection");
    for (Injection &injection : injections)
        putRow(database, "injection", injection);
}

void addToJournal(Database &database, JournalRow row)
{
    putRow(database, "journal", row);
}

void readJournal(Database &database, int64_t last,
                 const std::function<void(const JournalRow &)> &work)
{
    database.each(
        "SELECT * FROM (SELECT * FROM journal ORDER BY id DESC LIMIT ?) ORDER BY id",
        [&](const QueryRow &columns) {
            JournalRow row;
            readRow(database, columns, row);
            work(row);
        },
        last > 0 ? last : int64_t{-1});
}

} // namespace sim
