// SPDX-License-Identifier: GPL-2.0-or-later
// The tree of device records that a platform gives.
#pragma once

#include "yat/device.h"

// Whether the records below one come to an end soon. Of a platform that is not sound, one can lie
// below itself or below many, and whoever walks through them would use up the stack or the time.
bool haveEnd(const yat_device *root);

constexpr char endlessRecords[] =
    "the platform gives devices that lie below themselves, or more than any "
    "machine has; ask for a newer version of it";
