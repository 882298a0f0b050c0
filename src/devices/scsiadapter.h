// SPDX-License-Identifier: GPL-2.0-or-later
// The window of a SCSI adapter. It runs until it is closed; the result has no meaning.
#pragma once

#include "yat/device.h"

extern "C" YAT_API int ScsiAdapter(yat_device *datap);
