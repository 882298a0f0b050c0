// SPDX-License-Identifier: GPL-2.0-or-later
// What devices the kernel has, by libudev.
#pragma once

#include <string>
#include <vector>

namespace host {

struct KernelDevice {
    std::string path;                    // its directory, below /sys/devices
    std::string driver, pciClass, pciId; // as its events have them; empty for none
};

// The devices of a subsystem, in the order of their paths. One that goes away meanwhile is left
// out. Throws Problem when they can't be listed.
std::vector<KernelDevice> kernelDevices(const char *subsystem);

} // namespace host
