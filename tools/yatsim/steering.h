// SPDX-License-Identifier: GPL-2.0-or-later
// What yatsim does to a machine besides operations, each with its row in the journal.
#pragma once

#include "sim/store.h"

#include <string>
#include <string_view>

namespace sim {

// The device of that short name ("eth3" will do) or display name, whatever its case.
const Device *deviceNamed(const Machine &machine, std::string_view name);

void inject(Store &store, Injection injection);
void clearInjections(Store &store, const std::string &call);

// Puts an operation into the journal that was declined before the machine saw it. The row's result
// is the reason.
void writeDownRefusal(Store &store, JournalRow row);

// Rebuilds the machine from a description. The journal continues. Mistakes in the description are
// thrown as one yat::Problem with a line each.
void resetMachine(Store &store); // from descriptionFile
void importMachine(Store &store, const std::string &file);

} // namespace sim
