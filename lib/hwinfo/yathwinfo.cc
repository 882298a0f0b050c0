// The hardware information plug-in: yathwinfo.dll.
#include "common/machine.h"
#include "common/trace.h"
#include "hwinfo/bmc.h"
#include "yat/hwinfo.h"

#include <algorithm>
#include <exception>

static constexpr char traceSource[] = "yathwinfo";

namespace {

constexpr char device[] = "/dev/ipmi0";
constexpr int limit = 5000; // milliseconds

hwinfo::Answer askMachine()
{
    if (const std::string mistake = yat::configurationMistake(); !mistake.empty())
        return {.bytes = {}, .problems = {mistake}};
    return yat::machineIsHardware() ? hwinfo::askDriver(device, limit)
                                    : hwinfo::askSimulated();
}

} // namespace

int YATGetDeviceID(unsigned char response[16])
try {
    TRACE(YAT_TRACE_PROGRESS, ">");
    if (!response) {
        TRACE(YAT_TRACE_ERROR, "<[OUT]param error.response is NULL.");
        return 0;
    }
    hwinfo::Answer answer = askMachine();
    hwinfo::DeviceId deviceId{};
    if (answer.problems.empty())
        if (const std::string problem = hwinfo::interpret(answer.bytes, deviceId); !problem.empty())
            answer.problems.push_back(problem);
    for (const std::string &problem : answer.problems)
        TRACE(YAT_TRACE_ERROR, "%s", problem.c_str());
    const int result = answer.result.value_or(answer.problems.empty() ? 1 : 0);
    if (result != 0)
        std::ranges::copy(deviceId, response);
    TRACE(YAT_TRACE_PROGRESS, "<");
    return result;
} catch (const std::exception &problem) {
    TRACE(YAT_TRACE_ERROR, "%s", problem.what());
    return 0;
}
