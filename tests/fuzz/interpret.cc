// The BMC's answer.
#include "fuzz.h"

#include "hwinfo/bmc.h"

#include <algorithm>
#include <vector>

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::vector<uint8_t> answer(data, data + size);
    hwinfo::DeviceId before;
    before.fill(0xEE);
    hwinfo::DeviceId deviceId = before;
    const std::string problem = hwinfo::interpret(answer, deviceId);
    const bool isGood = size >= 5 && data[0] == 0;
    REQUIRE(problem.empty() == isGood);
    if (!isGood) {
        REQUIRE(deviceId == before);
        return 0;
    }
    for (size_t i = 0; i < deviceId.size(); ++i)
        REQUIRE(deviceId[i] == (i < size ? data[i] : 0));
    return 0;
}
