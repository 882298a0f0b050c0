// SPDX-License-Identifier: GPL-2.0-or-later
#include "yatctl/report.h"

#include "shared/table.h"
#include "text/json.h"

#include <cstdio>

namespace yatctl {
namespace {

Json orNull(std::string_view text)
{
    return text.empty() ? Json() : Json(text);
}

Json orNull(std::optional<int64_t> value)
{
    return value ? Json(*value) : Json();
}

std::string orDash(std::optional<int64_t> value, const char *unit = "")
{
    return value ? std::to_string(*value) + unit : "-";
}

std::string orDash(const std::string &text)
{
    return text.empty() ? "-" : text;
}

std::string mtbfText(const Device &device)
{
    const auto seconds = fact(device, YAT_KNOWS_MTBF, device.facts.mtbf);
    char text[32];
    snprintf(text, sizeof text, "%.2f h", static_cast<double>(seconds.value_or(0)) / 3600);
    return seconds ? text : "-";
}

} // namespace

Json beginJson()
{
    return {{"format", jsonFormat}};
}

Json stateJson(const Device &device)
{
    const auto duplex = fact(device, YAT_KNOWS_DUPLEX, device.facts.duplex);
    return {
        {"state", orNull(stateWord(device))},
        {"state_text", orNull(device.stateText)},
        {"progress", orNull(fact(device, YAT_KNOWS_PROGRESS, device.facts.progress))},
        {"duplex", duplex ? Json(*duplex == 1) : Json()},
    };
}

Json toJson(const Device &device)
{
    const yat_facts &facts = device.facts;
    Json json = {
        {"device", device.shortName},
        {"name", device.name},
        {"class", classWord(device.classCode)},
        {"number", device.number},
        {"path", device.path},
        {"module", orNull(device.module)},
        {"partner", orNull(partnerOf(device))},
    };
    json.update(stateJson(device));
    json.update(Json{
        {"failures", orNull(fact(device, YAT_KNOWS_FAILURES, facts.failures))},
        {"mtbf_seconds", orNull(fact(device, YAT_KNOWS_MTBF, facts.mtbf))},
        {"mtbf_threshold_seconds",
         orNull(fact(device, YAT_KNOWS_MTBF_THRESHOLD, facts.mtbf_threshold))},
        {"mtbf_type", orNull(device.mtbfType)},
        {"bios_version", orNull(device.biosVersion)},
        {"bios_state", orNull(biosWord(device))},
        {"bios_status_text", orNull(device.biosStatus)},
    });
    return json;
}

Json devicesJson(const std::vector<Device> &devices)
{
    Json json = Json::array();
    for (const Device &device : devices)
        json.push_back(toJson(device));
    return json;
}

void print(const Json &json, int indentation)
{
    printf("%s\n", yat::jsonText(json, indentation).c_str());
}

void printDevices(const std::vector<Device> &devices)
{
    std::vector<Row> rows = {{"DEVICE", "NAME", "STATE", "FAILURES", "MTBF"}};
    for (const Device &device : devices)
        rows.push_back({device.shortName, orDash(device.name), shownState(device),
                        orDash(fact(device, YAT_KNOWS_FAILURES, device.facts.failures)),
                        mtbfText(device)});
    printTable(rows);
}

void printDevice(const Device &device)
{
    std::vector<Row> rows = {
        {"Device", device.shortName},
        {"Name", orDash(device.name)},
        {"Path", device.path},
        {"State", shownState(device)},
        {"Failures", orDash(fact(device, YAT_KNOWS_FAILURES, device.facts.failures))},
        {"MTBF", mtbfText(device)},
    };
    if (isModule(device)) {
        rows.push_back({"Partner", orDash(partnerOf(device))});
        rows.push_back({"MTBF type", orDash(device.mtbfType)});
    } else {
        rows.push_back({"Module", orDash(device.module)});
    }
    if (device.classCode == YAT_CLASS_CPU_MODULE) {
        rows.push_back({"BIOS version", orDash(device.biosVersion)});
        rows.push_back({"BIOS status", orDash(device.biosStatus)});
    }
    printTable(rows);
}

} // namespace yatctl
