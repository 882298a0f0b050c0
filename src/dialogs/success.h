// SPDX-License-Identifier: GPL-2.0-or-later
// The box after a success.
#pragma once

#include "yat/export.h"

// Tells that an operation succeeded. The title is not null; one of 80 bytes or more is cut.
extern "C" YAT_API void Success(const char *title);
