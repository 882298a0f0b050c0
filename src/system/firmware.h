// SPDX-License-Identifier: GPL-2.0-or-later
// The firmware of the baseboard management controller.
#pragma once

#include "yat/export.h"

// Shows the firmware revision of the BMC and updates it.
extern "C" YAT_API void Firmware(void);

// Asks the BMC for its firmware revision, as text of 5 bytes such as "01.23".
//
// bmcrev  takes the text, zero-terminated; at least 6 bytes
//
// Returns 1, or 0 with the reason in the trace log and bmcrev untouched.
extern "C" YAT_API int Get_BMC_FWRevision(char *bmcrev);

// A notice with two buttons that both close it.
extern "C" YAT_API void Entrance(const char *title, const char *message);
