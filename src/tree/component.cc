// SPDX-License-Identifier: GPL-2.0-or-later
#include "tree/component.h"

namespace {

void callback(newtComponent, void *) {}
void destroyCallback(newtComponent, void *) {}

// Each step is taken through newt's own functions and looked at in the record, and the other way
// round.
const char *faultOf(newtComponent label)
{
    int width, height, left, top, mark;
    newtComponentGetSize(label, &width, &height);
    newtComponentGetPosition(label, &left, &top);
    if (label->width != 5 || width != 5 || label->height != 1 || height != 1)
        return "size";
    if (label->left != 3 || left != 3 || label->top != 7 || top != 7)
        return "position";
    if (label->takesFocus != 0 || (newtComponentTakesFocus(label, 1), label->takesFocus != 1))
        return "focus flag";
    newtComponentAddCallback(label, callback, &mark);
    if (label->callback != callback || label->callbackData != &mark)
        return "callback";
    newtComponentAddDestroyCallback(label, destroyCallback, &mark);
    if (label->destroyCallback != destroyCallback || label->destroyCallbackData != &mark)
        return "destroy callback";

    if (!label->data)
        return "data";
    if (!label->ops || !label->ops->place || !label->ops->mapped || !label->ops->event)
        return "operations";
    label->ops->place(label, 11, 13);
    newtComponentGetPosition(label, &left, &top);
    if (left != 11 || top != 13)
        return "place operation";
    label->ops->mapped(label, 1);
    if (label->isMapped != 1)
        return "mapped flag";
    const Event event{.kind = EV_KEYPRESS, .phase = EV_EARLY, .u = {.key = 'x'}};
    if (label->ops->event(label, event).kind != ER_IGNORED)
        return "event result";
    return nullptr;
}

} // namespace

const char *componentFault()
{
    newtComponent label = newtLabel(3, 7, "label");
    const char *fault = faultOf(label);
    if (!fault)
        newtComponentDestroy(label); // one that is not understood is better left alone
    return fault;
}
