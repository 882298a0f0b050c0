// SPDX-License-Identifier: GPL-2.0-or-later
// The question box.
#pragma once

#include "yat/export.h"

// Asks for confirmation. Returns 1 for OK, 0 for Cancel and for the hot keys. Neither text may be
// null; a title of 80 bytes or more is cut.
extern "C" YAT_API int Message(const char *title, const char *message);
