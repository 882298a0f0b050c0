// SPDX-License-Identifier: GPL-2.0-or-later
// What a start is made of, and what becomes of one that fails.
#include "scenario.h"

namespace {

class Starts : public Scenario {
protected:
    // CPU module 2 is stopped and has an older BIOS than the one that runs.
    void stopWithOldBios()
    {
        begin();
        EXPECT_EQ(stop("CPU module 2"), 1);
        pass(10);
        steer("set cpu2.bios_version 4.0");
    }
};

} // namespace

TEST_P(Starts, ThatFailInTheirFirmwareUpdateBeginAnewByTheMtbfType)
{
    stopWithOldBios();
    EXPECT_EQ(setType("CPU module 2", "1"), 1);
    EXPECT_EQ(start("CPU module 2"), 1);
    pass(30);
    EXPECT_EQ(cpuState(2), "Updating BIOS 50 %");
    steer("fail cpu2");
    EXPECT_EQ(cpuState(2), "Updating BIOS 0 %");
    pass(60 + 20 + 40);
    EXPECT_EQ(cpuState(2), "Running, duplex");
    EXPECT_EQ(shown("cpu2")["failures"], 1);
}

TEST_P(Starts, ThatFailInTheirFirmwareUpdateStayDownByTheMtbfType)
{
    stopWithOldBios();
    EXPECT_EQ(setType("CPU module 2", "0"), 1);
    EXPECT_EQ(start("CPU module 2"), 1);
    steer("fail cpu2");
    EXPECT_EQ(cpuState(2), "Broken");
    EXPECT_EQ(biosStatus(2), "Invalid, an update was interrupted");
}

TEST_P(Starts, ThatFailBeginAnewByTheMtbfType)
{
    begin();
    for (const char *device : {"CPU module 2", "PCI module 2"}) {
        SCOPED_TRACE(device);
        const bool isCpu = *device == 'C';
        const std::string name = isCpu ? "cpu2" : "pci2";
        const auto state = [&] { return isCpu ? cpuState(2) : pciState(2); };
        EXPECT_EQ(setType(device, "1"), 1);
        EXPECT_EQ(stop(device), 1);
        pass(10);
        EXPECT_EQ(start(device), 1);
        pass(10);
        EXPECT_EQ(state(), "Starting 50 %");
        steer("fail " + name);
        EXPECT_EQ(state(), "Starting 0 %");
        pass(20 + 30);
        EXPECT_EQ(state(), "Synchronising 75 %");
        steer("fail " + name);
        EXPECT_EQ(state(), "Starting 0 %");
        EXPECT_EQ(setType(device, "0"), 1);
        steer("fail " + name);
        EXPECT_EQ(state(), "Broken");
        EXPECT_EQ(shown(name)["failures"], 3);
    }
}

// What has no valid BIOS does not start, whoever wants it to.
TEST_P(Starts, NeedAValidBios)
{
    stopWithOldBios();
    steer("set automatic_firmware_update off");
    steer("set automatic_module_start on");
    EXPECT_EQ(setType("CPU module 2", "1"), 1);
    EXPECT_EQ(burn("CPU module 2", "FWBURN"), 1);
    steer("fail cpu2");
    EXPECT_EQ(biosStatus(2), "Invalid, an update was interrupted");
    EXPECT_EQ(clearMtbf("CPU module 2"), 1); // it would start by itself
    EXPECT_EQ(cpuState(2), "Stopped");
    EXPECT_EQ(start("CPU module 2"), 0);
    EXPECT_EQ(detail("CPU module 2", 5), YAT_DETAIL_NO_BIOS);
    steer("pull cpu2");
    steer("insert cpu2");
    EXPECT_EQ(cpuState(2), "Stopped");
    // The start whose update fails, and whose BIOS nothing brings up to date any more.
    steer("set automatic_firmware_update on");
    EXPECT_EQ(start("CPU module 2"), 1);
    EXPECT_EQ(cpuState(2), "Updating BIOS 0 %");
    steer("set automatic_firmware_update off");
    steer("fail cpu2");
    EXPECT_EQ(cpuState(2), "Broken");
}

