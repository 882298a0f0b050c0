// SPDX-License-Identifier: GPL-2.0-or-later
// The commands that look, and the settings. The operations and watching have files of their own.
#pragma once

#include "yatctl/request.h"

namespace yatctl {

void listDevices(const Request &request);
void show(const Request &request);
void settings(const Request &request);
void bmc(const Request &request);
void metrics(const Request &request);

} // namespace yatctl
