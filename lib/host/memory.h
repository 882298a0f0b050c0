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

// What is remembered since this server was started; a file that is missing or damaged says nothing.
Memory readMemory();

// Changes it, alone among all programs that do. Throws Problem when it can't be written.
void changeMemory(const std::function<void(Memory &)> &change);

} // namespace host
