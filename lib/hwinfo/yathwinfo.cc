// SPDX-License-Identifier: GPL-2.0-or-later
// The hardware information plug-in, yathwinfo.dll: the BMC's call, with the injection around it.
#include "base/tracing.h"
#include "common/configuration.h"
#include "common/guarded.h"
#include "common/problem.h"
#include "hwinfo/bmc.h"
#include "sim/injection.h"
#include "yat/hwinfo.h"

#include <algorithm>
#include <exception>
#include <sstream>

static constexpr char traceSource[] = "yathwinfo";

namespace {

constexpr char device[] = "/dev/ipmi0";
constexpr int limit = 5000; // milliseconds

// Asks the BMC of the machine, unless an injection answers for it. The result that the call has to
// return then, whatever was answered, goes into injected.
std::vector<uint8_t> askMachine(std::optional<int> &injected)
{
    const yat::ConfiguredMachine machine = yat::configuredMachine();
    if (machine.isHardware)
        return hwinfo::askDriver(device, limit);
    sim::Store store = sim::configuredStore(machine);
    const auto injection = sim::takeInjection(store, "YATGetDeviceID").value_or(sim::Injection());
    injected = injection.result;
    if (injected == 0)
        throw yat::Problem("injected: 0");
    const auto bytes = injection.text ? sim::bytesOf(*injection.text) : std::nullopt;
    return bytes ? *bytes : hwinfo::askSimulated(look(store));
}

} // namespace

int YATGetDeviceID(unsigned char response[16])
try {
    TRACE(">");
    if (!response) {
        TRACE_ERROR("<[OUT]param error.response is NULL.");
        return 0;
    }
    std::optional<int> injected;
    std::optional<hwinfo::Response> deviceId;
    try {
        deviceId = hwinfo::interpret(askMachine(injected));
    } catch (const yat::Problem &problem) {
        std::istringstream lines(problem.what());
        for (std::string line; std::getline(lines, line);)
            TRACE_ERROR("%s", line.c_str());
    }
    const int result = injected.value_or(deviceId ? 1 : 0);
    if (result != 0)
        std::ranges::copy(deviceId.value_or(hwinfo::Response()), response);
    TRACE("<");
    return result;
} catch (const std::exception &problem) {
    TRACE_ERROR("%s", problem.what());
    return 0;
}
