// SPDX-License-Identifier: GPL-2.0-or-later
// What the programs read of a device record, which may have gaps.
#pragma once

#include "yat/device.h"

#include <span>
#include <string>

// The device's name for titles and questions, in the encoding of the locale; "" when it has none.
std::string nameOf(const yat_device *device);

// The device's name for a trace record. The device may be null.
const char *traceNameOf(const yat_device *device);

// The device's number within its class, 0 when it is unknown.
int numberOf(const yat_device *device);

// The devices below it. A count without an array counts nothing.
std::span<yat_device *const> childrenOf(const yat_device *device);
