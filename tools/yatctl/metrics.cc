// SPDX-License-Identifier: GPL-2.0-or-later
#include "yatctl/metrics.h"

#include "common/terms.h"

#include <algorithm>
#include <functional>

namespace yatctl {
namespace {

using Labels = std::vector<std::pair<std::string_view, std::string>>;

std::string quoted(const std::string &text)
{
    std::string result;
    for (const char byte : text) {
        if (byte == '"' || byte == '\\')
            result += '\\';
        result += byte;
    }
    return "\"" + result + "\"";
}

std::string sample(std::string_view name, const Labels &labels, int64_t value)
{
    std::string text(name);
    for (const auto &[label, content] : labels)
        text += (&content == &labels[0].second ? "{" : ",") + std::string(label) + "="
                + quoted(content);
    return text + (labels.empty() ? " " : "} ") + std::to_string(value) + "\n";
}

// A metric: nothing at all when it has no samples.
std::string metric(const std::string &name, const std::string &help, const std::string &samples)
{
    if (samples.empty())
        return {};
    return "# HELP " + name + " " + help + "\n# TYPE " + name + " gauge\n" + samples;
}

std::string forEach(const Machine &machine,
                    const std::function<std::string(const Device &)> &samplesOf)
{
    std::string samples;
    for (const Device &device : machine.devices)
        samples += samplesOf(device);
    return samples;
}

// A metric of a number that is told of some devices.
std::string numbers(const Machine &machine, const char *name, const char *help, uint32_t bit,
                    int64_t yat_facts::*field)
{
    return metric(name, help, forEach(machine, [&](const Device &device) {
                      const auto value = fact(device, bit, device.facts.*field);
                      return value ? sample(name, {{"device", device.shortName}}, *value) : "";
                  }));
}

// The same name for both modules of a pair; empty for one that has no partner.
std::string pairOf(const Device &device)
{
    const std::string partner = partnerOf(device);
    if (partner.empty())
        return {};
    const std::string low = std::to_string(std::min<int64_t>(device.number, device.facts.partner));
    const std::string high = std::to_string(std::max<int64_t>(device.number, device.facts.partner));
    const std::string kind =
        device.shortName.substr(0, device.shortName.find_first_of("0123456789"));
    return kind + low + "+" + kind + high;
}

std::string deviceInfo(const Device &device)
{
    return sample("yat_device_info",
                  {{"device", device.shortName},
                   {"name", device.name},
                   {"class", std::string(classWord(device.classCode))},
                   {"module", isModule(device) ? device.shortName : device.module},
                   {"path", device.path}},
                  1);
}

std::string states(const Device &device)
{
    std::string samples;
    const std::string_view now = stateWord(device);
    for (const std::string_view state : stateWords)
        if (!now.empty())
            samples +=
                sample("yat_device_state",
                       {{"device", device.shortName}, {"state", std::string(state)}}, state == now);
    return samples;
}

std::string duplex(const Device &device)
{
    const auto isDuplex = fact(device, YAT_KNOWS_DUPLEX, device.facts.duplex);
    const std::string pair = pairOf(device);
    return isDuplex && !pair.empty() ? sample(
               "yat_module_duplex", {{"device", device.shortName}, {"pair", pair}}, *isDuplex)
                                     : "";
}

std::string mtbfType(const Device &device)
{
    return device.mtbfType
               ? sample("yat_module_mtbf_type", {{"device", device.shortName}}, *device.mtbfType)
               : "";
}

std::string biosInfo(const Device &device)
{
    return device.biosVersion.empty() ? ""
                                      : sample("yat_cpu_module_bios_info",
                                               {{"device", device.shortName},
                                                {"pair", pairOf(device)},
                                                {"state", std::string(biosWord(device))},
                                                {"version", device.biosVersion}},
                                               1);
}

std::string settingSamples(const std::vector<SettingValue> &settings)
{
    std::string samples;
    for (const SettingValue &setting : settings)
        samples += sample("yat_setting", {{"setting", setting.key}}, setting.isOn);
    return samples;
}

} // namespace

std::string metricsText(const Machine &machine, const std::vector<SettingValue> &settings,
                        time_t now)
{
    return metric("yat_machine_info", "The type of the machine.",
                  sample("yat_machine_info", {{"type", std::string(typeWord(machine.type))}}, 1))
           + metric("yat_device_info", "A device of the machine.", forEach(machine, deviceInfo))
           + metric("yat_device_state", "1 for the state that a device is in, 0 for the others.",
                    forEach(machine, states))
           + metric("yat_module_duplex", "1 while a module runs together with its partner.",
                    forEach(machine, duplex))
           + numbers(machine, "yat_device_failures", "Failures since they were cleared.",
                     YAT_KNOWS_FAILURES, &yat_facts::failures)
           + numbers(machine, "yat_device_mtbf_seconds", "Mean time between these failures.",
                     YAT_KNOWS_MTBF, &yat_facts::mtbf)
           + numbers(machine, "yat_device_mtbf_threshold_seconds",
                     "Mean time between failures below which a device stays down.",
                     YAT_KNOWS_MTBF_THRESHOLD, &yat_facts::mtbf_threshold)
           + metric("yat_module_mtbf_type",
                    "What a failure leads to: " + yat::mtbfTypesInWords() + ".",
                    forEach(machine, mtbfType))
           + metric("yat_cpu_module_bios_info", "The BIOS of a CPU module.",
                    forEach(machine, biosInfo))
           + metric("yat_setting", "1 for a setting that is on.", settingSamples(settings))
           + metric("yat_last_look_timestamp_seconds", "When the machine was looked at.",
                    sample("yat_last_look_timestamp_seconds", {}, now))
           + "# EOF\n";
}

} // namespace yatctl
