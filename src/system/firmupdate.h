// SPDX-License-Identifier: GPL-2.0-or-later
// The firmware update of a CPU module, from the running module or from the data file. The result
// has no meaning.
#pragma once

#include "yat/device.h"

extern "C" YAT_API int FirmUpdate(yat_device *datap);
