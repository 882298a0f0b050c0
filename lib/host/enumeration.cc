// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/enumeration.h"

#include "common/problem.h"

#include <cerrno>
#include <libudev.h>
#include <memory>

namespace host {
namespace {

template <auto unref> struct Unref {
    template <class Object> void operator()(Object *object) const
    {
        unref(object);
    }
};

using Udev = std::unique_ptr<udev, Unref<udev_unref>>;
using Enumeration = std::unique_ptr<udev_enumerate, Unref<udev_enumerate_unref>>;
using UdevDevice = std::unique_ptr<udev_device, Unref<udev_device_unref>>;

std::string propertyOf(const UdevDevice &device, const char *name)
{
    const char *value = udev_device_get_property_value(device.get(), name);
    return value ? value : "";
}

} // namespace

std::vector<KernelDevice> kernelDevices(const char *subsystem)
{
    const Udev udev(udev_new());
    const Enumeration enumeration(udev ? udev_enumerate_new(udev.get()) : nullptr);
    int error =
        enumeration ? udev_enumerate_add_match_subsystem(enumeration.get(), subsystem) : -ENOMEM;
    if (error >= 0)
        error = udev_enumerate_scan_devices(enumeration.get());
    if (error < 0) // "none" would let a slot go whose use can't be seen
        throw yat::Problem(std::string("the devices of the subsystem ") + subsystem
                           + " can't be listed: " + yat::reason(-error));
    std::vector<KernelDevice> result;
    udev_list_entry *entry;
    udev_list_entry_foreach(entry, udev_enumerate_get_list_entry(enumeration.get()))
    {
        const char *path = udev_list_entry_get_name(entry);
        if (const UdevDevice device{udev_device_new_from_syspath(udev.get(), path)})
            result.push_back({.path = path,
                              .driver = propertyOf(device, "DRIVER"),
                              .pciClass = propertyOf(device, "PCI_CLASS"),
                              .pciId = propertyOf(device, "PCI_ID")});
    }
    return result;
}

} // namespace host
