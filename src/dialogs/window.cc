#include "dialogs/window.h"

#include "dialogs/busyline.h"
#include "terminal/ending.h"
#include "terminal/keys.h"
#include "terminal/size.h"
#include "text/display.h"

#include <algorithm>
#include <climits>
#include <slang.h>
#include <string>
#include <vector>

namespace {

struct Window {
    newtComponent form;
    std::string title;
    Fit fit;
    int columns = 0, rows = 0; // of the grid
    int naturalColumns = 0;    // of the grid when the window was opened
    bool scrolling = false;
    bool hotKeys = false;
};
std::vector<Window> windows; // the top one last

// Where newt puts a window of these components by itself: the place of its first component,
// relative to the screen.
struct Place {
    int left, top, width, height;
};

Place naturalPlace(const Window &window)
{
    const int titleWidth = textWidth(window.title.c_str()) + 2;
    const int width = std::max(window.columns, titleWidth) + 2;
    const int height = window.rows + 2;
    int top = (SLtt_Screen_Rows - height) / 2;
    if (SLtt_Screen_Rows % 2 && top % 2)
        --top;
    return {.left = (SLtt_Screen_Cols - width) / 2, .top = top, .width = width, .height = height};
}

bool rowsFit(const Window &window, const Place &place)
{
    return place.top + 1 >= 0 && place.top + 1 + window.rows <= SLtt_Screen_Rows;
}

// The window at the height of the screen, its frame between the top and the help line.
Place lowPlace(Place natural)
{
    natural.height = std::max(SLtt_Screen_Rows - 3, 1);
    natural.top = 1;
    return natural;
}

// Opens the window of the form in the place that the screen has for it now.
void open(const Window &window, const Place &place)
{
    newtOpenWindow(place.left, place.top, static_cast<unsigned>(place.width),
                   static_cast<unsigned>(place.height), window.title.c_str());
}

// Makes the form as high as its part of the window, with the focus in sight, or as its
// components.
void setFormHeight(Window &window, const Place &place, bool low)
{
    if (!low && !window.scrolling)
        return;
    const int rows = low ? place.height - 2 : window.rows;
    newtComponent focus = newtFormGetCurrent(window.form);
    int left, top, width, height;
    newtComponentGetPosition(focus, &left, &top);
    newtComponentGetSize(focus, &width, &height);
    top += newtFormGetScrollPosition(window.form);
    newtFormSetHeight(window.form, rows);
    newtFormSetScrollPosition(window.form, std::max(top - 1 + height - rows, 0));
    window.scrolling = low;
}

void reopen(Window &window)
{
    if (window.fit)
        window.columns = std::min(window.naturalColumns, SLtt_Screen_Cols - 4);
    const Place natural = naturalPlace(window);
    const bool low = !rowsFit(window, natural);
    const Place place = low ? lowPlace(natural) : natural;
    open(window, place);
    if (window.fit)
        window.fit(window.columns, low ? place.height - 2 : window.rows);
    setFormHeight(window, place, low);
    newtDrawForm(window.form);
    if (low)
        newtRedrawHelpLine(); // from below the window's shadow
}

// Draws everything anew on a screen of the terminal's new size. newt itself keeps its windows
// where they are and paints nothing that is new.
void fitScreen()
{
    for (size_t i = 0; i < windows.size(); ++i)
        newtPopWindowNoRefresh();
    SLtt_get_screen_size();
    SLsmg_reinit_smg();
    newtCls();
    newtRedrawHelpLine();
    for (Window &window : windows)
        reopen(window);
    newtRefresh();
}

} // namespace

void openWindow(newtComponent form, newtGrid grid, const char *title, Fit fit)
{
    interruptWaiting();
    Window window{.form = form, .title = title, .fit = fit};
    if (fit)
        fit(SLtt_Screen_Cols - 4, INT_MAX);
    newtGridGetSize(grid, &window.columns, &window.rows);
    window.naturalColumns = window.columns;
    const Place natural = naturalPlace(window);
    if (rowsFit(window, natural)) {
        newtGridWrappedWindow(grid, window.title.data());
    } else {
        const Place place = lowPlace(natural);
        open(window, place);
        newtGridPlace(grid, 1 + (natural.width - 2 - window.columns) / 2, 1);
        if (fit)
            fit(window.columns, place.height - 2);
        newtFormSetHeight(form, place.height - 2);
        newtRedrawHelpLine();
        window.scrolling = true;
    }
    if (const int wake = resizeDescriptor(); wake >= 0)
        newtFormWatchFd(form, wake, NEWT_FD_READ);
    windows.push_back(std::move(window));
    ctrlAIsHotKey = false;
}

void addHotKeys(newtComponent form)
{
    newtFormAddHotKey(form, hotKeyA);
    newtFormAddHotKey(form, hotKeyO);
    windows.back().hotKeys = ctrlAIsHotKey = true;
}

newtComponent runForm(newtComponent form)
{
    for (;;) {
        newtExitStruct left;
        watchSize();
        newtFormRun(form, &left);
        watchSize();
        switch (left.reason) {
        case newtExitStruct::NEWT_EXIT_COMPONENT: return left.u.co;
        case newtExitStruct::NEWT_EXIT_HOTKEY: return left.u.key == NEWT_KEY_F12 ? form : nullptr;
        case newtExitStruct::NEWT_EXIT_ERROR: endWithoutTerminal();
        case newtExitStruct::NEWT_EXIT_TIMER:
        case newtExitStruct::NEWT_EXIT_FDREADY:
            if (resizePending())
                fitScreen();
        }
    }
}

void runUntilClosed(newtComponent form, newtComponent close,
                    const std::function<void(newtComponent)> &answer)
{
    for (;;) {
        const newtComponent pressed = runForm(form);
        if (!pressed || pressed == close)
            break;
        answer(pressed);
    }
    closeWindow(form);
}

static void forgetWindow(newtComponent form)
{
    newtFormDestroy(form);
    windows.pop_back();
    ctrlAIsHotKey = !windows.empty() && windows.back().hotKeys;
}

void closeWindow(newtComponent form)
{
    newtPopWindow();
    forgetWindow(form);
    resumeWaiting();
}

void leaveWindow(newtComponent form)
{
    forgetWindow(form);
}
