// SPDX-License-Identifier: GPL-2.0-or-later
#include "yatctl/commands.h"

#include "base/tracing.h"
#include "common/file.h"
#include "common/terms.h"
#include "shared/table.h"
#include "text/encoding.h"
#include "yatctl/bmc.h"
#include "yatctl/confirmation.h"
#include "yatctl/failure.h"
#include "yatctl/metrics.h"
#include "yatctl/report.h"

#include <cstdio>
#include <ctime>
#include <functional>
#include <unistd.h>

namespace yatctl {
namespace {

constexpr char traceSource[] = "yatctl";

struct Assignment {
    yat::Setting setting;
    int value; // as it is written
};

Assignment parse(const std::string &assignment)
{
    std::string expected;
    for (const yat::Setting &setting : yat::settings) {
        for (const int value : {0, 1})
            if (assignment == std::string(setting.key) + (value ? "=on" : "=off"))
                return {setting, value};
        expected.append(expected.empty() ? "" : ", or ").append(setting.key).append("=on or =off");
    }
    throw Failure(usage, "no setting '" + assignment + "', expected " + expected);
}

// Nothing when it can't be read.
std::optional<bool> isOn(const yat::Setting &setting)
{
    int value = 0;
    if (GetBBDriverSettings(setting.kind, YAT_CLASS_GENERAL, 1, &value) == 0)
        return {};
    return value == YAT_SETTING_READ_ON;
}

void put(const Assignment &assignment)
{
    int value = assignment.value;
    const int result = PutBBDriverSettings(assignment.setting.kind, YAT_CLASS_GENERAL, 1, &value);
    TRACE("settings %s=%d returns %d.", assignment.setting.key, value, result);
    if (result == 0)
        throw Failure(failed, std::string(assignment.setting.key)
                                  + " was not set; the trace log may say why");
}

void readAll(Machine &machine)
{
    for (Device &device : machine.devices)
        read(device);
}

void report(const Request &request, const Machine &machine, const std::vector<Device> &devices,
            const std::function<void()> &printText)
{
    if (!request.json) {
        printText();
        return;
    }
    Json json = beginJson();
    json["machine"] = {{"type", typeWord(machine.type)}};
    json["devices"] = devicesJson(devices);
    print(json);
}

} // namespace

void listDevices(const Request &request)
{
    Machine machine;
    readAll(machine);
    report(request, machine, machine.devices, [&] { printDevices(machine.devices); });
}

void show(const Request &request)
{
    Machine machine;
    Device &device = deviceNamed(machine, request.device);
    read(device);
    report(request, machine, {device}, [&] { printDevice(device); });
}

void settings(const Request &request)
{
    std::vector<Assignment> wanted;
    for (const std::string &assignment : request.assignments)
        wanted.push_back(parse(assignment));
    Machine machine;
    if (!wanted.empty() && !request.check) {
        confirm(request, "Change the settings of the machine");
        for (const Assignment &assignment : wanted)
            put(assignment);
    }
    Json json = beginJson();
    std::vector<Row> rows;
    for (const yat::Setting &setting : yat::settings) {
        const std::optional<bool> on = isOn(setting);
        json["settings"][setting.key] = on ? Json(*on) : Json();
        rows.push_back({setting.key, !on ? "-" : *on ? "on" : "off"});
    }
    request.json ? print(json) : printTable(rows);
}

void bmc(const Request &request)
{
    const auto answer = deviceIdOfBmc();
    char revision[16];
    snprintf(revision, sizeof revision, "%02X.%01X%01X", answer[3] & 0x7F, answer[4] >> 4,
             answer[4] & 0x0F);
    if (!request.json) {
        printTable({{"Firmware revision", revision},
                    {"Device id", std::to_string(answer[1])},
                    {"Device revision", std::to_string(answer[2] & 0x0F)}});
        return;
    }
    Json json = beginJson();
    json["bmc"] = {{"firmware_revision", revision},
                   {"device_id", answer[1]},
                   {"device_revision", answer[2] & 0x0F}};
    print(json);
}

void metrics(const Request &request)
{
    Machine machine;
    readAll(machine);
    std::vector<SettingValue> values;
    for (const yat::Setting &setting : yat::settings)
        if (const std::optional<bool> on = isOn(setting))
            values.push_back({setting.key, *on});
    const std::string text = metricsText(machine, values, time(nullptr));
    if (request.output.empty()) // programs take UTF-8 in any locale, a terminal may not
        printf("%s", isatty(STDOUT_FILENO) ? yat::toDisplay(text).c_str() : text.c_str());
    else
        yat::replaceFile(request.output, text, 0644);
}

} // namespace yatctl
