// SPDX-License-Identifier: GPL-2.0-or-later
#include "dialogs/window.h"

#include "dialogs/busyline.h"
#include "dialogs/components.h"
#include "dialogs/view.h"
#include "terminal/ending.h"
#include "terminal/keys.h"
#include "terminal/size.h"
#include "text/displaytext.h"
#include "tree/component.h"

#include <algorithm>
#include <climits>
#include <slang.h>
#include <string>
#include <vector>

namespace {

// The inside of a frame, relative to the screen.
struct Place {
    int left, top, width, height;
};

struct Window {
    newtComponent form;
    std::string title;
    Grid grid;
    Fit fit;
    Layout natural{}; // as newt places the components, the first cell of the grid at 0, 0
    int offset = 0;   // of that cell from a column behind the frame
    // What the window has at the screen's present size.
    bool isNatural = true;
    Layout layout{};
    Inside inside{};
};
std::vector<Window> windows; // the top one last

constexpr int margin = 1; // between the frame and what is in it
constexpr int framed = 2; // columns or rows of a frame

std::string shownTitle(const Window &window)
{
    constexpr int around = framed + 2 * margin + 2; // with the frame's ends beside the title
    return cutText(window.title, SLtt_Screen_Cols - around);
}

// As newt centres a window.
Place centred(int columns, int rows)
{
    const int width = columns + 2 * margin;
    int top = (SLtt_Screen_Rows - rows) / 2;
    if (SLtt_Screen_Rows % 2 && top % 2)
        --top;
    return {.left = (SLtt_Screen_Cols - width) / 2, .top = top, .width = width, .height = rows};
}

int columnsWithTitle(const Window &window, int columns)
{
    return std::max(columns, textWidth(shownTitle(window).c_str()) + 2);
}

// Where newt puts the window by itself.
Place naturalPlace(const Window &window)
{
    return centred(columnsWithTitle(window, window.natural.columns),
                   window.natural.rows + 2 * margin);
}

// Whether a window and its frame have room above the help line.
bool fits(const Place &place)
{
    return place.left >= 1 && place.top >= 1 && place.top + place.height < SLtt_Screen_Rows - 1;
}

// The rows that a window can have.
int mostRows()
{
    return std::max(SLtt_Screen_Rows - framed - 1, 1);
}

// Has contents that can show less of themselves do so.
void limitContents(const Window &window, int columns)
{
    if (window.fit)
        window.fit(columns, mostRows());
}

Layout smallLayout(const Window &window, int columns)
{
    return window.fit || columns < window.natural.columns ? narrowLayout(window.grid, columns)
                                                          : withTexts(window.natural);
}

// Opens a window that newt's own place has no room for: lower, and narrower where it is too wide.
void openSmall(Window &window)
{
    const int columns = std::min(window.natural.columns, SLtt_Screen_Cols - framed - 2 * margin);
    limitContents(window, columns);
    window.layout = smallLayout(window, columns);
    const int rows = std::min(window.layout.rows + 2 * margin, mostRows());
    const int spare = std::max(rows - window.layout.rows, 0);
    const int width = columnsWithTitle(window, columns);
    Place place = centred(width, rows);
    place.top = std::max(place.top, 1);
    window.inside = {.left = margin + (width - columns) / 2,
                     .top = spare / 2,
                     .columns = columns,
                     .rows = rows - spare,
                     .frame = place.width};
    newtOpenWindow(place.left, place.top, static_cast<unsigned>(place.width),
                   static_cast<unsigned>(place.height), shownTitle(window).c_str());
}

// Has the form know its size as newt would, and then shows it in the window that is open.
void startSmall(const Window &window)
{
    if (window.fit)
        window.fit(INT_MAX, INT_MAX);
    newtFormSetSize(window.form);
    limitContents(window, window.inside.columns);
    startView(window.form, window.layout, window.inside);
}

// Puts the components where newt has them in a window of the screen's present size.
void placeNaturally(Window &window, const Place &place)
{
    const int offset = (place.width - 2 * margin - window.natural.columns) / 2;
    window.offset = offset;
    for (const auto &[component, left, top, width, height, lines] : window.natural.parts) {
        if (textOf(component)) {
            component->width = width;
            component->height = height;
        }
        component->ops->place(component, margin + offset + left, margin + top);
    }
}

void reopen(Window &window)
{
    endView(window.form);
    if (window.fit)
        window.fit(INT_MAX, INT_MAX);
    const Place place = naturalPlace(window);
    window.isNatural = fits(place);
    placeNaturally(window, place);
    if (window.isNatural) {
        newtOpenWindow(place.left, place.top, static_cast<unsigned>(place.width),
                       static_cast<unsigned>(place.height), shownTitle(window).c_str());
        newtDrawForm(window.form);
    } else {
        openSmall(window);
        startView(window.form, window.layout, window.inside);
    }
    redrawHelpLine();
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
    for (Window &window : windows)
        reopen(window);
    newtRefresh();
}

} // namespace

