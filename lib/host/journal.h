// SPDX-License-Identifier: GPL-2.0-or-later
// What was asked of this server, by whom, and what became of it: in host.journal of the state
// directory, a line of JSON each, and in the system's log.
#pragma once

#include <string>

namespace host {

struct JournalEntry {
    std::string device; // its name in English; the number in it may be another's tomorrow
    std::string key;    // what it is remembered by
    std::string operation;
    std::string result; // "begun", "done", "failed" or "refused"
    std::string reason{};
};

// Writes it down, with the time and the caller. Throws Problem when the journal can't be written;
// it is in the system's log then.
void writeDown(const JournalEntry &entry);

} // namespace host
