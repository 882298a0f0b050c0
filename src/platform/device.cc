// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/device.h"

#include "text/displaytext.h"

std::string nameOf(const yat_device *device)
{
    return displayText(device->lpszTreeName);
}

const char *traceNameOf(const yat_device *device)
{
    return device && device->lpszTreeName ? device->lpszTreeName : "NULL";
}

int numberOf(const yat_device *device)
{
    return device->identity ? device->identity->Instance : 0;
}

std::span<yat_device *const> childrenOf(const yat_device *device)
{
    if (!device->children || device->NextDevNum < 0)
        return {};
    return {device->children, static_cast<size_t>(device->NextDevNum)};
}
