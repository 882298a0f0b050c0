// SPDX-License-Identifier: GPL-2.0-or-later
// Where the BIOS of a CPU module comes from.
#include "scenario.h"

namespace {

class Firmware : public Scenario {};

} // namespace

TEST_P(Firmware, IsCopiedFromTheRunningModule)
{
    begin("ALDER", "\"clear MTBF\", \"bring up\", \"bring down\"]",
          "\"clear MTBF\", \"bring up\", \"bring down\", \"burn firmware\"]");
    clearMtbf("CPU module 2");
    EXPECT_EQ(biosVersion(2), "1.4.0017");
    EXPECT_TRUE(can("CPU module 2", 9));
    EXPECT_EQ(burn("CPU module 2", "FWCOPY"), 1);
    EXPECT_EQ(cpuState(2), "Updating BIOS 0 %");
    EXPECT_EQ(biosStatus(2), "Being updated 0 %");
    EXPECT_EQ(biosVersion(2), "1.4.0017");
    EXPECT_EQ(start("CPU module 2"), 0);
    EXPECT_EQ(burn("CPU module 2", "FWCOPY"), 0);
    pass(60);
    EXPECT_EQ(cpuState(2), "Updating BIOS 50 %");
    pass(60);
    EXPECT_EQ(cpuState(2), "Stopped");
    EXPECT_EQ(biosVersion(2), "1.4.0019");
    EXPECT_EQ(biosStatus(2), "Valid, copied from the running module");
    EXPECT_EQ(biosVersion(1), "1.4.0019");
}

TEST_P(Firmware, IsTakenFromTheDataFile)
{
    begin();
    stop("CPU module 1");
    pass(10);
    EXPECT_EQ(burn("CPU module 1", "FWBURN"), 1);
    pass(60);
    EXPECT_EQ(biosVersion(1), "4.1.0072");
    EXPECT_EQ(biosStatus(1), "Valid, updated from the data file");
    EXPECT_EQ(biosVersion(2), "4.1.0068");
}

TEST_P(Firmware, NeedsTheModuleStopped)
{
    begin();
    const std::string running = view();
    for (const char *mode : {"FWCOPY", "FWBURN"}) {
        EXPECT_FALSE(can("CPU module 2", 9));
        EXPECT_EQ(detail("CPU module 2", 9), YAT_DETAIL_STATE);
        EXPECT_EQ(burn("CPU module 2", mode), 0);
    }
    EXPECT_EQ(view(), running);
    stop("CPU module 2");
    EXPECT_EQ(burn("CPU module 2", "FWBURN"), 0); // not yet
    pass(10);
    EXPECT_EQ(burn("CPU module 2", "FWPASTE"), 0);
    EXPECT_EQ(burn("CPU module 2", "FWBURN"), 1);
}

TEST_P(Firmware, CanOnlyBeTakenWhereThereIsSome)
{
    begin();
    steer("fail cpu1 --permanent");
    steer("pull cpu2");
    steer("insert cpu2");
    pass(60);
    EXPECT_EQ(burn("CPU module 2", "FWCOPY"), 0); // from a module that does not run
    EXPECT_TRUE(can("CPU module 2", 9));
    steer("set data_file \"\"");
    EXPECT_FALSE(can("CPU module 2", 9));
    EXPECT_EQ(detail("CPU module 2", 9), YAT_DETAIL_NO_BIOS);
    EXPECT_EQ(burn("CPU module 2", "FWBURN"), 0);
    EXPECT_EQ(biosVersion(2), "4.1.0068");
}

TEST_P(Firmware, ThatIsInterruptedLeavesNoBios)
{
    begin("CEDAR", "automatic_firmware_update = true", "automatic_firmware_update = false");
    stop("CPU module 2");
    pass(10);
    burn("CPU module 2", "FWBURN");
    pass(30);
    steer("pull cpu2");
    steer("insert cpu2");
    EXPECT_EQ(biosStatus(2), "Invalid, an update was interrupted");
    EXPECT_FALSE(can("CPU module 2", 5));
    EXPECT_EQ(detail("CPU module 2", 5), YAT_DETAIL_NO_BIOS);
    EXPECT_EQ(start("CPU module 2"), 0);
    EXPECT_EQ(burn("CPU module 2", "FWCOPY"), 1);
    pass(60);
    EXPECT_EQ(start("CPU module 2"), 1);
}

TEST_P(Firmware, ThatIsCopiedIsInterruptedWithItsSource)
{
    begin();
    stop("CPU module 2");
    pass(10);
    burn("CPU module 2", "FWCOPY");
    pass(30);
    setType("CPU module 1", "0");
    steer("fail cpu1");
    EXPECT_EQ(cpuState(2), "Stopped");
    EXPECT_EQ(biosStatus(2), "Invalid, an update was interrupted");
}

TEST_P(Firmware, IsUpdatedAtTheStartIfTheMachineIsSetSo)
{
    begin(); // it is
    stop("CPU module 1");
    pass(10);
    burn("CPU module 1", "FWBURN");
    pass(60);
    start("CPU module 1");
    pass(60);
    EXPECT_EQ(cpuState(1), "Running, duplex"); // a newer BIOS is not taken back
    stop("CPU module 2");
    pass(10);
    EXPECT_EQ(biosVersion(2), "4.1.0068");
    EXPECT_EQ(start("CPU module 2"), 1);
    EXPECT_EQ(cpuState(2), "Updating BIOS 0 %");
    pass(60);
    EXPECT_EQ(cpuState(2), "Starting 0 %");
    EXPECT_EQ(biosVersion(2), "4.1.0072");
    EXPECT_EQ(biosStatus(2), "Valid, copied from the running module");
    pass(60);
    EXPECT_EQ(cpuState(2), "Running, duplex");
}

TEST_P(Firmware, IsLeftAloneAtTheStartIfTheMachineIsSetSo)
{
    begin();
    int off = 0;
    EXPECT_NE(PutBBDriverSettings(YAT_SETTING_AUTO_BURN, YAT_CLASS_GENERAL, 1, &off), 0);
    steer("set cpu1.bios_version 9");
    stop("CPU module 2");
    pass(10);
    EXPECT_EQ(start("CPU module 2"), 1);
    EXPECT_EQ(cpuState(2), "Starting 0 %");
    pass(60);
    EXPECT_EQ(biosVersion(2), "4.1.0068");
}

PLAY_SCENARIOS(Firmware);
