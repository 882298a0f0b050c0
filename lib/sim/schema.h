// The tables of a machine's state, and the values there can be in them. Codes are those of
// sim/terms.h and yat/ft.h; times are in microseconds, moments since 1970.
#pragma once

namespace sim {

constexpr int applicationId = 0x59415453; // "YATS"
constexpr int schemaVersion = 1;          // to be raised when the tables change

constexpr char schema[] = R"(
CREATE TABLE machine (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    origin TEXT NOT NULL,              -- the file of the description that it was made from
    description_hash INTEGER NOT NULL, -- of that file as it was
    simulated INTEGER NOT NULL CHECK (simulated BETWEEN 0 AND 253402300799000000),
    real INTEGER NOT NULL CHECK (real BETWEEN 0 AND 253402300799000000),
    scale REAL NOT NULL CHECK (scale BETWEEN 0 AND 1e6),
    name TEXT NOT NULL,
    type INTEGER NOT NULL CHECK (type BETWEEN 0 AND 3),
    bmc_response BLOB NOT NULL CHECK (length(bmc_response) <= 16),
    start INTEGER NOT NULL CHECK (start BETWEEN 0 AND 86400000000),
    synchronise INTEGER NOT NULL CHECK (synchronise BETWEEN 0 AND 86400000000),
    stop INTEGER NOT NULL CHECK (stop BETWEEN 0 AND 86400000000),
    firmware_update INTEGER NOT NULL CHECK (firmware_update BETWEEN 0 AND 86400000000),
    supported INTEGER NOT NULL CHECK (supported BETWEEN 0 AND 4294967295), -- a bit a support code
    automatic_firmware_update INTEGER NOT NULL CHECK (automatic_firmware_update IN (0, 1)),
    automatic_module_start INTEGER NOT NULL CHECK (automatic_module_start IN (0, 1)),
    mtbf_threshold INTEGER NOT NULL CHECK (mtbf_threshold BETWEEN 0 AND 3153600000000000),
    data_file TEXT NOT NULL CHECK (length(CAST(data_file AS BLOB)) <= 1000)
) STRICT;

CREATE TABLE device (
    position INTEGER PRIMARY KEY, -- in the machine, from 0
    class INTEGER NOT NULL CHECK (class IN (2, 3, 8, 13)),
    number INTEGER NOT NULL CHECK (number BETWEEN 1 AND 9999),
    name TEXT NOT NULL,
    path BLOB NOT NULL CHECK (length(path) = 8),
    board INTEGER NOT NULL CHECK (board BETWEEN 0 AND 9999),
    partner INTEGER NOT NULL CHECK (partner BETWEEN 0 AND 9999), -- a number; 0 for none
    parent INTEGER CHECK (parent >= 0 AND parent < position),    -- a position
    state INTEGER NOT NULL
        CHECK (state BETWEEN 0 AND 8 AND (state <> 6 OR partner <> 0)), -- synchronising
    since INTEGER NOT NULL CHECK (since BETWEEN 0 AND 253402300799000000),
    mtbf_type INTEGER NOT NULL CHECK (mtbf_type BETWEEN 0 AND 2),
    defective INTEGER NOT NULL CHECK (defective IN (0, 1)),
    failure_count INTEGER NOT NULL CHECK (failure_count BETWEEN 0 AND 1000000000),
    bios_version TEXT NOT NULL CHECK (length(CAST(bios_version AS BLOB)) <= 1000),
    bios_status TEXT NOT NULL CHECK (length(CAST(bios_status AS BLOB)) <= 1000),
    bios INTEGER NOT NULL CHECK (bios BETWEEN 0 AND 3),
    new_bios TEXT NOT NULL CHECK (length(CAST(new_bios AS BLOB)) <= 1000),
    copies INTEGER NOT NULL CHECK (copies IN (0, 1)),
    starts_after INTEGER NOT NULL CHECK (starts_after IN (0, 1))
) STRICT;

CREATE TABLE failure (
    device INTEGER NOT NULL CHECK (device >= 0), -- its position
    nth INTEGER NOT NULL CHECK (nth BETWEEN 0 AND 63),
    time INTEGER NOT NULL
        CHECK (time BETWEEN -3153600000000000 AND 253402300799000000), -- also before 1970
    PRIMARY KEY (device, nth)
) STRICT, WITHOUT ROWID;

CREATE TABLE injection (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    call TEXT NOT NULL,
    result INTEGER CHECK (result BETWEEN -2147483648 AND 2147483647), -- none: the real one
    times INTEGER NOT NULL CHECK (times BETWEEN 0 AND 1000000000),    -- 0: without end
    delay INTEGER NOT NULL CHECK (delay BETWEEN 0 AND 86400000),      -- milliseconds
    text TEXT
) STRICT;

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
)";

} // namespace sim
