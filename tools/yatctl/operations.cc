// SPDX-License-Identifier: GPL-2.0-or-later
#include "yatctl/operations.h"

#include "base/tracing.h"
#include "common/terms.h"
#include "yatctl/confirmation.h"
#include "yatctl/failure.h"
#include "yatctl/report.h"
#include "yatctl/waiting.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace yatctl {
namespace {

constexpr char traceSource[] = "yatctl";

struct Operation {
    std::string_view command, does; // "Stop" CPU module 1
    std::string_view call;          // of yat/ft.h
    int (*run)(yat_device *device, int code, const char *argument);
    int leadsTo = 0; // what is waited for, YAT_DEVICE_...
};

template <auto call> int withoutArgument(yat_device *device, int code, const char *)
{
    return call(device, code);
}

constexpr Operation operations[] = {
    {"start", "Start", "InitBringUp", withoutArgument<InitBringUp>, YAT_DEVICE_RUNNING},
    {"stop", "Stop", "InitBringDown", withoutArgument<InitBringDown>, YAT_DEVICE_STOPPED},
    {"clear", "Clear the MTBF count of", "ClearMTBF", withoutArgument<ClearMTBF>},
    {"set-type", "Set the MTBF type of", "SetMtbfType", SetMtbfType},
    {"update", "Update the BIOS of", "BurnFirmware", BurnFirmware, YAT_DEVICE_STOPPED},
};
static_assert(std::ranges::all_of(operations, [](const Operation &each) {
    return yat::supportCode(each.call, YAT_CLASS_CPU_MODULE) != 0;
}));

const Operation &operationOf(const Request &request)
{
    return *std::ranges::find(operations, request.name, &Operation::command);
}

// What the platform takes as the argument.
std::string platformArgument(const Request &request)
{
    return request.argument == "copy"   ? YAT_BURN_COPY
           : request.argument == "file" ? YAT_BURN_FILE
                                        : request.argument;
}

// Asks whether the machine supports it now. Returns its code.
int askForSupport(const Operation &operation, const Device &device)
{
    const int code = yat::supportCode(operation.call, device.classCode);
    const std::string what = std::string(operation.command) + " " + device.shortName;
    if (code == 0)
        throw Failure(refused, what + ": there is no such operation for a device of its class");
    int detail = 0;
    if (IfSupport(device.record, code, &detail) == 0)
        throw Failure(refused, what + ": " + reasonFor(device, code, detail));
    return code;
}

void wait(const Request &request, const Operation &operation, Device &device)
{
    waitFor(device, operation.leadsTo, std::stoi(request.wait));
    if (biosWord(device) == "invalid" && operation.command == "update")
        throw Failure(failed, device.shortName + " has no valid BIOS after the update");
}

// What was done, and the device as it is now.
void report(const Request &request, Device &device, bool isDone)
{
    if (!request.json) {
        if (request.check)
            printf("%s %s: supported\n", request.name, device.shortName.c_str());
        return;
    }
    read(device);
    Json json = beginJson();
    json["operation"] = {{"name", request.name},
                         {"device", device.shortName},
                         {"supported", true},
                         {"done", isDone}};
    json["devices"] = devicesJson({device});
    print(json);
}

} // namespace

void operate(const Request &request)
{
    const Operation &operation = operationOf(request);
    Machine machine;
    Device &device = deviceNamed(machine, request.device);
    if (!request.wait.empty()) {
        read(device);
        if (stateWord(device).empty())
            throw Failure(refused, "the platform reports no states, so --wait can't be used");
    }
    if (!request.check)
        confirm(request,
                std::string(operation.does) + " " + device.name + " (" + device.shortName + ")");
    const int support = askForSupport(operation, device);
    if (!request.check) {
        const int result =
            operation.run(device.record, support + 1, platformArgument(request).c_str());
        TRACE("%s %s %s returns %d.", request.name, device.shortName.c_str(),
              request.argument.c_str(), result);
        if (result != 1)
            throw Failure(failed, std::string(request.name) + " " + device.shortName
                                      + " failed; the trace log may say why");
        if (!request.wait.empty())
            wait(request, operation, device);
    }
    report(request, device, !request.check);
}

} // namespace yatctl
