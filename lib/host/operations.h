// SPDX-License-Identifier: GPL-2.0-or-later
// What can be done to this server, and what must not.
#pragma once

#include "host/machine.h"
#include "host/reason.h"

#include <chrono>

namespace host {

enum class Verb { clear, start, stop };

// Why an operation can't be done now.
struct Refusal {
    int detail = 0; // YAT_DETAIL_..., 0 for none
    Reason why{};
};

// Looks at everything that could be broken by it.
Refusal check(const Machine &machine, const Device &device, Verb verb);

constexpr std::chrono::seconds longest{30}; // an operation may take

// Each throws a Problem when it fails, with what the machine says now.
//
// Processors go or come the last one first. When one refuses, those before it are set back.
void switchPackage(const Package &package, bool on, std::chrono::milliseconds limit = longest);

// Comes back when the functions of the slot have gone, or are there with their drivers. As there
// may be none for a function, only so long is waited for that.
void switchSlot(const Slot &slot, bool on, std::chrono::milliseconds limit = longest,
                std::chrono::milliseconds forDrivers = std::chrono::seconds(5));

// Has errors counted from now on.
void setBaseline(const Device &device, const Counts &counts);

} // namespace host
