// SPDX-License-Identifier: GPL-2.0-or-later
// A store for tests that need no interface: an own state, and what may be done to it.
#pragma once

#include "sim/store.h"
#include "support.h"
#include "support/problem.h"
#include "yatsim/journal.h"

#include <fstream>
#include <gtest/gtest.h>

// The store of a shipped machine, or of another text in the place of its description.
struct Stored {
    explicit Stored(const std::string &machine = "CEDAR", const std::string &text = "")
        : sandbox(machine)
    {
        const auto file = sandbox.directory() / (machine + ".toml");
        std::ofstream(file) << (text.empty() ? shipped(machine) : text);
        store.file = sandbox.stateFile().string();
        store.descriptionFile = file.string();
        store.caller = {.user = "tester", .terminal = "/dev/pts/9"};
    }

    Sandbox sandbox;
    sim::Store store;
};

constexpr sim::DeviceId cpu2 = {YAT_CLASS_CPU_MODULE, 2};
inline const sim::Order stopCpu2 = {.verb = sim::Verb::bringDown, .device = cpu2, .code = 8};

inline std::vector<sim::JournalRow> journalOf(sim::Store &store)
{
    std::vector<sim::JournalRow> rows;
    readJournal(store, 0, [&](const sim::JournalRow &row) { rows.push_back(row); });
    return rows;
}

// SQL in a connection of its own, as somebody with another program would write it.
inline void tamper(const sim::Store &store, const std::string &sql)
{
    yat::Database(store.file, SQLITE_OPEN_READWRITE).exec(sql);
}

// What SQLite finds wrong with the whole file; "ok" for nothing.
inline std::string integrityOf(const sim::Store &store)
{
    yat::Database database(store.file, SQLITE_OPEN_READONLY);
    std::string result;
    database.each(database.prepared("PRAGMA integrity_check"), [&](sqlite3_stmt *row) {
        result += reinterpret_cast<const char *>(sqlite3_column_text(row, 0));
    });
    return result;
}
