// SPDX-License-Identifier: GPL-2.0-or-later
// The settings of the whole machine.
#pragma once

#include "yat/export.h"

// Shows and changes them. Returns 1, or 0 when they can't be read.
extern "C" YAT_API int General(void);
