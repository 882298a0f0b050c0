// SPDX-License-Identifier: GPL-2.0-or-later
#include "dialogs/operation.h"

#include "dialogs/autowin.h"
#include "dialogs/busyline.h"
#include "platform/device.h"

bool carryOut(const Operation &operation, int support, TextKey name, yat_device *device,
              const std::function<const char *()> &argument)
{
    bool isSupported, isDone = false;
    {
        Waiting waiting(nameOf(device), text(name));
        int detail = 0; // why not, which the box does not tell
        isSupported = IfSupport(device, support, &detail) != 0;
        if (isSupported) {
            waiting.show();
            isDone = operation.run(device, support + 1, argument ? argument() : nullptr) == 1;
        }
    }
    if (!isDone)
        showError(isSupported ? operation.failed : operation.notSupported);
    return isDone;
}
