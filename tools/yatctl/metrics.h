// SPDX-License-Identifier: GPL-2.0-or-later
// What a monitoring system collects of the machine.
#pragma once

#include "yatctl/machine.h"

#include <ctime>
#include <string>

namespace yatctl {

// The machine as text in the common part of OpenMetrics and of Prometheus' own format, which the
// textfile collector of node_exporter reads. Devices have been read; a setting that is not known
// is left out, as everything is that the platform doesn't tell.
struct SettingValue {
    std::string key;
    bool isOn;
};
std::string metricsText(const Machine &machine, const std::vector<SettingValue> &settings,
                        time_t now);

} // namespace yatctl
