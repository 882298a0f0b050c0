#include "dialogs/operation.h"

#include "dialogs/autowin.h"
#include "dialogs/busyline.h"
#include "platform/device.h"

bool carryOut(const Operation &operation, int support, TextKey name, yat_device *device,
              const char *argument)
{
    int detail = 0; // why not, which the box does not tell
    if (IfSupport(device, support, &detail) == 0) {
        showError(operation.notSupported);
        return false;
    }
    const BusyLine busy = showBusyLine(nameOf(device).c_str(), text(name));
    const int result = operation.run(device, support + 1, argument);
    hideBusyLine(busy);
    if (result != 1)
        showError(operation.failed);
    return result == 1;
}
