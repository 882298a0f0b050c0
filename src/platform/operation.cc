#include "platform/operation.h"

#include "dialogs/autowin.h"
#include "dialogs/busyline.h"
#include "text/display.h"

bool carryOut(const Operation &operation, yat_device *device, const char *argument, int *detail)
{
    if (IfSupport(device, operation.support, detail) == 0) {
        showError(operation.notSupported);
        return false;
    }
    BusyLine busy = showBusyLine(nameOf(device).c_str(), text(operation.name));
    const int result = operation.run(device, operation.support + 1, argument);
    hideBusyLine(busy);
    if (result != 1)
        showError(operation.failed);
    return result == 1;
}

std::string nameOf(const yat_device *device)
{
    return displayText(device->lpszTreeName);
}

int numberOf(const yat_device *device)
{
    return device->identity ? device->identity->Instance : 0;
}
