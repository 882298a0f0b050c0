// SPDX-License-Identifier: GPL-2.0-or-later
// The processor packages of this server.
#pragma once

#include "host/machine.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace host {

// The package of each processor as far as it is known: the kernel tells it only of those that are
// online.
using PackageOf = std::map<int, int>;

// Those that are online, as the kernel tells them together; nothing where it doesn't. Of one that
// is on its way, its own file keeps the reader waiting until it is there.
using Online = std::optional<std::set<int>>;
Online readOnline();
bool isOnline(const Online &online, int processor);

// The file that switches a processor; there is none for one that can't go.
std::string onlineFile(int processor);

// Whether the kernel keeps all processors of a core but the first offline, whoever asks.
bool areSiblingsOff();

// Reads the packages with their counts. What is told of processors goes into known; those that the
// kernel tells nothing of belong where it says.
std::vector<Package> readPackages(PackageOf &known);

} // namespace host
