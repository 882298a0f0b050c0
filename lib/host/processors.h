// SPDX-License-Identifier: GPL-2.0-or-later
// The processor packages of this server.
#pragma once

#include "host/machine.h"

namespace host {

// The package of each processor as far as it is known: the kernel tells it only of those that are
// online.
using PackageOf = std::map<int, int>;

// Reads the packages with their counts. What is told of processors goes into known; those that the
// kernel tells nothing of belong where it says.
std::vector<Package> readPackages(PackageOf &known);

} // namespace host
