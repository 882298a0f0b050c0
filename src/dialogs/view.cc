// SPDX-License-Identifier: GPL-2.0-or-later
#include "dialogs/view.h"

#include "dialogs/components.h"
#include "text/displaytext.h"
#include "tree/component.h"

#include <algorithm>
#include <map>
#include <slang.h>
#include <utility>

namespace {

struct View {
    Layout layout;
    Inside inside;
    int first = 0; // row of the layout that is shown on top
    newtComponent focus = nullptr;
    int formHeight = 0;                                                // as newt has it
    std::map<newtComponent, const ComponentOperations *> operations{}; // newt's
    // Texts that take the focus only so that they can be scrolled into sight.
    std::vector<newtComponent> stops{};
};
std::map<newtComponent, View> views; // by their forms

View &viewWith(newtComponent component)
{
    const auto isIn = [component](const auto &view) {
        return view.second.operations.contains(component);
    };
    return std::ranges::find_if(views, isIn)->second;
}

const Placement &partOf(const View &view, newtComponent component)
{
    return *std::ranges::find(view.layout.parts, component, &Placement::component);
}

int bottomOf(const Placement &part)
{
    return part.top + part.height;
}

// ---- Drawing

bool isInSight(const View &view, const Placement &part)
{
    return part.top >= view.first && bottomOf(part) <= view.first + view.inside.rows;
}

void gotoPart(const View &view, const Placement &part, int line, int column)
{
    newtGotorc(view.inside.top + part.top + line - view.first,
               view.inside.left + part.left + column);
}

void write(const std::string &text)
{
    SLsmg_write_string(const_cast<char *>(text.c_str()));
}

// The state of a radio button or check box; the cursor stays behind it, where newt has it.
void drawState(const View &view, const Placement &part)
{
    if (view.focus == part.component)
        SLsmg_set_color(NEWT_COLORSET_ACTCHECKBOX);
    gotoPart(view, part, 0, 1);
    write({stateOf(part.component)});
    gotoPart(view, part, 0, static_cast<int>(textOf(part.component)->mark.size()));
}

bool isShown(const View &view, int row)
{
    return row >= view.first && row < view.first + view.inside.rows;
}

void drawText(const View &view, const Placement &part)
{
    const ComponentText &text = *textOf(part.component);
    const bool isFixed = text.kind == ComponentText::fixed;
    const bool isFocus = view.focus == part.component;
    const SLsmg_Color_Type colour = !isFixed  ? NEWT_COLORSET_CHECKBOX
                                    : isFocus ? NEWT_COLORSET_ACTTEXTBOX
                                              : NEWT_COLORSET_LABEL;
    SLsmg_set_color(colour);
    for (int line = 0; line < static_cast<int>(part.lines.size()); ++line) {
        if (!isShown(view, part.top + line))
            continue;
        gotoPart(view, part, line, 0);
        write(line == 0 ? text.mark : std::string(text.mark.size(), ' '));
        write(showable(part.lines[static_cast<size_t>(line)]));
    }
    if (!isFixed && isShown(view, part.top))
        drawState(view, part);
    else if (isFocus)
        gotoPart(view, part, std::max(view.first - part.top, 0), 0);
}

// Before newt draws a form, it clears the area that its components have, and draws those only that
// stand in it. So none stands outside the view, and one text has the whole of it.
void drawPart(const View &view, const Placement &part)
{
    if (textOf(part.component))
        return drawText(view, part);
    const ComponentOperations &newts = *view.operations.at(part.component);
    const bool shown = isInSight(view, part);
    newts.place(part.component, view.inside.left + (shown ? part.left : 0),
                view.inside.top + (shown ? part.top - view.first : 0));
    newts.mapped(part.component, shown);
    if (shown)
        newts.draw(part.component);
}

void placeTexts(const View &view)
{
    bool hasArea = false;
    for (const Placement &part : view.layout.parts)
        if (textOf(part.component)) {
            newtComponent_struct &text = *part.component;
            text.left = view.inside.left;
            text.top = view.inside.top;
            text.width = hasArea ? 1 : view.inside.columns;
            text.height = hasArea ? 1 : view.inside.rows;
            hasArea = true;
        }
}

// Few terminals have arrows where their encoding has none.
void drawFrame(const View &view)
{
    const auto draw = [&view](int row, bool isMore, const char *arrow, const char *plain) {
        newtGotorc(view.inside.top + row, view.inside.frame);
        if (isMore)
            return write(SLsmg_is_utf8_mode() ? arrow : plain);
        SLsmg_set_char_set(1);
        SLsmg_write_char(SLSMG_VLINE_CHAR);
        SLsmg_set_char_set(0);
    };
    SLsmg_set_color(NEWT_COLORSET_BORDER);
    draw(0, view.first > 0, "↑", "^");
    draw(view.inside.rows - 1, view.first + view.inside.rows < view.layout.rows, "↓", "v");
}

void draw(const View &view)
{
    SLsmg_set_color(NEWT_COLORSET_WINDOW);
    for (int row = 0; row < view.inside.rows; ++row) {
        newtGotorc(view.inside.top + row, view.inside.left);
        SLsmg_write_nstring(const_cast<char *>(""), static_cast<unsigned>(view.inside.columns));
    }
    drawFrame(view);
    for (const Placement &part : view.layout.parts)
        if (part.component != view.focus)
            drawPart(view, part);
    if (view.focus)
        drawPart(view, partOf(view, view.focus)); // the cursor stays there
}

// ---- Scrolling

void limitScrolling(View &view)
{
    view.first = std::clamp(view.first, 0, std::max(view.layout.rows - view.inside.rows, 0));
}

// Has the focus in sight, with what stands above it since the component that has it before, and
// with what follows when none has it after.
void showFocus(View &view)
{
    const Placement &part = partOf(view, view.focus);
    int above = 0, bottom = view.layout.rows;
    for (const Placement &other : view.layout.parts) {
        if (!other.component->takesFocus)
            continue;
        if (bottomOf(other) <= part.top)
            above = std::max(above, bottomOf(other));
        if (other.top >= bottomOf(part))
            bottom = bottomOf(part);
    }
    const int rows = view.inside.rows;
    view.first = std::max(view.first, bottom - rows);
    view.first = std::min(view.first, std::max(above, bottomOf(part) - rows));
    view.first = std::min(view.first, part.top);
    limitScrolling(view);
}

// Lets those texts take the focus that would else stay out of sight wherever it is.
void findStops(View &view)
{
    for (const newtComponent stop : view.stops)
        stop->takesFocus = 0;
    view.stops.clear();
    std::vector<const Placement *> order;
    for (const Placement &part : view.layout.parts)
        order.push_back(&part);
    std::ranges::stable_sort(order, std::ranges::greater(),
                             [](const Placement *p) { return p->top; });
    int inSightFrom =
        view.layout.rows - view.inside.rows; // with the focus on the next component that takes it
    for (const Placement *part : order) {
        const bool isText = textOf(part->component) != nullptr;
        if (isText && !part->component->takesFocus && part->top < inSightFrom) {
            part->component->takesFocus = 1;
            view.stops.push_back(part->component);
        }
        if (part->component->takesFocus)
            inSightFrom = bottomOf(*part) - view.inside.rows;
    }
}

// Scrolls in a text that is higher than the window.
bool scroll(View &view, const Placement &part, int key)
{
    if (part.height <= view.inside.rows)
        return false;
    const int page = view.inside.rows - 1, before = view.first;
    const int last = bottomOf(part) - view.inside.rows;
    switch (key) {
    case NEWT_KEY_UP: view.first = std::max(view.first - 1, part.top); break;
    case NEWT_KEY_DOWN: view.first = std::min(view.first + 1, last); break;
    case NEWT_KEY_PGUP: view.first = std::max(view.first - page, part.top); break;
    case NEWT_KEY_PGDN: view.first = std::min(view.first + page, last); break;
    }
    return view.first != before;
}

// ---- The operations that newt has of the components meanwhile

void drawComponent(newtComponent component)
{
    const View &view = viewWith(component);
    drawPart(view, partOf(view, component));
}

EventResult takeEvent(newtComponent component, Event event)
{
    View &view = viewWith(component);
    if (event.phase == EV_NORMAL && event.kind == EV_KEYPRESS
        && scroll(view, partOf(view, component), event.u.key)) {
        draw(view);
        return {.kind = ER_SWALLOWED, .u = {}};
    }
    if (event.kind == EV_FOCUS) {
        view.focus = component;
        showFocus(view);
        draw(view);
    }
    if (event.kind == EV_UNFOCUS)
        view.focus = nullptr;
    const EventResult result = view.operations.at(component)->event(component, event);
    if (event.phase == EV_NORMAL && textOf(component)) // which opens no window that ends the view
        draw(view);                                    // its marks, and those of its group
    return result;
}

void place(newtComponent, int, int) {}
void setMapped(newtComponent, int) {}

// A view ends before its form.
const ComponentOperations viewOperations = {.draw = drawComponent,
                                            .event = takeEvent,
                                            .destroy = nullptr,
                                            .place = place,
                                            .mapped = setMapped};

} // namespace

