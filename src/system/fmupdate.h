// SPDX-License-Identifier: GPL-2.0-or-later
// The firmware update of a SCSI adapter, which no machine supports. The result has no meaning.
#pragma once

#include "yat/device.h"

extern "C" YAT_API int FMUpdate(yat_device *datap);
