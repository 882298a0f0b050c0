// SPDX-License-Identifier: GPL-2.0-or-later
// A newt that differs from the one that the program knows, in one place at a time: what it tells of
// a component, or what stands in the record.
#include "tree/component.h"

#include <dlfcn.h>
#include <functional>
#include <gtest/gtest.h>
#include <optional>

namespace {

// What is played of newt; what is not is newt's own.
struct Played {
    std::function<void(newtComponent)> made{}; // changes a label that has been made
    std::optional<int> width{}, height{}, left{}, top{};
    bool takesFocus = true;
    bool hasCallback = true, hasCallbackData = true;
    bool hasDestroyCallback = true, hasDestroyCallbackData = true;
};
Played played;

newtComponent label;
newtComponent_struct asMade;
ComponentOperations operations;

template <class Function> Function *newts(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

// With other operations than newt's.
template <class Change> Played operating(Change change)
{
    return {.made = [change](newtComponent made) {
        operations = *made->ops;
        change(operations);
        made->ops = &operations;
    }};
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

newtComponent newtLabel(int left, int top, const char *text)
{
    label = newts<decltype(newtLabel)>("newtLabel")(left, top, text);
    asMade = *label;
    if (played.made)
        played.made(label);
    return label;
}

void newtComponentGetSize(newtComponent component, int *width, int *height)
{
    newts<decltype(newtComponentGetSize)>("newtComponentGetSize")(component, width, height);
    *width = played.width.value_or(*width);
    *height = played.height.value_or(*height);
}

void newtComponentGetPosition(newtComponent component, int *left, int *top)
{
    newts<decltype(newtComponentGetPosition)>("newtComponentGetPosition")(component, left, top);
    *left = played.left.value_or(*left);
    *top = played.top.value_or(*top);
}

void newtComponentTakesFocus(newtComponent component, int takes)
{
    if (played.takesFocus)
        newts<decltype(newtComponentTakesFocus)>("newtComponentTakesFocus")(component, takes);
}

void newtComponentAddCallback(newtComponent component, newtCallback callback, void *data)
{
    newts<decltype(newtComponentAddCallback)>("newtComponentAddCallback")(
        component, played.hasCallback ? callback : nullptr,
        played.hasCallbackData ? data : nullptr);
}

void newtComponentAddDestroyCallback(newtComponent component, newtCallback callback, void *data)
{
    newts<decltype(newtComponentAddDestroyCallback)>("newtComponentAddDestroyCallback")(
        component, played.hasDestroyCallback ? callback : nullptr,
        played.hasDestroyCallbackData ? data : nullptr);
}

} // extern "C"
#pragma GCC visibility pop

namespace {

// In the record alone.
template <class Change> Played changed(Change change)
{
    return {.made = change, .width = 5, .height = 1, .left = 3, .top = 7};
}

struct Difference {
    const char *field; // that is named
    Played newt;
};

const Difference differences[] = {
    {"size", {.width = 6}},
    {"size", {.height = 2}},
    {"size", changed([](newtComponent made) { made->width = 6; })},
    {"size", changed([](newtComponent made) { made->height = 2; })},
    {"position", {.left = 4}},
    {"position", {.top = 8}},
    {"position", changed([](newtComponent made) { made->left = 4; })},
    {"position", changed([](newtComponent made) { made->top = 8; })},
    {"focus flag", changed([](newtComponent made) { made->takesFocus = 1; })},
    {"focus flag", {.takesFocus = false}},
    {"callback", {.hasCallback = false}},
    {"callback", {.hasCallbackData = false}},
    {"destroy callback", {.hasDestroyCallback = false}},
    {"destroy callback", {.hasDestroyCallbackData = false}},
    {"data", changed([](newtComponent made) { made->data = nullptr; })},
    {"operations", changed([](newtComponent made) { made->ops = nullptr; })},
    {"operations", operating([](ComponentOperations &own) { own.place = nullptr; })},
    {"operations", operating([](ComponentOperations &own) { own.mapped = nullptr; })},
    {"operations", operating([](ComponentOperations &own) { own.event = nullptr; })},
    {"place operation", operating([](ComponentOperations &own) {
         own.place = [](newtComponent component, int left, int) { component->left = left; };
     })},
    {"place operation", operating([](ComponentOperations &own) {
         own.place = [](newtComponent component, int, int top) { component->top = top; };
     })},
    {"mapped flag", operating([](ComponentOperations &own) {
         own.mapped = [](newtComponent component, int) { component->isMapped = 0; };
     })},
    {"event result", operating([](ComponentOperations &own) {
         own.event = [](newtComponent, Event) -> EventResult {
             return {.kind = ER_SWALLOWED, .u = {}};
         };
     })},
};

} // namespace

TEST(ComponentRecord, OfAnotherNewtIsNamedByWhatDiffers)
{
    for (const Difference &difference : differences) {
        played = difference.newt;
        const char *fault = componentFault();
        ASSERT_TRUE(fault) << difference.field << " " << &difference - differences;
        EXPECT_STREQ(fault, difference.field) << &difference - differences;
        label->ops = asMade.ops; // it is left as it is
        label->data = asMade.data;
        label->destroyCallback = nullptr;
        newtComponentDestroy(label);
    }
    played = {};
}

TEST(ComponentRecord, IsThatOfTheLoadedNewt)
{
    EXPECT_EQ(componentFault(), nullptr);
}