void startView(newtComponent form, const Layout &layout, const Inside &inside)
{
    View &view = views[form] = {.layout = layout, .inside = inside};
    view.formHeight = form->height;
    newtFormSetHeight(form, inside.rows);
    for (const Placement &part : layout.parts) {
        part.component->ops->mapped(part.component, 0);
        view.operations[part.component] = std::exchange(part.component->ops, &viewOperations);
    }
    placeTexts(view);
    findStops(view);
    draw(view);
}

void changeView(newtComponent form, const Layout &layout)
{
    View &view = views.at(form);
    view.layout = layout;
    findStops(view);
    limitScrolling(view);
}

void endView(newtComponent form)
{
    const auto found = views.find(form);
    if (found == views.end())
        return;
    const View view = std::move(found->second);
    views.erase(found);
    for (const auto &[component, operations] : view.operations)
        component->ops = operations;
    for (const newtComponent stop : view.stops)
        stop->takesFocus = 0;
    newtFormSetHeight(form, view.formHeight);
    const auto takesFocus = [](const Placement &part) { return part.component->takesFocus != 0; };
    const auto first = std::ranges::find_if(view.layout.parts, takesFocus);
    if (!newtFormGetCurrent(form)->takesFocus && first != view.layout.parts.end())
        newtFormSetCurrent(form, first->component);
}

bool hasView(newtComponent form)
{
    return views.contains(form);
}
