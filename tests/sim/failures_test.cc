// SPDX-License-Identifier: GPL-2.0-or-later
// What becomes of devices that fail: modules by their MTBF type, and adapters.
#include "scenario.h"

namespace {

class Failures : public Scenario {};
class Adapters : public Scenario {};

} // namespace

TEST_P(Failures, AreCountedWithTheirTimes)
{
    begin();
    steer("fail scsi1");
    pass(3600 * 30);
    steer("fail scsi1");
    pass(3600 * 40);
    steer("fail scsi1");
    const auto adapter = shown("scsi1");
    EXPECT_EQ(adapter["failures"], 3);
    EXPECT_EQ(adapter["failure_times"].size(), 3u);
    EXPECT_DOUBLE_EQ(adapter["mtbf_hours"].get<double>(), 35);
    EXPECT_EQ(clearMtbf("SCSI adapter 1"), 1);
    EXPECT_EQ(shown("scsi1")["failures"], 0);
    EXPECT_TRUE(shown("scsi1")["mtbf_hours"].is_null());
    EXPECT_EQ(shown("scsi2")["failures"], 0);
}

TEST_P(Failures, KeepAModuleOfTypeZeroDown)
{
    begin();
    EXPECT_EQ(setType("CPU module 2", "0"), 1);
    steer("fail cpu2");
    EXPECT_EQ(cpuState(2), "Broken");
    EXPECT_EQ(cpuState(1), "Running, simplex");
    pass(3600);
    EXPECT_EQ(cpuState(2), "Broken");
    EXPECT_FALSE(can("CPU module 2", 5));
    EXPECT_EQ(detail("CPU module 2", 5), YAT_DETAIL_STATE);
    EXPECT_EQ(start("CPU module 2"), 0);
}

TEST_P(Failures, AlwaysRestartAModuleOfTypeOne)
{
    begin();
    EXPECT_EQ(setType("CPU module 2", "1"), 1);
    for (int i = 0; i < 3; ++i) {
        steer("fail cpu2"); // minutes apart: far below the threshold
        EXPECT_EQ(cpuState(2), "Starting 0 %");
        EXPECT_EQ(cpuState(1), "Running, simplex");
        pass(10);
        EXPECT_EQ(clearMtbf("CPU module 2"), 1); // which a start does not mind
        EXPECT_EQ(cpuState(2), "Starting 50 %");
        pass(50);
        EXPECT_EQ(cpuState(2), "Running, duplex");
    }
}

TEST_P(Failures, RestartAModuleOfTypeTwoWhileItsMtbfIsAboveTheThreshold)
{
    begin(); // the threshold is 24 hours
    EXPECT_EQ(setType("PCI module 1", "2"), 1);
    steer("fail pci1"); // the first: there is no mean yet
    EXPECT_EQ(pciState(1), "Starting 0 %");
    pass(3600 * 40);
    EXPECT_EQ(pciState(1), "Running, duplex");
    steer("fail pci1"); // 40 hours
    EXPECT_EQ(pciState(1), "Starting 0 %");
    pass(3600 * 8);
    steer("fail pci1"); // (40 + 8) / 2 = 24 hours: not below it
    EXPECT_EQ(pciState(1), "Starting 0 %");
    pass(3600 * 8);
    steer("fail pci1"); // (40 + 8 + 8) / 3 hours
    EXPECT_EQ(pciState(1), "Broken");
    EXPECT_EQ(pciState(2), "Running, simplex");
    steer("set mtbf_threshold 1"); // it does not come back by itself
    pass(3600);
    EXPECT_EQ(pciState(1), "Broken");
}

TEST_P(Failures, LetABrokenModuleStartAgainWhenTheyAreCleared)
{
    begin("ALDER");
    EXPECT_EQ(cpuState(2), "Broken"); // as its description has it
    EXPECT_EQ(start("CPU module 2"), 0);
    EXPECT_TRUE(can("CPU module 2", 1));
    EXPECT_EQ(clearMtbf("CPU module 2"), 1);
    EXPECT_EQ(cpuState(2), "Stopped");
    EXPECT_EQ(shown("cpu2")["failures"], 0);
    EXPECT_EQ(start("CPU module 2"), 1);
    pass(45 + 90);
    EXPECT_EQ(cpuState(2), "Running, duplex");
    EXPECT_EQ(cpuState(1), "Running, duplex");
}

TEST_P(Failures, ClearedLetAModuleStartByItselfIfTheMachineIsSetSo)
{
    begin("CEDAR", "automatic_module_start = false", "automatic_module_start = true");
    setType("CPU module 1", "0");
    steer("fail cpu1");
    EXPECT_EQ(cpuState(1), "Broken");
    EXPECT_EQ(clearMtbf("CPU module 1"), 1);
    EXPECT_EQ(cpuState(1), "Starting 0 %");
}

TEST_P(Failures, OfAnAdapterLeaveItsModuleRunning)
{
    begin();
    steer("fail ethernet3 --permanent");
    EXPECT_EQ(shown("ethernet3")["state"], "broken");
    EXPECT_EQ(pciState(2), "Running, duplex");
    EXPECT_EQ(clearMtbf("Ethernet adapter 3"), 1);
    EXPECT_EQ(shown("ethernet3")["state"], "broken"); // it failed again at once
    EXPECT_EQ(shown("ethernet3")["failures"], 1);
    steer("repair ethernet3");
    EXPECT_EQ(shown("ethernet3")["state"], "duplex");
}

// The threshold is an hour here.
TEST_P(Adapters, ThatBrokeWorkAgainWhenTheirFailuresAreCleared)
{
    begin("CEDAR", "threshold = 24 ", "threshold = 1 ");
    for (const auto &[device, name] : std::map<std::string, std::string>{
             {"scsi1", "SCSI adapter 1"}, {"ethernet2", "Ethernet adapter 2"}}) {
        steer("fail " + device);
        EXPECT_EQ(shown(device)["state"], "duplex");
        pass(1800);
        steer("fail " + device);
        EXPECT_EQ(shown(device)["state"], "broken");
        EXPECT_EQ(shown(device)["failures"], 2);
        EXPECT_EQ(shown(device)["mtbf_hours"], 0.5);
        EXPECT_EQ(pciState(1), "Running, duplex");
        EXPECT_EQ(clearMtbf(name), 1);
        EXPECT_EQ(shown(device)["state"], "duplex");
        EXPECT_EQ(shown(device)["failures"], 0);
        EXPECT_TRUE(shown(device)["mtbf_hours"].is_null());
    }
}

TEST_P(Adapters, GoDownWithTheirModuleAndAreNotBrokenByThat)
{
    begin();
    EXPECT_EQ(setType("PCI module 1", "0"), 1);
    steer("fail ethernet1 --permanent");
    steer("fail pci1");
    EXPECT_EQ(pciState(1), "Broken");
    EXPECT_EQ(shown("scsi1")["state"], "stopped");
    EXPECT_EQ(shown("ethernet1")["state"], "broken");
    EXPECT_EQ(yatsim("fail scsi1").errors, "yatsim: fail scsi1: the device is not running\n");
    EXPECT_EQ(yatsim("repair scsi1").errors, "yatsim: repair scsi1: the device is not broken\n");
    steer("pull pci1");
    for (const char *device : {"scsi1", "ethernet1"})
        EXPECT_EQ(shown(device)["state"], "empty");
    steer("insert pci1");
    EXPECT_EQ(shown("scsi1")["state"], "stopped");
    EXPECT_EQ(shown("ethernet1")["state"], "broken");
}

PLAY_SCENARIOS(Failures);
PLAY_SCENARIOS(Adapters);
