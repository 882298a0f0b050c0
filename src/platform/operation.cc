#include "platform/operation.h"

#include "dialogs/autowin.h"
#include "dialogs/busyline.h"

#include <string>

bool carryOut(const Operation &operation, yat_device *device, const char *argument, int *detail)
{
    if (IfSupport(device, operation.support, detail) == 0) {
        showError(operation.notSupported);
        return false;
    }
    BusyLine busy = showBusyLine(nameOf(device), text(operation.name));
    const int result = operation.run(device, operation.support + 1, argument);
    hideBusyLine(busy);
    if (result != 1)
        showError(operation.failed);
    return result == 1;
}

const char *nameOf(const yat_device *device)
{
    return device->lpszTreeName ? device->lpszTreeName : "";
}

int numberOf(const yat_device *device)
{
    return device->identity ? device->identity->Instance : 0;
}
