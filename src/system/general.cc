// SPDX-License-Identifier: GPL-2.0-or-later
#include "system/general.h"

#include "base/tracing.h"
#include "dialogs/autowin.h"
#include "dialogs/busyline.h"
#include "dialogs/components.h"
#include "dialogs/grid.h"
#include "dialogs/message.h"
#include "dialogs/window.h"
#include "terminal/redrawing.h"
#include "yat/ft.h"

#include <algorithm>
#include <iterator>

static constexpr char traceSource[] = "general";

namespace {

constexpr int writtenOn = 1, writtenOff = 0; // what is read is another value

struct Setting {
    int kind; // YAT_SETTING_...
    TextKey text, refused;
    const char *unreadable, *changed; // trace records
};

constexpr Setting settings[] = {
    {YAT_SETTING_AUTO_BURN, "QUERYWIN_AUTOUPDATE_ID", "AUTOBURN_SETERR_ID",
     "<GetBBDriverSettings(BB_DRV_AUTO_BURN) failed.", "flag =BB_DRV_AUTO_BURN"},
    {YAT_SETTING_AUTO_BRING_UP, "QUERYWIN_MODULESTART_ID", "AUTOBRINGUP_SETERR_ID",
     "<GetBBDriverSettings(BB_DRV_AUTO_BRING_UP)failed.", "flag = BB_DRV_AUTO_BRING_UP"},
};
constexpr size_t count = std::size(settings);

// A setting's check box. A state is '*' for on and ' ' for off.
struct Switch {
    char stored = ' ';
    char current[3]{}; // newt's own
    newtComponent box = nullptr;

    bool isChanged() const
    {
        return current[0] != stored;
    }
};

// The window while it is open.
struct Window {
    int value = 0; // what goes to and comes from the driver
    Switch switches[count];
    newtComponent form = nullptr;
};

bool readSettings(Window &window)
{
    const Waiting waiting(text("WINDOW_TITLE_GENERAL_ID"));
    for (size_t i = 0; i < count; ++i) {
        if (GetBBDriverSettings(settings[i].kind, YAT_CLASS_GENERAL, 1, &window.value) == 0) {
            showError("GENERAL_GETERR_ID");
            TRACE_AS(YAT_TRACE_ERROR, "General", "%s", settings[i].unreadable);
            return false;
        }
        if (i == 0) // the other's value is not told
            TRACE_AS(YAT_TRACE_PROGRESS, "General", "state= %d", window.value);
        window.switches[i].stored = window.value == YAT_SETTING_READ_ON ? '*' : ' ';
    }
    return true;
}

// Writes what has changed, up to the first that is refused. The boxes from there on are put back.
// Returns the refused one, null when there is none.
const Setting *writeSettings(Window &window)
{
    const Waiting waiting(text("WINDOW_TITLE_SYSSET_ID"));
    for (size_t i = 0; i < count; ++i) {
        Switch &changed = window.switches[i];
        if (!changed.isChanged())
            continue;
        TRACE_AS(YAT_TRACE_PROGRESS, "General", "%s", settings[i].changed);
        window.value = changed.current[0] == '*' ? writtenOn : writtenOff;
        if (PutBBDriverSettings(settings[i].kind, YAT_CLASS_GENERAL, 1, &window.value) == 0) {
            for (size_t j = count; j-- > i;)
                newtCheckboxSetValue(window.switches[j].box, window.switches[j].stored);
            return &settings[i];
        }
        changed.stored = changed.current[0];
    }
    return nullptr;
}

void tell(const Window &window, TextKey message)
{
    Question buffer;
    copyText(buffer, text(message));
    msgWindow(text("WINDOW_TITLE_SYSSET_ID"), " ok ", buffer.data());
    redrawScreen();
    newtDrawForm(window.form);
}

void execute(Window &window)
{
    if (std::ranges::none_of(window.switches, &Switch::isChanged))
        return tell(window, "BBDRV_NOSET_ID");
    Question question;
    copyText(question, text("QUERYWIN_CHANGESYSSET_ID"));
    if (Message(text("WINDOW_TITLE_SYSSET_ID"), question.data()) != 1)
        return;
    if (const Setting *refused = writeSettings(window))
        showError(refused->refused);
    else
        tell(window, "BBDRV_SETTING_ID");
}

} // namespace

int General(void)
{
    TRACE(">");
    Window window;
    if (!readSettings(window))
        return 0;

    newtComponent form = window.form = newtForm(nullptr, nullptr, 0);
    newtComponent close = newtButton(-1, -1, text("BUTTON_CLOSE2_ID"));
    newtComponent heading = makeLabel(text("LABEL_GENERALACT_ID"));
    newtComponent executeButton = newtButton(-1, -1, text("COMBUTTON_EXCUTE_ID"));
    for (size_t i = 0; i < count; ++i)
        window.switches[i].box = makeCheckbox(text(settings[i].text), window.switches[i].stored,
                                              window.switches[i].current);
    newtComponent quickDump = makeCheckedLabel(text("QUERYWIN_QUICKDUMP_ID")); // it is always on

    auto &[burn, bringUp] = window.switches;
    const Grid settingsGrid = {1,
                               4,
                               {{0, 0, heading, NEWT_ANCHOR_LEFT},
                                {0, 1, quickDump, NEWT_ANCHOR_LEFT, {.left = 1}},
                                {0, 2, burn.box, NEWT_ANCHOR_LEFT, {.left = 1}},
                                {0, 3, bringUp.box, NEWT_ANCHOR_LEFT, {.left = 1}}}};
    const Grid grid = makeWindowGrid(settingsGrid, makeButtonRow(executeButton, close));
    openWindow(form, grid, text("WINDOW_TITLE_GENERAL_ID"), GridEnd::freed);
    newtFormAddComponents(form, heading, quickDump, burn.box, bringUp.box, executeButton, close,
                          nullptr);
    runUntilClosed(form, close, [&](newtComponent pressed) {
        if (pressed == executeButton)
            execute(window);
    });
    TRACE("<");
    return 1;
}