TEST_P(Starts, CompareVersionsByTheNumbersInThem)
{
    struct Case {
        const char *running, *starting;
        bool updates;
    };
    begin();
    for (const auto &[running, starting, updates] :
         {Case{"4.1.0100", "4.1.99", true}, Case{"4.1.0010", "4.1.009", true},
          Case{"4.1.5", "4.1.05", false}, Case{"4.1.99", "4.1.0100", false},
          Case{"4.10", "4.9", true}, Case{"4.9", "4.10", false}, Case{"4.1b", "4.1a", true},
          Case{"4.1", "4.1", false}, Case{"4.1.1", "4.1", true}, Case{"4.1", "4.1.0", false},
          Case{"5", "4.99999999999999999999999", true}, Case{"1.0", "1.00", false}}) {
        SCOPED_TRACE(std::string(running) + " " + starting);
        EXPECT_EQ(stop("CPU module 2"), 1);
        pass(10);
        steer(std::string("set cpu1.bios_version ") + running);
        steer(std::string("set cpu2.bios_version ") + starting);
        EXPECT_EQ(start("CPU module 2"), 1);
        EXPECT_EQ(cpuState(2), updates ? "Updating BIOS 0 %" : "Starting 0 %");
        pass(120);
        EXPECT_EQ(cpuState(2), "Running, duplex");
        EXPECT_EQ(biosVersion(2), updates ? running : starting);
    }
}

// An update for its own sake is no start.
TEST_P(Starts, DoNotFollowAFirmwareUpdateThatFailed)
{
    stopWithOldBios();
    EXPECT_EQ(setType("CPU module 2", "1"), 1);
    EXPECT_EQ(burn("CPU module 2", "FWBURN"), 1);
    steer("fail cpu2");
    EXPECT_EQ(cpuState(2), "Broken");
}

// The first start is that of the MTBF type, after the failure.
TEST_P(Starts, OfADefectiveModuleAreNotTriedAgain)
{
    begin("CEDAR", "threshold = 24 ", "threshold = 0 ");
    for (const char *type : {"1", "2"}) {
        SCOPED_TRACE(type);
        EXPECT_EQ(setType("CPU module 2", type), 1);
        steer("fail cpu2 --permanent");
        EXPECT_EQ(cpuState(2), "Starting 0 %");
        pass(20);
        EXPECT_EQ(cpuState(2), "Broken");
        EXPECT_EQ(shown("cpu2")["failures"], 2);
        pass(7 * 86400);
        EXPECT_EQ(cpuState(2), "Broken");
        EXPECT_EQ(shown("cpu2")["failures"], 2);
        steer("repair cpu2");
        EXPECT_EQ(clearMtbf("CPU module 2"), 1);
        EXPECT_EQ(start("CPU module 2"), 1);
        pass(60);
        EXPECT_EQ(cpuState(2), "Running, duplex");
    }
}

TEST_P(Starts, OfAModuleBreakItsDefectiveAdapters)
{
    begin("CEDAR", "path = [11, 1]\n", "path = [11, 1]\ndefective = true\n");
    EXPECT_EQ(shown("scsi2")["state"], "duplex");
    EXPECT_EQ(stop("PCI module 2"), 1);
    pass(10);
    EXPECT_EQ(start("PCI module 2"), 1);
    pass(19.9);
    EXPECT_EQ(shown("scsi2")["state"], "starting");
    EXPECT_EQ(shown("scsi2")["failures"], 0);
    pass(0.1);
    EXPECT_EQ(pciState(2), "Synchronising 0 %");
    EXPECT_EQ(shown("scsi2")["state"], "broken");
    EXPECT_EQ(shown("scsi2")["failures"], 1);
    EXPECT_EQ(shown("ethernet3")["state"], "synchronising"); // is whole
    pass(40);
    EXPECT_EQ(pciState(2), "Running, duplex");
    EXPECT_EQ(shown("scsi2")["failures"], 1);
    EXPECT_EQ(shown("scsi1")["state"], "duplex"); // on another module
    steer("repair scsi2");
    EXPECT_EQ(stop("PCI module 2"), 1);
    pass(10);
    EXPECT_EQ(start("PCI module 2"), 1);
    pass(60);
    EXPECT_EQ(shown("scsi2")["state"], "duplex");
}

TEST_P(Starts, TakeNoFirmwareFromAModuleWithoutAValidOne)
{
    begin("CEDAR", "path = [0]\n", "path = [0]\nbios_valid = false\n");
    EXPECT_EQ(biosStatus(1), "Invalid, an update was interrupted");
    EXPECT_EQ(stop("CPU module 2"), 1);
    pass(10);
    steer("set cpu2.bios_version 4.0");
    EXPECT_EQ(burn("CPU module 2", "FWCOPY"), 0);
    EXPECT_TRUE(can("CPU module 2", 9)); // there is the data file
    steer("set data_file \"\"");
    EXPECT_EQ(detail("CPU module 2", 9), YAT_DETAIL_NO_BIOS);
    EXPECT_EQ(start("CPU module 2"), 1);
    EXPECT_EQ(cpuState(2), "Starting 0 %"); // with what it has
}

PLAY_SCENARIOS(Starts);
