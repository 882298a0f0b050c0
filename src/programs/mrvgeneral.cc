// SPDX-License-Identifier: GPL-2.0-or-later
// The general settings of the machine, by themselves.
#include "dialogs/busyline.h"
#include "shell/program.h"
#include "system/general.h"
#include "text/textkeys.h"
#include "yat/ft.h"
#include "yat/winshim.h"

#include <cstdio>

namespace {

// In dump mode: the settings as the driver has them.
int printSettings()
{
    int burn = 0, bringUp = 0;
    if (GetBBDriverSettings(YAT_SETTING_AUTO_BURN, YAT_CLASS_GENERAL, 1, &burn) == 0
        || GetBBDriverSettings(YAT_SETTING_AUTO_BRING_UP, YAT_CLASS_GENERAL, 1, &bringUp) == 0) {
        say("the settings of the server can't be read; the trace log says why");
        return 0;
    }
    printf("BB_DRV_AUTO_BURN: %d\nBB_DRV_AUTO_BRING_UP: %d\n", burn, bringUp);
    return 1;
}

int openInterface()
{
    const Waiting waiting(text("WINDOW_TITLE_GENERAL_ID"));
    return ft_FunctionInit();
}

int showSettings()
{
    const int opened = openInterface();
    if (debug_flag)
        return opened ? printSettings() : 0;
    return General(); // says so itself when the settings can't be read
}

} // namespace

const Program program = {
    .run = showSettings,
    .failure = nullptr,
    .data = "the settings of the server",
    .alwaysReleases = false,
};
