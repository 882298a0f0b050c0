// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/records.h"

#include "common/records.h"

#include <algorithm>

namespace sim {

yat_device *makeRecords(const Machine &machine)
{
    std::vector<yat::DeviceRow> rows;
    rows.reserve(machine.devices.size());
    for (const Device &device : machine.devices) {
        yat::DeviceRow &row =
            rows.emplace_back(yat::DeviceRow{.identity = {.Instance = device.id.number,
                                                          .ClassCode = device.id.classCode,
                                                          .DevicePathID = {}},
                                             .name = device.name,
                                             .parent = device.parent});
        std::ranges::copy(device.path, row.identity.DevicePathID);
    }
    return yat::makeRecords(rows);
}

} // namespace sim
