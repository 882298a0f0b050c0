// SPDX-License-Identifier: GPL-2.0-or-later
// What an answer to Get Device ID is worth.
#include "common/problem.h"
#include "hwinfo/bmc.h"

#include <algorithm>
#include <cstdio>
#include <linux/ipmi_msgdefs.h>

namespace hwinfo {
namespace {

constexpr size_t fewestBytes = 5; // up to the minor firmware revision

struct CompletionCode {
    uint8_t code;
    const char *meaning;
};

constexpr CompletionCode completionCodes[] = {
    {IPMI_NODE_BUSY_ERR, "is busy"},
    {IPMI_INVALID_COMMAND_ERR, "does not know the command"},
    {IPMI_TIMEOUT_ERR, "is silent, the driver gave up waiting for it"},
    {IPMI_DEVICE_IN_FW_UPDATE_ERR, "is updating its firmware"},
    {IPMI_DEVICE_IN_INIT_ERR, "is starting"},
    {IPMI_NOT_IN_MY_STATE_ERR, "can't do that now"},
};

std::string refusal(uint8_t code)
{
    const auto *known = std::ranges::find(completionCodes, code, &CompletionCode::code);
    char text[128];
    snprintf(text, sizeof text, "the BMC %s (completion code %02X, expected 00)",
             known != std::end(completionCodes) ? known->meaning : "reports an error", code);
    return text;
}

} // namespace

Response interpret(std::span<const uint8_t> bytes)
{
    if (!bytes.empty() && bytes[0] != IPMI_CC_NO_ERROR)
        throw yat::Problem(refusal(bytes[0]));
    if (bytes.size() < fewestBytes)
        throw yat::Problem("the BMC's answer has " + std::to_string(bytes.size())
                           + " bytes, expected at least " + std::to_string(fewestBytes));
    Response deviceId{};
    std::ranges::copy(bytes.first(std::min(bytes.size(), deviceId.size())), deviceId.begin());
    return deviceId;
}

} // namespace hwinfo
