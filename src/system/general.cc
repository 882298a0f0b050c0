#include "system/general.h"

#include "dialogs/autowin.h"
#include "dialogs/grid.h"
#include "dialogs/window.h"
#include "trace/record.h"
#include "yat/ft.h"

#include <cstring>
#include <string>

static constexpr char traceSource[] = "general";

namespace {

constexpr int on = 2;      // as read; what is written is another value
constexpr int writtenOn = 1, writtenOff = 0;

enum WriteStatus { written = 0, quickDumpFailed = -1, autoBurnFailed = -2, bringUpFailed = -3 };

// The window while it is open. A state is '*' for on and ' ' for off.
struct Settings {
    int value = 0; // what goes to and comes from the driver
    char storedBurn[3]{}, storedBringUp[3]{};
    char burn[3]{}, bringUp[3]{}; // the check boxes' own
    int status = written;
    newtComponent form = nullptr, burnBox = nullptr, bringUpBox = nullptr;
};

char stateOf(int value)
{
    return value == on ? '*' : ' ';
}

bool readSettings(Settings &settings)
{
    if (GetBBDriverSettings(YAT_SETTING_AUTO_BURN, YAT_CLASS_GENERAL, 1, &settings.value) == 0) {
        showError("GENERAL_GETERR_ID");
        TRACE_AS(YAT_TRACE_ERROR, "General", "<GetBBDriverSettings(BB_DRV_AUTO_BURN) failed.");
        return false;
    }
    TRACE_AS(YAT_TRACE_PROGRESS, "General", "state= %d", settings.value);
    settings.storedBurn[0] = stateOf(settings.value);
    if (GetBBDriverSettings(YAT_SETTING_AUTO_BRING_UP, YAT_CLASS_GENERAL, 1, &settings.value) == 0) {
        showError("GENERAL_GETERR_ID");
        TRACE_AS(YAT_TRACE_ERROR, "General", "<GetBBDriverSettings(BB_DRV_AUTO_BRING_UP)failed.");
        return false;
    }
    settings.storedBringUp[0] = stateOf(settings.value);
    return true;
}

bool writeSetting(Settings &settings, int kind, char state)
{
    settings.value = state == '*' ? writtenOn : writtenOff;
    return PutBBDriverSettings(kind, YAT_CLASS_GENERAL, 1, &settings.value) != 0;
}

// Writes what has changed. A refused write puts the boxes back that it leaves unwritten.
void writeSettings(Settings &settings)
{
    if (settings.burn[0] != settings.storedBurn[0]) {
        TRACE_AS(YAT_TRACE_PROGRESS, "General", "flag =BB_DRV_AUTO_BURN");
        if (!writeSetting(settings, YAT_SETTING_AUTO_BURN, settings.burn[0])) {
            settings.status = autoBurnFailed;
            newtCheckboxSetValue(settings.bringUpBox, settings.storedBringUp[0]);
            newtCheckboxSetValue(settings.burnBox, settings.storedBurn[0]);
            return;
        }
        settings.status = written;
        settings.storedBurn[0] = settings.burn[0];
    }
    if (settings.bringUp[0] != settings.storedBringUp[0]) {
        TRACE_AS(YAT_TRACE_PROGRESS, "General", "flag = BB_DRV_AUTO_BRING_UP");
        if (!writeSetting(settings, YAT_SETTING_AUTO_BRING_UP, settings.bringUp[0])) {
            settings.status = bringUpFailed;
            newtCheckboxSetValue(settings.bringUpBox, settings.storedBringUp[0]);
            return;
        }
        settings.status = written;
        settings.storedBringUp[0] = settings.bringUp[0];
    }
}

void redraw(const Settings &settings)
{
    newtSuspend();
    newtResume();
    newtDrawForm(settings.form);
}

void tell(const Settings &settings, TextKey message)
{
    Question buffer;
    copyText(buffer, text(message));
    msgWindow(text("WINDOW_TITLE_SYSSET_ID"), " ok ", buffer.data());
    redraw(settings);
}

void report(const Settings &settings)
{
    switch (settings.status) {
    case written: return tell(settings, "BBDRV_SETTING_ID");
    case quickDumpFailed: return showError("QUICKDUMP_SETERR_ID");
    case autoBurnFailed: return showError("AUTOBURN_SETERR_ID");
    case bringUpFailed: return showError("AUTOBRINGUP_SETERR_ID");
    }
    showError("GENERAL_SETERR_ID");
}

void execute(Settings &settings)
{
    if (settings.burn[0] == settings.storedBurn[0]
        && settings.bringUp[0] == settings.storedBringUp[0]) {
        tell(settings, "BBDRV_NOSET_ID");
        return;
    }
    Question question;
    copyText(question, text("QUERYWIN_CHANGESYSSET_ID"));
    if (Message(text("WINDOW_TITLE_SYSSET_ID"), question.data()) != 1)
        return;
    writeSettings(settings);
    report(settings);
}

newtComponent makeBox(TextKey key, char stored, char *current)
{
    return newtCheckbox(-1, -1, text(key), stored, "* ", current);
}

// A label that looks like a checked box: the quick dump is always on.
newtComponent makeQuickDumpLine()
{
    Question line;
    copyText(line, ("[*] " + std::string(text("QUERYWIN_QUICKDUMP_ID"))).c_str());
    return newtLabel(-1, -1, line.data());
}

} // namespace

int General(void)
{
    TRACE(">");
    Settings settings;
    if (!readSettings(settings))
        return 0;

    newtComponent form = settings.form = newtForm(nullptr, nullptr, 0);
    newtComponent close = newtButton(-1, -1, text("BUTTON_CLOSE2_ID"));
    newtComponent heading = newtLabel(-1, -1, text("LABEL_GENERALACT_ID"));
    newtComponent executeButton = newtButton(-1, -1, text("COMBUTTON_EXCUTE_ID"));
    settings.burnBox = makeBox("QUERYWIN_AUTOUPDATE_ID", settings.storedBurn[0], settings.burn);
    settings.bringUpBox =
        makeBox("QUERYWIN_MODULESTART_ID", settings.storedBringUp[0], settings.bringUp);
    newtComponent quickDump = makeQuickDumpLine();

    newtGrid settingsGrid = makeGrid(1, 4,
                                     {{0, 0, heading, NEWT_ANCHOR_LEFT},
                                      {0, 1, quickDump, NEWT_ANCHOR_LEFT, {.left = 1}},
                                      {0, 2, settings.burnBox, NEWT_ANCHOR_LEFT, {.left = 1}},
                                      {0, 3, settings.bringUpBox, NEWT_ANCHOR_LEFT, {.left = 1}}});
    newtGrid buttonGrid = makeGrid(
        2, 1, {{0, 0, executeButton, NEWT_ANCHOR_LEFT}, {1, 0, close, NEWT_ANCHOR_RIGHT}});
    newtGrid grid = makeGrid(1, 2,
                             {{0, 0, settingsGrid, NEWT_ANCHOR_TOP},
                              {0, 1, buttonGrid, NEWT_ANCHOR_TOP, {.top = 1}}});
    openWindow(form, grid, text("WINDOW_TITLE_GENERAL_ID"));
    newtGridFree(grid, 1);
    newtFormAddComponents(form, heading, quickDump, settings.burnBox, settings.bringUpBox,
                          executeButton, close, nullptr);
    for (;;) {
        const newtComponent pressed = runForm(form);
        if (!pressed || pressed == close)
            break;
        if (pressed == executeButton)
            execute(settings);
    }
    closeWindow(form);
    TRACE("<");
    return 1;
}
