// SPDX-License-Identifier: GPL-2.0-or-later
// What yatsim prints: as text in the encoding of the locale, or as JSON.
#pragma once

#include "yatsim/journal.h"

namespace sim {

enum class Form { text, json };

void reportDevices(const Machine &machine, Form form);
void reportDevice(const Machine &machine, const Device &device, Form form);
void reportMachine(Store &store, Form form);
void reportJournal(const std::function<void(const OnRow &)> &readRows, Form form);

} // namespace sim
