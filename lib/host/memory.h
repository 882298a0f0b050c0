// SPDX-License-Identifier: GPL-2.0-or-later
// What the product remembers of this server, in host.json of the state directory.
#pragma once

#include "host/counts.h"
#include "host/processors.h"

#include <functional>
#include <map>
#include <string>

namespace host {

struct Memory {
    PackageOf packages;
    std::map<std::string, Counts> baselines; // of devices, by their keys
    bool operator==(const Memory &) const = default;
};

// What is remembered since this server was started; nothing when there is no file. Throws Problem
// when there is one that can't be used.
Memory readMemory();

// Changes it, alone among all programs that do. Throws Problem when it can't be written, and as
// above, with the file as it was.
void changeMemory(const std::function<void(Memory &)> &change);

} // namespace host
