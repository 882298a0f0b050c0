// SPDX-License-Identifier: GPL-2.0-or-later
// newt's component record, which a widget of one's own needs and newt.h does not show.
//
// This is the layout of newt 0.52.9 and later. componentFault proves it against the newt that is
// loaded.
#pragma once

#include <newt.h>

enum EventKind { EV_FOCUS, EV_UNFOCUS, EV_KEYPRESS, EV_MOUSE };
enum EventPhase { EV_EARLY, EV_NORMAL, EV_LATE };

struct Event {
    EventKind kind;
    EventPhase phase;
    union {
        int key;
        struct {
            int type, x, y;
        } mouse;
    } u;
};

enum EventResultKind { ER_IGNORED, ER_SWALLOWED, ER_EXITFORM, ER_SETFOCUS, ER_NEXTCOMP };

struct EventResult {
    EventResultKind kind;
    union {
        newtComponent focus;
    } u;
};

struct ComponentOperations {
    void (*draw)(newtComponent component);
    EventResult (*event)(newtComponent component, Event event);
    void (*destroy)(newtComponent component);
    void (*place)(newtComponent component, int left, int top);
    void (*mapped)(newtComponent component, int isMapped);
};

struct newtComponent_struct {
    int height, width;
    int top, left;
    int takesFocus;
    int isMapped;
    const ComponentOperations *ops;
    newtCallback callback;
    void *callbackData;
    newtCallback destroyCallback;
    void *destroyCallbackData;
    void *data;
};

// What newt exports and newt.h does not declare.
extern "C" {
void newtGotorc(int row, int column); // places the cursor relative to the current window
void newtTrashScreen(void);           // has all drawn again where the screen needs it
}

// Holds the record against components that newt made. Null when they agree, else the field that
// does not. Needs no screen.
const char *componentFault();
