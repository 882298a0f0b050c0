// SPDX-License-Identifier: GPL-2.0-or-later
// What an answer to Get Device ID is worth.
#include "hwinfo/bmc.h"
#include "support/problem.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace {

using Bytes = std::vector<uint8_t>;

hwinfo::Response filled(uint8_t byte)
{
    hwinfo::Response result;
    result.fill(byte);
    return result;
}

void expectTaken(const Bytes &bytes, const hwinfo::Response &wanted)
{
    EXPECT_EQ(hwinfo::interpret(bytes), wanted);
}

void expectRefused(const Bytes &bytes, const std::string &problem)
{
    EXPECT_EQ(problemOf([&] { hwinfo::interpret(bytes); }), problem);
}

} // namespace

TEST(Answer, IsTakenAsItIs)
{
    expectTaken({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15},
                {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15});
    expectTaken(Bytes{0, 0xFF, 0xFF, 0xFF, 0x9A, 0xFF}, {0, 0xFF, 0xFF, 0xFF, 0x9A, 0xFF});
}

TEST(Answer, ThatIsShortIsFilledWithZeros)
{
    expectTaken({0, 32, 1, 0x81, 0x25}, {0, 32, 1, 0x81, 0x25});
    expectTaken({0, 0, 0, 0, 0}, {});
    expectTaken({0, 32, 1, 1, 0x23, 2, 0xBF, 1, 2, 3, 4, 5},
                {0, 32, 1, 1, 0x23, 2, 0xBF, 1, 2, 3, 4, 5});
}

TEST(Answer, ThatIsLongIsCut)
{
    Bytes bytes(200, 7);
    bytes[0] = 0;
    hwinfo::Response wanted = filled(7);
    wanted[0] = 0;
    expectTaken(bytes, wanted);
}

TEST(Answer, OfFewerThanFiveBytesIsRefused)
{
    expectRefused({}, "the BMC's answer has 0 bytes, expected at least 5");
    expectRefused({0}, "the BMC's answer has 1 bytes, expected at least 5");
    expectRefused({0, 32}, "the BMC's answer has 2 bytes, expected at least 5");
    expectRefused({0, 32, 1, 4}, "the BMC's answer has 4 bytes, expected at least 5");
}

TEST(Answer, WithACompletionCodeIsRefused)
{
    expectRefused({0xC0}, "the BMC is busy (completion code C0, expected 00)");
    expectRefused({0xC1}, "the BMC does not know the command (completion code C1, expected 00)");
    expectRefused({0xC3}, "the BMC is silent, the driver gave up waiting for it (completion code "
                          "C3, expected 00)");
    expectRefused({0xD1}, "the BMC is updating its firmware (completion code D1, expected 00)");
    expectRefused({0xD2}, "the BMC is starting (completion code D2, expected 00)");
    expectRefused({0xD5}, "the BMC can't do that now (completion code D5, expected 00)");
    expectRefused({0xFF}, "the BMC reports an error (completion code FF, expected 00)");
    expectRefused({0x01}, "the BMC reports an error (completion code 01, expected 00)");
}

TEST(Answer, WithACompletionCodeIsRefusedAtAnyLength)
{
    const std::string problem = "the BMC is busy (completion code C0, expected 00)";
    expectRefused({0xC0, 32, 1, 1}, problem);
    expectRefused({0xC0, 32, 1, 1, 0x23}, problem);
    expectRefused(Bytes(16, 0xC0), problem);
}

RC_GTEST_PROP(Answer, IsTakenOrRefused, (Bytes bytes, bool good))
{
    if (good && !bytes.empty())
        bytes[0] = 0;
    hwinfo::Response deviceId{};
    const std::string problem = problemOf([&] { deviceId = hwinfo::interpret(bytes); });
    RC_ASSERT(problem.empty() == (bytes.size() >= 5 && bytes[0] == 0));
    for (size_t i = 0; problem.empty() && i < deviceId.size(); ++i)
        RC_ASSERT(deviceId[i] == (i < bytes.size() ? bytes[i] : 0));
}
