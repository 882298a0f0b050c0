// SPDX-License-Identifier: GPL-2.0-or-later
#include "yatsim/report.h"

#include "common/configuration.h"
#include "shared/table.h"
#include "sim/injection.h"
#include "sim/words.h"
#include "text/encoding.h"
#include "text/json.h"
#include "yat/ft.h"

#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>

namespace sim {
namespace {

using Json = nlohmann::ordered_json;

std::string formatted(Time time, const char *format, bool isLocal)
{
    const time_t seconds = time / second;
    tm parts{};
    isLocal ? localtime_r(&seconds, &parts) : gmtime_r(&seconds, &parts);
    char text[64];
    return std::string(text, strftime(text, sizeof text, format, &parts));
}

std::string localText(Time time)
{
    return formatted(time, "%Y-%m-%d %H:%M:%S", true);
}

std::string utcText(Time time)
{
    char fraction[16];
    snprintf(fraction, sizeof fraction, ".%06dZ", static_cast<int>(time % second));
    return formatted(time, "%Y-%m-%dT%H:%M:%S", false) + fraction;
}

double inHours(Time time)
{
    return static_cast<double>(time) / static_cast<double>(hour);
}

std::string hoursText(Time time)
{
    char text[32];
    snprintf(text, sizeof text, "%.2f h", inHours(time));
    return text;
}

std::string mtbfText(const Device &device)
{
    const auto mean = mtbf(device);
    return mean ? hoursText(*mean) : "-";
}

// When the device's state began; an adapter may have its state from its module.
Time stateSince(const Machine &machine, const Device &device)
{
    const Device *carrier = carrierOf(machine, device);
    return carrier && stateOf(machine, device) != State::broken ? carrier->since : device.since;
}

Json deviceJson(const Machine &machine, const Device &device)
{
    Json json = {
        {"device", nameOf(device.id)},
        {"name", device.name},
        {"state", nameOf(stateOf(machine, device))},
        {"progress", nullptr},
        {"since", utcText(stateSince(machine, device))},
        {"failures", device.failureCount},
        {"failure_times", Json::array()},
        {"mtbf_hours", nullptr},
        {"defective", device.defective},
    };
    if (const auto percent = progress(machine, device))
        json["progress"] = *percent;
    for (const Time time : device.failures)
        json["failure_times"].push_back(utcText(time));
    if (const auto mean = mtbf(device))
        json["mtbf_hours"] = inHours(*mean);
    if (const Device *carrier = carrierOf(machine, device))
        json["module"] = nameOf(carrier->id);
    if (const Device *partner = partnerOf(machine, device))
        json["partner"] = nameOf(partner->id);
    if (isModule(device.id))
        json["mtbf_type"] = device.mtbfType;
    if (device.id.classCode == YAT_CLASS_CPU_MODULE) {
        json["bios_version"] = device.biosVersion;
        json["bios_status"] = biosStatusText(machine, device, false);
    }
    return json;
}

Json injectionJson(const Injection &injection)
{
    Json json = {{"call", injection.call},
                 {"result", nullptr},
                 {"times", injection.times},
                 {"delay_ms", injection.delay},
                 {"text", nullptr}};
    if (injection.result)
        json["result"] = *injection.result;
    if (injection.text)
        json["text"] = *injection.text;
    return json;
}

std::string injectionText(const Injection &injection)
{
    std::string text =
        injection.call + " " + (injection.result ? std::to_string(*injection.result) : "real");
    text += injection.times == 0   ? ", each time"
            : injection.times == 1 ? ", once"
                                   : ", " + std::to_string(injection.times) + " times";
    if (injection.delay > 0)
        text += ", after " + std::to_string(injection.delay) + " ms";
    if (injection.text)
        text += ", with \"" + *injection.text + "\"";
    return text;
}

void print(const Json &json)
{
    printf("%s\n", yat::jsonText(json, 2).c_str());
}

Json journalJson(const JournalRow &row)
{
    return {{"id", *row.id},
            {"time", utcText(row.simulated)},
            {"real_time", utcText(row.real)},
            {"user", row.user},
            {"terminal", row.terminal},
            {"device", row.device},
            {"operation", row.operation},
            {"code", row.code},
            {"argument", row.argument},
            {"result", row.result}};
}

Row journalLine(const JournalRow &row)
{
    Row line = {std::to_string(*row.id),
                localText(row.simulated),
                row.user,
                row.terminal,
                row.device,
                row.operation,
                row.argument,
                row.result};
    for (std::string &text : line)
        if (text.empty())
            text = "-";
    return line;
}

} // namespace

void reportDevices(const Machine &machine, Form form)
{
    if (form == Form::json) {
        Json json = Json::array();
        for (const Device &device : machine.devices)
            json.push_back(deviceJson(machine, device));
        print(json);
        return;
    }
    std::vector<Row> rows = {{"DEVICE", "NAME", "STATE", "SINCE", "FAILURES", "MTBF"}};
    for (const Device &device : machine.devices)
        rows.push_back({nameOf(device.id), device.name, stateText(machine, device, false),
                        localText(stateSince(machine, device)), std::to_string(device.failureCount),
                        mtbfText(device)});
    printTable(rows);
}

void reportDevice(const Machine &machine, const Device &device, Form form)
{
    if (form == Form::json) {
        print(deviceJson(machine, device));
        return;
    }
    std::vector<Row> rows = {
        {"Device", nameOf(device.id)},
        {"Name", device.name},
        {"State",
         stateText(machine, device, false) + ", since " + localText(stateSince(machine, device))},
    };
    if (const Device *carrier = carrierOf(machine, device))
        rows.push_back({"Module", nameOf(carrier->id)});
    if (const Device *partner = partnerOf(machine, device))
        rows.push_back({"Partner", nameOf(partner->id)});
    if (isModule(device.id))
        rows.push_back({"MTBF type", mtbfTypeText(device.mtbfType)});
    rows.push_back({"MTBF", mtbfText(device)});
    rows.push_back({"Failures", std::to_string(device.failureCount)});
    for (const Time time : device.failures)
        rows.push_back({"", localText(time)});
    rows.push_back({"Defective", device.defective ? "yes, until it is repaired" : "no"});
    if (device.id.classCode == YAT_CLASS_CPU_MODULE) {
        rows.push_back({"BIOS version", device.biosVersion});
        rows.push_back({"BIOS status", biosStatusText(machine, device, false)});
    }
    printTable(rows);
}

void reportMachine(Store &store, Form form)
{
    const Machine machine = look(store);
    const std::vector<Injection> pending = injections(store);
    if (form == Form::json) {
        Json json = {{"name", machine.name},
                     {"type", wordOf(machineTypes, machine.type)},
                     {"state_file", yat::fromDisplay(store.file)},
                     {"description_file", yat::fromDisplay(store.descriptionFile)},
                     {"time", utcText(machine.now)},
                     {"time_scale", wantedScale()}};
        for (size_t i = 0; i < std::size(yat::settings); ++i)
            json[yat::settings[i].key] = machine.*settingMembers[i];
        json["mtbf_threshold_hours"] = inHours(machine.mtbfThreshold);
        json["data_file"] = machine.dataFileVersion;
        json["injections"] = Json::array();
        for (const Injection &injection : pending)
            json["injections"].push_back(injectionJson(injection));
        print(json);
        return;
    }
    char scale[32];
    snprintf(scale, sizeof scale, "%g", wantedScale());
    std::vector<Row> rows = {
        {"Machine", machine.name},
        {"Type", std::string(wordOf(machineTypes, machine.type))},
        {"State file", yat::fromDisplay(store.file)},
        {"Description", yat::fromDisplay(store.descriptionFile)},
        {"Time", localText(machine.now) + ", scale " + scale},
        {"Automatic firmware update", machine.automaticFirmwareUpdate ? "on" : "off"},
        {"Automatic module start", machine.automaticModuleStart ? "on" : "off"},
        {"MTBF threshold", hoursText(machine.mtbfThreshold)},
        {"BIOS in the data file", machine.dataFileVersion.empty() ? "-" : machine.dataFileVersion},
    };
    for (const Injection &injection : pending)
        rows.push_back({&injection == &pending[0] ? "Injections" : "", injectionText(injection)});
    printTable(rows);
}

void reportJournal(const std::function<void(const OnRow &)> &readRows, Form form)
{
    if (form == Form::json) {
        const char *before = "[\n";
        readRows([&](const JournalRow &row) {
            printf("%s%s", before, yat::jsonText(journalJson(row)).c_str());
            before = ",\n";
        });
        printf("%s]\n", *before == '[' ? before : "\n");
        return;
    }
    std::vector<Row> rows = {
        {"ID", "TIME", "USER", "TERMINAL", "DEVICE", "OPERATION", "ARGUMENT", "RESULT"}};
    readRows([&](const JournalRow &row) { rows.push_back(journalLine(row)); });
    printTable(rows);
}

} // namespace sim
