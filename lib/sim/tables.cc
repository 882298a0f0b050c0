#include "sim/tables.h"

#include "sim/columns.h"
#include "sim/keys.h"
#include "sim/numbers.h"

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

std::string equals(std::string_view name, int number)
{
    return std::string(name) + " = " + std::to_string(number);
}

// The keys of a description as columns. Codes are those of sim/terms.h and yat/ft.h, times are in
// microseconds.
template <class Visit> struct Columns {
    static constexpr bool isUniform = true;
    Visit &visit;

    void text(std::string_view key, std::string &value, size_t most, Presence)
    {
        visit(key, value, atMostBytes(key, most));
    }

    void name(std::string_view key, std::string &value)
    {
        visit(key, value, anything);
    }

    void number(std::string_view key, int &value, int least, int most, Presence)
    {
        visit(key, value, between(key, least, most));
    }

    void flag(std::string_view key, bool &value)
    {
        visit(key, value, between(key, 0, 1));
    }

    template <class Value, class Table>
    void word(std::string_view key, Value &value, const Table &terms, Presence presence)
    {
        int code = static_cast<int>(value);
        // Not IN: SQLite would make a table of the codes to look into for each row.
        visit(key, code, [&] {
            std::string codes = presence == optional ? equals(key, 0) : ""; // 0: no word
            for (const auto &term : terms)
                codes += (codes.empty() ? "" : " OR ") + equals(key, static_cast<int>(term.value));
            return codes;
        });
        value = static_cast<Value>(code);
    }

    void time(std::string_view key, Time &value, Time unit, int most)
    {
        visit(key, value, between(key, Time{0}, most * unit));
    }

    void moment(std::string_view key, Time &value)
    {
        visit(key, value, between(key, Time{0}, lastMoment));
    }

    void timesAgo(std::string_view key, std::vector<Time> &value, Time, int, size_t most)
    {
        visit(key, value, [=] {
            const std::string length = "length(" + std::string(key) + ")";
            return length + " % " + std::to_string(sizeof(Time)) + " = 0 AND " + length
                   + " <= " + std::to_string(most * sizeof(Time));
        });
    }

    void bytes(std::string_view key, std::vector<uint8_t> &value, size_t most)
    {
        visit(key, value, atMostBytes(key, most));
    }

    void path(std::string_view key, PathIdentifier &value)
    {
        visit(key, value,
              [&] { return "length(" + std::string(key) + ") = " + std::to_string(value.size()); });
    }

    void codes(std::string_view key, unsigned &value, std::span<const SupportCode> codes)
    {
        unsigned all = 0;
        for (const SupportCode &each : codes)
            all |= 1u << each.code;
        unsigned own = value & all;
        visit(key, own, anything);
        value |= own & all;
    }

    template <class Work> void table(std::string_view, const Work &work)
    {
        work();
    }
};

} // namespace

template <class Visit> void columnsOf(Visit &visit, MachineState &state)
{
    Columns<Visit> columns{visit};
    int one = 1;
    columns.number("id", one, 1, 1, required);
    visit("origin", state.origin, anything);
    visit("description_hash", state.descriptionHash, anything);
    columns.moment("simulated", state.clock.simulated);
    columns.moment("real", state.clock.real);
    visit("scale", state.clock.scale, between("scale", 0.0, fastest));
    machineKeys(columns, state.machine);
}

template <class Visit> void columnsOf(Visit &visit, int &position, Device &device)
{
    Columns<Visit> columns{visit};
    visit("position", position, anything);
    visit("parent", device.parent,
          [] { return std::string("parent BETWEEN -1 AND position - 1"); });
    deviceKeys(columns, device, required);
    columns.moment("since", device.since);
    columns.text("new_bios", device.newBios, longestVersion, optional);
    columns.flag("copies", device.copies);
    columns.flag("starts_after", device.startsAfter);
}

namespace {

[[noreturn]] void damaged(const Database &database, const std::string &what)
{
    throw yat::Problem(database.file + " is damaged: " + what);
}

// What conditions of a row can't say.
void check(const Database &database, const Machine &machine)
{
    for (const Device &device : machine.devices) {
        if (device.partner != 0 && !partnerOf(machine, device))
            damaged(database, "the partner of a module is missing");
        for (const Time time : device.failures)
            if (time < -longestMtbf * hour || time > lastMoment)
                damaged(database, "a device failed at a time that there is not");
    }
}

void writeDevice(Database &database, Machine &machine, int position)
{
    putRow(database, "device", position, machine.devices[static_cast<size_t>(position)]);
}

} // namespace

std::string schema()
{
    const std::string synchronising = std::to_string(static_cast<int>(State::synchronising));
    return definitionOf<MachineState>("machine", "PRIMARY KEY (id)")
           + definitionOf<int, Device>("device", "PRIMARY KEY (position), CHECK (state <> "
                                                     + synchronising + " OR partner <> 0)")
           + definitionOf<Injection>("injection", "PRIMARY KEY (id)")
           + definitionOf<JournalRow>("journal", "PRIMARY KEY (id)") + journalIsNeverRewritten;
}

int32_t layoutOf(std::string_view schema)
{
    return static_cast<int32_t>(hashOf(schema));
}

MachineState readMachine(Database &database)
{
    MachineState state;
    Machine &machine = state.machine;
    bool isThere = false;
    database.each("SELECT * FROM machine", [&](const QueryRow &row) {
        readRow(row, state);
        isThere = true;
    });
    if (!isThere)
        damaged(database, "the machine is missing");
    machine.now = state.clock.simulated;
    database.each("SELECT * FROM device ORDER BY position", [&](const QueryRow &row) {
        int position = 0;
        readRow(row, position, machine.devices.emplace_back());
        if (position != static_cast<int>(machine.devices.size()) - 1)
            damaged(database, "a device is missing");
    });
    database.each("SELECT * FROM injection ORDER BY id",
                  [&](const QueryRow &row) { readRow(row, state.injections.emplace_back()); });
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
    for (const int position : state.machine.index.changed)
        writeDevice(database, state.machine, position);
    state.machine.index.changed.clear();
    putRow(database, "machine", state);
}

void writeInjections(Database &database, std::vector<Injection> &injections)
{
    database.run("DELETE FROM injection");
    for (Injection &injection : injections)
        putRow(database, "injection", injection);
}

} // namespace sim
