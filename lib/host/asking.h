// SPDX-License-Identifier: GPL-2.0-or-later
// The operations of yat/ft.h on this server: each is looked at, carried out and written down.
#pragma once

#include "yat/ft.h"

namespace host {

int ifSupport(yat_device *device, int code, int *detail);
int clearMtbf(yat_device *device, int code);
int bringUp(yat_device *device, int code);
int bringDown(yat_device *device, int code);

// What this server has none of.
int setMtbfType(yat_device *device, int code, const char *type);
int burnFirmware(yat_device *device, int code, const char *mode);
int getSetting(int kind, int object, int index, int *value);
int putSetting(int kind, int object, int index, int *value);

// Why ifSupport said no.
int getReason(yat_device *device, int code, int detail, char *text);

} // namespace host
