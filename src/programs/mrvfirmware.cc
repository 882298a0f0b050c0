// SPDX-License-Identifier: GPL-2.0-or-later
// The firmware of the baseboard management controller, by itself.
#include "shell/program.h"
#include "system/firmware.h"
#include "yat/winshim.h"

#include <cstdio>

namespace {

int showFirmware()
{
    if (!debug_flag) {
        Firmware();
        return 1;
    }
    char revision[6];
    if (Get_BMC_FWRevision(revision) == 0) {
        say("the firmware revision can't be read; the trace log says why");
        return 0;
    }
    printf("%s\n", revision);
    return 1;
}

} // namespace

const Program program = {
    .run = showFirmware,
    .failure = nullptr,
    .data = "the firmware revision",
    .alwaysReleases = false,
};
