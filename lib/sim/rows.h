// What a state file has beside the machine: injections, and the journal of what was asked of it.
#pragma once

#include "sim/columns.h"

#include <cstdint>
#include <optional>
#include <string>

namespace sim {

struct Injection {
    int64_t id = 0; // the journal's row of the injection; the oldest ones come first
    std::string call{};
    std::optional<int> result{}; // none: the call's real result
    int times = 1;               // 0: without end
    int delay = 0;               // milliseconds
    std::optional<std::string> text{};
    bool operator==(const Injection &) const = default;
};

constexpr int mostTimes = 1'000'000'000, longestDelay = 86'400'000;

template <class Visit> void columnsOf(Visit &visit, Injection &injection)
{
    visit("id", injection.id, anything);
    visit("call", injection.call, anything);
    visit("result", injection.result, between("result", INT32_MIN, INT32_MAX));
    visit("times", injection.times, between("times", 0, mostTimes));
    visit("delay", injection.delay, between("delay", 0, longestDelay));
    visit("text", injection.text, anything);
}

struct JournalRow {
    std::optional<int64_t> id{};     // of one that is written down
    int64_t simulated = 0, real = 0; // when, by the machine's clock and by the system's
    std::string user{}, terminal{}, device{}, operation{};
    int code = 0;
    std::string argument{}, result{};
};

template <class Visit> void columnsOf(Visit &visit, JournalRow &row)
{
    visit("id", row.id, anything);
    visit("simulated", row.simulated, anything);
    visit("real", row.real, anything);
    visit("user", row.user, anything);
    visit("terminal", row.terminal, anything);
    visit("device", row.device, anything);
    visit("operation", row.operation, anything);
    visit("code", row.code, anything);
    visit("argument", row.argument, anything);
    visit("result", row.result, anything);
}

} // namespace sim
