// SPDX-License-Identifier: GPL-2.0-or-later
// The device tree.
#include "shell/devicetree.h"
#include "shell/program.h"

const Program program = {
    .run = EditParameter,
    .failure = "EditParameter failed,can't get data from lib.",
    .data = "the device data",
    .alwaysReleases = true,
};
