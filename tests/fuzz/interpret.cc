// SPDX-License-Identifier: GPL-2.0-or-later
// The BMC's answer.
#include "fuzz.h"

#include "common/problem.h"
#include "hwinfo/bmc.h"

#include <algorithm>
#include <vector>

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::vector<uint8_t> answer(data, data + size);
    const bool isGood = size >= 5 && data[0] == 0;
    try {
        const hwinfo::Response deviceId = hwinfo::interpret(answer);
        REQUIRE(isGood);
        for (size_t i = 0; i < deviceId.size(); ++i)
            REQUIRE(deviceId[i] == (i < size ? data[i] : 0));
    } catch (const yat::Problem &problem) {
        REQUIRE(!isGood && *problem.what());
    }
    return 0;
}