void redrawHelpLine()
{
    newtRedrawHelpLine();
    SLsmg_Char_Type corner{};
    SLsmg_gotorc(SLtt_Screen_Rows - 1, SLtt_Screen_Cols - 1);
    SLsmg_read_raw(&corner, 1);
    if (corner.nchars > 0)
        return;
    SLsmg_gotorc(SLtt_Screen_Rows - 1, SLtt_Screen_Cols - 2);
    SLsmg_write_string(const_cast<char *>("  ")); // in the colour of the line
}

void openWindow(newtComponent form, const Grid &grid, const char *title, GridEnd end)
{
    openWindow(form, grid, makeNewtGrid(grid), title, end);
}

void openWindow(newtComponent form, const Grid &grid, newtGrid newts, const char *title,
                GridEnd end, Fit fit)
{
    interruptWaiting();
    Window window{.form = form, .title = title, .grid = grid, .fit = fit};
    newtGridGetSize(newts, &window.natural.columns, &window.natural.rows);
    const Place place = naturalPlace(window);
    window.isNatural = fits(place);
    if (window.isNatural) {
        window.offset = (place.width - 2 * margin - window.natural.columns) / 2;
        newtGridWrappedWindow(newts, shownTitle(window).data());
    } else {
        newtGridPlace(newts, margin, margin);
    }
    window.natural = givenLayout(grid, margin + window.offset, margin, window.natural.columns,
                                 window.natural.rows);
    if (!window.isNatural)
        openSmall(window);
    redrawHelpLine();
    if (end == GridEnd::freed)
        newtGridFree(newts, 1);
    if (const int wake = resizeDescriptor(); wake >= 0)
        newtFormWatchFd(form, wake, NEWT_FD_READ);
    dropKeys(); // which were meant for what was there before
    windows.push_back(std::move(window));
}

void setText(newtComponent textbox, const char *text)
{
    changeTextOf(textbox, text);
    for (Window &window : windows) {
        const auto isTextbox = [&](const Placement &part) { return part.component == textbox; };
        if (!hasView(window.form) || std::ranges::none_of(window.layout.parts, isTextbox))
            continue;
        window.layout = smallLayout(window, window.layout.columns);
        changeView(window.form, window.layout);
    }
}

void addHotKeys(newtComponent form)
{
    newtFormAddHotKey(form, hotKeyA);
    newtFormAddHotKey(form, hotKeyO);
}

newtComponent runForm(newtComponent form)
{
    // Not before, because a form gets its components when its window is open.
    if (const Window &window = windows.back(); !window.isNatural && !hasView(form))
        startSmall(window);
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
    endView(form);
    for (const newtComponent component : componentsOf(windows.back().grid))
        forgetText(component);
    newtFormDestroy(form);
    windows.pop_back();
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
