// SPDX-License-Identifier: GPL-2.0-or-later
#include "forms.h"

#include "calls.h"

#include <cstdarg>
#include <map>

namespace {

std::map<void *, std::string> names;
std::map<std::string, int> numbers; // of the last of a kind

std::string nameOf(void *thing)
{
    return !thing ? "null" : names.contains(thing) ? names[thing] : "tree";
}

void name(void *thing, const std::string &text, const std::string &kind)
{
    names[thing] = text.empty() ? kind + " " + std::to_string(++numbers[kind]) : text;
}

std::string paddingText(int left, int top, int right, int bottom)
{
    std::string result;
    for (const auto &[side, width] :
         {std::pair{"left", left}, {"top", top}, {"right", right}, {"bottom", bottom}})
        if (width)
            result += std::string(side) + " " + std::to_string(width) + ", ";
    return result;
}

std::string anchorText(int anchor)
{
    switch (anchor) {
    case NEWT_ANCHOR_LEFT: return "left";
    case NEWT_ANCHOR_RIGHT: return "right";
    case NEWT_ANCHOR_TOP: return "top";
    }
    return "anchor " + std::to_string(anchor);
}

// The tree's items by their data, which no call of newt has: where the first of each stands, and
// the state of the first device once it is to be another that a tree of one state has not.
void recordTree(newtComponent tree)
{
    const auto find = [](const char *name) { return dlsym(RTLD_DEFAULT, name); };
    const auto findItem =
        reinterpret_cast<int *(*)(newtComponent, intptr_t)>(find("yat_newtCheckboxTreeFindItem"));
    const auto setState = reinterpret_cast<void (*)(newtComponent, intptr_t, char)>(
        find("yat_newtCheckboxTreeSetEntryValue"));
    const auto state = reinterpret_cast<int (*)(newtComponent, intptr_t)>(
        find("yat_newtCheckboxTreeGetEntryValue"));
    for (const int data : {1, 101, 102, 100}) {
        std::string line = "item " + std::to_string(data) + ":";
        int *path = findItem(tree, data);
        for (const int *position = path; position && *position != NEWT_ARG_LAST; ++position)
            line += " " + std::to_string(*position);
        free(path);
        record(line);
    }
    setState(tree, 100, '*');
    record("state of item 100: " + std::to_string(state(tree, 100)));
}

newtComponent treeToRecord;

const char *wordFor(const void *pointer, const char *word)
{
    return pointer ? word : "null";
}

} // namespace

static std::string shown(newtComponent component)
{
    return nameOf(component);
}

void nameAnew()
{
    numbers.clear();
}

std::string nameBefore(newtGrid grid)
{
    return records("forms") ? nameOf(grid) + ", " : "";
}

void recordRun()
{
    if (!records("forms"))
        return;
    if (treeToRecord)
        recordTree(treeToRecord);
    treeToRecord = nullptr;
    record("newtFormRun()");
}

#define IS_OF_THE_PROGRAM (records("forms") && !isInNewt(__builtin_return_address(0)))

