// SPDX-License-Identifier: GPL-2.0-or-later
// A value in the state of a simulated machine, as its file has it: a byte for the column, one for
// the type, the value. A list is the text of its JSON.
#include "fuzz.h"

#include "common/problem.h"
#include "sim/description.h"
#include "sim/tables.h"

namespace {

const char description[] = R"(
name = "M"
type = "CEDAR"
[bmc]
response = [0, 32, 1, 4, 0x56]
[[cpu_module]]
number = 1
name = "CPU module 1"
path = [0, 2]
state = "broken"
mtbf_type = "stay down"
failures = [6.5, 1]
bios_version = "1"
bios_status = "Valid"
)";

struct State : yat::Database {
    State() : Database(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)
    {
        exec(sim::schema());
    }
    void write(sim::MachineState state)
    {
        sim::writeMachine(*this, state);
        sim::writeInjections(*this, state.injections);
    }
};

// The beginnings of the statements that change a column.
std::vector<std::string> changesOf(yat::Database &database)
{
    std::vector<std::string> changes;
    for (const std::string table : {"machine", "device", "injection"})
        database.each(
            database.prepared(("SELECT name FROM pragma_table_info('" + table + "')").c_str()),
            [&](sqlite3_stmt *row) {
                const auto *name = reinterpret_cast<const char *>(sqlite3_column_text(row, 0));
                changes.push_back("UPDATE " + table + " SET " + name + " = CAST(? AS ");
            });
    return changes;
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static State database, other;
    static const std::vector<std::string> changes = [&] {
        database.write({.machine = sim::parseDescription(description, "M"),
                        .injections = {{.id = 1, .call = "InitBringUp", .text = "busy"}}});
        return changesOf(database);
    }();
    static constexpr const char *types[] = {"BLOB)", "TEXT)", "INTEGER)", "REAL)"};
    Input input(data, size);
    const std::string &change = changes[input.byte() % changes.size()];
    const std::string update = change + types[input.byte() % std::size(types)];
    const yat::Transaction undone(database);
    try {
        sqlite3_stmt *statement = database.prepared(update.c_str());
        const std::string value(input.rest());
        database.require(sqlite3_bind_text(statement, 1, value.data(),
                                           static_cast<int>(value.size()), SQLITE_TRANSIENT));
        database.each(statement, [](sqlite3_stmt *) {});
        const sim::MachineState read = sim::readState(database);
        other.write(read);
        const sim::MachineState again = sim::readState(other);
        REQUIRE(again.machine == read.machine && again.injections == read.injections);
    } catch (const yat::SqliteError &error) {
        REQUIRE(error.code == SQLITE_MISMATCH); // a key that is no number
    } catch (const yat::Problem &problem) {
        REQUIRE(std::string_view(problem.what()).starts_with(":memory: is damaged: "));
    }
    return 0;
}
