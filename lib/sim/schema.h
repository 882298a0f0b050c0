// The tables of a machine's state. Each script brings the tables from the version of its position
// to the next one; what is published is never changed, a change is another script.
#pragma once

#include <cstdint>

namespace sim {

constexpr int applicationId = 0x59415453; // "YATS"

constexpr const char *migrations[] = {
    R"(
CREATE TABLE machine (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    description TEXT NOT NULL,   -- TOML
    origin TEXT NOT NULL,        -- the file that it was read from
    generation INTEGER NOT NULL, -- counts the descriptions
    simulated INTEGER NOT NULL,  -- times are in microseconds since 1970
    real INTEGER NOT NULL,
    scale REAL NOT NULL,
    automatic_firmware_update INTEGER NOT NULL,
    automatic_module_start INTEGER NOT NULL,
    mtbf_threshold INTEGER NOT NULL,
    data_file TEXT NOT NULL
) STRICT;

CREATE TABLE device (
    class INTEGER NOT NULL,
    number INTEGER NOT NULL,
    state TEXT NOT NULL,
    since INTEGER NOT NULL,
    mtbf_type INTEGER NOT NULL,
    defective INTEGER NOT NULL,
    failure_count INTEGER NOT NULL,
    bios_version TEXT NOT NULL,
    bios_status TEXT NOT NULL,
    bios TEXT NOT NULL,
    new_bios TEXT NOT NULL,
    copies INTEGER NOT NULL,
    starts_after INTEGER NOT NULL,
    PRIMARY KEY (class, number)
) STRICT, WITHOUT ROWID;

CREATE TABLE failure (
    id INTEGER PRIMARY KEY,
    class INTEGER NOT NULL,
    number INTEGER NOT NULL,
    time INTEGER NOT NULL
) STRICT;
CREATE INDEX failure_of_device ON failure (class, number);

CREATE TABLE journal (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    simulated INTEGER NOT NULL,
    real INTEGER NOT NULL,
    user TEXT NOT NULL,
    terminal TEXT NOT NULL,
    device TEXT NOT NULL,
    operation TEXT NOT NULL,
    code INTEGER NOT NULL,
    argument TEXT NOT NULL,
    result TEXT NOT NULL
) STRICT;
CREATE TRIGGER journal_is_not_changed BEFORE UPDATE ON journal
BEGIN SELECT RAISE(ABORT, 'the journal is never rewritten'); END;
CREATE TRIGGER journal_is_not_shortened BEFORE DELETE ON journal
BEGIN SELECT RAISE(ABORT, 'the journal is never rewritten'); END;
-- INSERT OR REPLACE deletes without telling the trigger above.
CREATE TRIGGER journal_is_not_replaced BEFORE INSERT ON journal
WHEN EXISTS (SELECT 1 FROM journal WHERE id = NEW.id)
BEGIN SELECT RAISE(ABORT, 'the journal is never rewritten'); END;
)",
    R"(
CREATE TABLE injection (
    id INTEGER PRIMARY KEY,
    call TEXT NOT NULL,
    result INTEGER,         -- none: what the call answers really
    times INTEGER NOT NULL, -- 0: without end
    delay INTEGER NOT NULL, -- milliseconds
    text TEXT
) STRICT;
)",
};

constexpr int schemaVersion = sizeof migrations / sizeof *migrations;

// Of schemaOf for the tables that these make; looked up, because making them takes too long to do
// at each start.
constexpr uint64_t schemaHash = 0x877a250993710bf;

} // namespace sim