#pragma GCC visibility push(default)
extern "C" {

// What makes a component. It gets the text as its name, or a number of its kind.
#define COMPONENT(function, parameters, arguments, recorded, text, kind)                           \
    newtComponent function parameters                                                              \
    {                                                                                              \
        const bool isRecorded = IS_OF_THE_PROGRAM;                                                 \
        if (isRecorded)                                                                            \
            record(#function "(" + list recorded + ")");                                           \
        newtComponent made = real<decltype(function)>(#function) arguments;                        \
        if (isRecorded)                                                                            \
            name(made, text, kind);                                                                \
        return made;                                                                               \
    }
#define WITH_TEXT(function)                                                                        \
    COMPONENT(function, (int left, int top, const char *text), (left, top, text),                  \
              (left, top, text), text, "")
WITH_TEXT(newtLabel)
WITH_TEXT(newtButton)
WITH_TEXT(newtCompactButton)
COMPONENT(newtForm, (newtComponent bar, void *help, int flags), (bar, help, flags),
          (bar, wordFor(help, "help"), flags), "form", "")
COMPONENT(newtTextbox, (int left, int top, int width, int height, int flags),
          (left, top, width, height, flags), (left, top, width, height, flags), "", "textbox")
COMPONENT(newtRadiobutton,
          (int left, int top, const char *text, int isSelected, newtComponent previous),
          (left, top, text, isSelected, previous), (left, top, text, isSelected, previous), text,
          "")
COMPONENT(newtCheckbox,
          (int left, int top, const char *text, char state, const char *states, char *result),
          (left, top, text, state, states, result),
          (left, top, text, state, ('"' + std::string(states) + '"').c_str(),
           wordFor(result, "result")),
          text, "")
COMPONENT(newtEntry,
          (int left, int top, const char *text, int width, const char **result, int flags),
          (left, top, text, width, result, flags),
          (left, top, *text ? text : "empty", width, wordFor(result, "result"), flags), "", "entry")

// What is done with components.
#define CALL(result, function, parameters, arguments)                                              \
    result function parameters                                                                     \
    {                                                                                              \
        if (IS_OF_THE_PROGRAM)                                                                     \
            record(#function "(" + list arguments + ")");                                          \
        return real<decltype(function)>(#function) arguments;                                      \
    }
CALL(void, newtTextboxSetText, (newtComponent textbox, const char *text), (textbox, text))
CALL(void, newtCheckboxSetValue, (newtComponent box, char value), (box, value))
CALL(newtComponent, newtRadioGetCurrent, (newtComponent radio), (radio))
CALL(void, newtFormAddHotKey, (newtComponent form, int key), (form, key))
CALL(void, newtFormDestroy, (newtComponent form), (form))

void newtFormAddComponent(newtComponent form, newtComponent component)
{
    const auto add = real<decltype(newtFormAddComponent)>("newtFormAddComponent");
    if (!IS_OF_THE_PROGRAM)
        return add(form, component);
    if (!names.contains(component))
        treeToRecord = component;
    record("newtFormAddComponent(" + list(form, component) + ")");
    add(form, component);
}

void newtFormAddComponents(newtComponent form, ...)
{
    const auto add = real<decltype(newtFormAddComponent)>("newtFormAddComponent");
    std::string line = "newtFormAddComponents(" + list(form);
    va_list components;
    va_start(components, form);
    while (newtComponent component = va_arg(components, newtComponent)) {
        line += ", " + nameOf(component);
        add(form, component);
    }
    va_end(components);
    if (IS_OF_THE_PROGRAM)
        record(line + ", null)");
}

newtGrid newtCreateGrid(int columns, int rows)
{
    newtGrid made = real<decltype(newtCreateGrid)>("newtCreateGrid")(columns, rows);
    if (IS_OF_THE_PROGRAM) {
        name(made, "", "grid");
        record(nameOf(made) + " = " + shown(columns) + "x" + shown(rows));
    }
    return made;
}

void newtGridSetField(newtGrid grid, int column, int row, newtGridElement kind, void *content,
                      int left, int top, int right, int bottom, int anchor, int flags)
{
    if (IS_OF_THE_PROGRAM) {
        const std::string what = kind == NEWT_GRID_SUBGRID ? "sub-" : "";
        record(nameOf(grid) + " (" + shown(column) + "," + shown(row) + ") " + what
               + nameOf(content) + ", " + paddingText(left, top, right, bottom) + anchorText(anchor)
               + (flags ? ", flags " + shown(flags) : ""));
    }
    real<decltype(newtGridSetField)>("newtGridSetField")(grid, column, row, kind, content, left,
                                                         top, right, bottom, anchor, flags);
}

} // extern "C"
#pragma GCC visibility pop
