// SPDX-License-Identifier: GPL-2.0-or-later
#include "devices/actions.h"

#include "dialogs/autowin.h"
#include "dialogs/busyline.h"
#include "dialogs/message.h"
#include "dialogs/success.h"
#include "platform/device.h"
#include "terminal/redrawing.h"

#include <algorithm>

namespace {

bool confirm(const DeviceWindow &window, const char *question)
{
    return Message(nameOf(window.device).c_str(), question) == 1;
}

TextKey labelOf(const DeviceWindow &window, const Button &button)
{
    return std::ranges::find(window.kind.components, button.part, &Component::part)->text;
}

// Carries the button's operation out under the button's own name. After a success the whole
// terminal and the form are drawn anew, because the operation may have written on the screen.
void carryOut(DeviceWindow &window, const Button &button,
              const std::function<const char *()> &argument = {})
{
    if (!carryOut(*button.operation, button.support, labelOf(window, button), window.device,
                  argument))
        return;
    redrawScreen();
    newtDrawForm(window.form);
    Success(nameOf(window.device).c_str());
}

} // namespace

void operate(DeviceWindow &window, const Button &button)
{
    if (confirm(window, window.questions[button.question].data()))
        carryOut(window, button);
}

void refuse(DeviceWindow &, const Button &button)
{
    showError(button.operation->notSupported);
}

void setSelectedType(DeviceWindow &window, const Button &button)
{
    if (window.mtbfTypeUnavailable) {
        showError("MTBFTYPE_UNAVAILABLE");
        return;
    }
    if (!confirm(window, text("QUERYWIN_CHANGEMTBFTYPE_ID")))
        return;
    // The values written differ from those read: what is read as 2 is written as 0.
    const newtComponent *radios = window.parts + window.kind.mtbfType->firstRadio;
    carryOut(window, button, [&] {
        const newtComponent selected = newtRadioGetCurrent(radios[0]);
        return selected == radios[0] ? "0" : selected == radios[1] ? "1" : "2";
    });
}

void openDialog(DeviceWindow &window, const Button &button)
{
    button.opens(window.device);
}

void refresh(DeviceWindow &window, const Button &button)
{
    {
        const Waiting waiting(nameOf(window.device), text(labelOf(window, button)));
        showState(window);
    }
    newtDrawForm(window.form);
    newtRefresh();
}

void leave(DeviceWindow &window, const Button &)
{
    window.isClosed = true;
}
