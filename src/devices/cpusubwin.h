// SPDX-License-Identifier: GPL-2.0-or-later
// The window of a CPU module, and the view of its BIOS data. Both run until they are closed; the
// results have no meaning.
#pragma once

#include "yat/device.h"

extern "C" YAT_API int CpuSubWin(yat_device *datap);

// index is the number of the CPU module.
extern "C" YAT_API int BiosData(int index);
