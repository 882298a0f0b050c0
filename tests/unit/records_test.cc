// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/recordtree.h"
#include "common/answers.h"
#include "common/records.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

std::string toString(const yat_device &device)
{
    std::string text = std::to_string(device.Hierarchy);
    if (device.identity)
        text += std::string(" ") + device.lpszTreeName + " "
                + std::to_string(device.identity->Instance);
    for (int i = 0; i < device.NextDevNum; ++i) {
        const yat_device &child = *device.children[i];
        EXPECT_EQ(child.parent, device.identity ? &device : nullptr);
        text += " (" + toString(child) + ")";
    }
    return text;
}

yat::DeviceRow row(int number, const char *name, int parent)
{
    return {.classCode = 2, .number = number, .path = {}, .name = name, .parent = parent};
}

} // namespace

TEST(Records, AreATreeUntilItIsGivenBack)
{
    yat_device *none = yat::makeRecords({});
    yat_device *some = yat::makeRecords({row(1, "CPU", -1), row(2, "PCI", -1), row(3, "SCSI", 1),
                                         row(4, "disk", 2), row(5, "LAN", 1)});
    EXPECT_EQ(toString(*none), "0");
    EXPECT_EQ(toString(*some), "0 (1 CPU 1) (1 PCI 2 (2 SCSI 3 (3 disk 4)) (2 LAN 5))");
    EXPECT_EQ(some->parent, nullptr);
    yat_device foreign{};
    for (yat_device *other : {&foreign, some->children[0]}) {
        EXPECT_EQ(yat::freeTree(&other), 0);
        EXPECT_NE(other, nullptr);
    }
    EXPECT_EQ(yat::freeTree(&none), 1);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(toString(*some), "0 (1 CPU 1) (1 PCI 2 (2 SCSI 3 (3 disk 4)) (2 LAN 5))");
    EXPECT_EQ(yat::freeTree(&some), 1);
    EXPECT_EQ(yat::freeTree(&some), 0);
}

TEST(Records, ComeToAnEndAfterSoManyLevelsAndVisits)
{
    // Levels below the root, and how often each record stands below the one above it.
    for (const auto &[levels, times, haveIt] : {std::tuple{1u, 1u, true},
                                                {64u, 1u, true},
                                                {65u, 1u, false},
                                                {1u, 1'000'000u, true},
                                                {1u, 1'000'001u, false},
                                                {64u, 2u, false}}) {
        std::vector<yat_device> records(levels + 1);
        std::vector<std::vector<yat_device *>> below;
        for (size_t i = 1; i <= levels; ++i)
            below.emplace_back(times, &records[i]);
        for (size_t i = 0; i < levels; ++i) {
            records[i].NextDevNum = static_cast<int>(times);
            records[i].children = below[i].data();
        }
        ASSERT_EQ(haveEnd(&records[0]), haveIt) << levels << ", " << times;
        records[0].NextDevNum = 1;
        records[levels].NextDevNum = 1; // without an array
        records[1].NextDevNum = -1;
        EXPECT_TRUE(haveEnd(&records[0]));
    }
    EXPECT_TRUE(haveEnd(nullptr));
}

// As the structure grows at its end, a caller's may be an older one or a newer one.
TEST(Facts, AreNoMoreThanTheirReceiverHasRoomFor)
{
    yat_facts told{};
    told.size = 1;
    told.bios = YAT_BIOS_INVALID;
    yat_facts facts[2];
    const auto filled = [&](size_t size) {
        memset(facts, 0x5A, sizeof facts);
        facts[0].size = static_cast<uint32_t>(size);
        yat::putFacts(told, facts);
        EXPECT_EQ(facts[0].size, size);
        return facts[0].bios;
    };
    EXPECT_EQ(filled(sizeof told - sizeof told.bios), 0x5A5A5A5A);
    EXPECT_EQ(filled(sizeof told), YAT_BIOS_INVALID);
    EXPECT_EQ(filled(2 * sizeof told), YAT_BIOS_INVALID);
    EXPECT_EQ(facts[1].size, 0x5A5A5A5Au);
}
