// SPDX-License-Identifier: GPL-2.0-or-later
// What the command line asks for.
#pragma once

#include "yatsim/report.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace sim {

struct Request {
    std::string machine;
    bool json = false;
    std::array<std::string, 2> words; // DEVICE; CALL and RESULT; KEY and VALUE; FILE, as it is
    bool permanent = false;
    std::optional<int> times, delay;
    std::optional<std::string> text;
    int64_t last = 0;
    void (*command)(const Request &) = nullptr;

    Form form() const
    {
        return json ? Form::json : Form::text;
    }
};

} // namespace sim
