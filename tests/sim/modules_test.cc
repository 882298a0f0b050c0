// What the modules of a machine do: pairs, states, time, failures, firmware.
#include "scenario.h"


namespace {

class Modules : public Scenario {};
class Failures : public Scenario {};
class Firmware : public Scenario {};

const char automatic[] = "automatic_module_start = false";
const char automaticOn[] = "automatic_module_start = true";

std::string versionOf(int number)
{
    return property(YAT_KIND_CPU_MODULE, number, YAT_PROPERTY_BIOS_VERSION);
}

std::string statusOf(int number)
{
    return property(YAT_KIND_CPU_MODULE, number, YAT_PROPERTY_BIOS_STATUS);
}

} // namespace

// ---- Pairs and states

TEST_P(Modules, OfAPairAreStoppedOneAtATime)
{
    begin();
    EXPECT_EQ(cpuState(1), "Running, duplex");
    EXPECT_EQ(stop("CPU module 2"), 1);
    EXPECT_EQ(cpuState(1), "Running, simplex");
    EXPECT_EQ(cpuState(2), "Stopping 0 %");
    EXPECT_EQ(pciState(1), "Running, duplex"); // another pair
    EXPECT_EQ(stop("PCI module 1"), 1);
    EXPECT_EQ(pciState(2), "Running, simplex");
    pass(10);
    EXPECT_EQ(cpuState(2), "Stopped");
    EXPECT_EQ(pciState(1), "Stopped");
}

TEST_P(Modules, ThatRunLastCantBeStopped)
{
    begin();
    const std::pair<const char *, const char *> pairs[] = {{"CPU module 2", "CPU module 1"},
                                                           {"PCI module 2", "PCI module 1"}};
    for (const auto &[first, last] : pairs) {
        const int support = *first == 'C' ? 7 : 21;
        EXPECT_TRUE(can(first, support));
        EXPECT_TRUE(can(last, support));
        EXPECT_EQ(stop(first), 1);
        for (const double seconds : {0, 5, 60}) {
            pass(seconds);
            EXPECT_FALSE(can(last, support));
            EXPECT_EQ(detail(last, support), YAT_DETAIL_LAST_RUNNING);
            const std::string before = view();
            EXPECT_EQ(stop(last), 0);
            EXPECT_EQ(view(), before);
        }
        EXPECT_EQ(start(first), 1);
        pass(20);
        EXPECT_FALSE(can(last, support)); // the other one is not ready yet
        EXPECT_EQ(stop(last), 0);
        pass(40);
        EXPECT_TRUE(can(last, support));
        EXPECT_EQ(stop(last), 1);
    }
}

TEST_P(Modules, OfAMachineThatIsNotDuplexedCantBeStopped)
{
    begin("PLAIN");
    EXPECT_EQ(call_yat_is_ft(0), YAT_MACHINE_PLAIN);
    EXPECT_EQ(cpuState(1), "Running, simplex");
    EXPECT_EQ(stop("CPU module 1"), 0);
    EXPECT_EQ(cpuState(1), "Running, simplex");
}

TEST_P(Modules, StartInStepsThatTakeTime)
{
    begin();
    stop("CPU module 2");
    EXPECT_FALSE(can("CPU module 2", 5)); // it is not stopped yet
    pass(10);
    EXPECT_TRUE(can("CPU module 2", 5));
    EXPECT_EQ(start("CPU module 2"), 1);
    EXPECT_EQ(start("CPU module 2"), 0); // once is enough
    const std::pair<double, const char *> steps[] = {
        {0, "Starting 0 %"},       {5, "Starting 25 %"},       {14.9, "Starting 99 %"},
        {0.1, "Synchronising 0 %"}, {10, "Synchronising 25 %"}, {29.9, "Synchronising 99 %"},
        {0.1, "Running, duplex"},
    };
    for (const auto &[seconds, state] : steps) {
        pass(seconds);
        EXPECT_EQ(cpuState(2), state);
        EXPECT_EQ(cpuState(1), state == std::string("Running, duplex") ? state : "Running, simplex");
    }
}

TEST_P(Modules, StartByThemselvesToSimplexWhenNoneRuns)
{
    begin();
    steer("fail pci1 --permanent");
    steer("fail pci2 --permanent");
    pass(60); // both tried again, in vain
    EXPECT_EQ(pciState(1), "Broken");
    EXPECT_EQ(pciState(2), "Broken");
    steer("repair pci1");
    EXPECT_EQ(start("PCI module 1"), 1);
    pass(20);
    EXPECT_EQ(pciState(1), "Running, simplex");
}

TEST_P(Modules, AreStoppedOnTheirWayUp)
{
    begin();
    stop("CPU module 2");
    pass(10);
    for (const double seconds : {5, 30}) { // while it starts, while it synchronises
        start("CPU module 2");
        pass(seconds);
        EXPECT_TRUE(can("CPU module 2", 7));
        EXPECT_EQ(stop("CPU module 2"), 1);
        EXPECT_EQ(cpuState(2), "Stopping 0 %");
        EXPECT_EQ(cpuState(1), "Running, simplex");
        pass(10);
        EXPECT_EQ(cpuState(2), "Stopped");
    }
}

TEST_P(Modules, LoseWhatTheySynchroniseWithAndGoOnAlone)
{
    begin();
    stop("CPU module 2");
    pass(10);
    start("CPU module 2");
    pass(30);
    EXPECT_EQ(cpuState(2), "Synchronising 25 %");
    steer("pull cpu1");
    EXPECT_EQ(cpuState(1), "Not installed");
    EXPECT_EQ(cpuState(2), "Starting 0 %");
    pass(20);
    EXPECT_EQ(cpuState(2), "Running, simplex");
}

TEST_P(Modules, ArePulledAndInserted)
{
    begin();
    steer("pull cpu2");
    EXPECT_EQ(cpuState(2), "Not installed");
    EXPECT_EQ(cpuState(1), "Running, simplex");
    for (const int support : {1, 5, 7, 9, 13})
        EXPECT_EQ(detail("CPU module 2", support), YAT_DETAIL_NOT_INSTALLED);
    EXPECT_EQ(start("CPU module 2"), 0);
    EXPECT_EQ(versionOf(2), "(fails)");
    EXPECT_EQ(property(YAT_KIND_BOARD, 2, YAT_PROPERTY_MTBF_TYPE), "(fails)");
    steer("insert cpu2");
    EXPECT_EQ(cpuState(2), "Stopped");
    EXPECT_EQ(versionOf(2), "4.1.0068");
    EXPECT_EQ(start("CPU module 2"), 1);
    pass(60);
    EXPECT_EQ(cpuState(2), "Running, duplex");
}

TEST_P(Modules, CarryTheirAdaptersAlong)
{
    begin();
    EXPECT_EQ(shown("scsi1")["state"], "duplex");
    stop("PCI module 1");
    EXPECT_EQ(shown("scsi1")["state"], "stopping");
    EXPECT_EQ(shown("scsi1")["progress"], 0);
    EXPECT_EQ(shown("ethernet1")["module"], "pci1");
    EXPECT_EQ(shown("scsi2")["state"], "simplex");
    EXPECT_TRUE(can("SCSI adapter 1", 25));
    steer("pull pci1");
    EXPECT_EQ(shown("ethernet2")["state"], "empty");
    EXPECT_EQ(detail("Ethernet adapter 2", 31), YAT_DETAIL_NOT_INSTALLED);
    EXPECT_EQ(clearMtbf("Ethernet adapter 2"), 0);
    EXPECT_EQ(clearMtbf("Ethernet adapter 3"), 1);
}

TEST_P(Modules, TellTheirStatesInJapanese)
{
    prepare();
    sandbox->set("LC_ALL", "ja_JP.UTF-8");
    open();
    EXPECT_EQ(cpuState(1), "稼働中(二重化)");
    stop("CPU module 2");
    pass(5);
    EXPECT_EQ(cpuState(1), "稼働中(単独)");
    EXPECT_EQ(cpuState(2), "停止処理中 50%");
    pass(5);
    EXPECT_EQ(cpuState(2), "停止中");
    burn("CPU module 2", "FWBURN");
    EXPECT_EQ(cpuState(2), "BIOS更新中 0%");
    EXPECT_EQ(statusOf(2), "更新中 0%");
    pass(60);
    EXPECT_EQ(statusOf(2), "正常(データファイルから更新)");
    start("CPU module 2");
    pass(7);
    EXPECT_EQ(cpuState(2), "起動中 35%");
    pass(14);
    EXPECT_EQ(cpuState(2), "同期中 2%");
    steer("fail cpu2 --permanent");
    pass(20);
    EXPECT_EQ(cpuState(2), "故障");
    EXPECT_EQ(pciState(3), "未搭載");
}

TEST_P(Modules, StartWhenTheyAreInsertedIfTheMachineIsSetSo)
{
    begin("CEDAR", automatic, automaticOn);
    steer("pull pci2");
    steer("insert pci2");
    EXPECT_EQ(pciState(2), "Starting 0 %");
    pass(60);
    EXPECT_EQ(pciState(2), "Running, duplex");
    stop("PCI module 2"); // what was stopped on purpose stays so
    pass(3600);
    EXPECT_EQ(pciState(2), "Stopped");
}

// ---- Failures

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
        pass(60);
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
    begin("CEDAR", automatic, automaticOn);
    setType("CPU module 1", "0");
    steer("fail cpu1");
    EXPECT_EQ(cpuState(1), "Broken");
    EXPECT_EQ(clearMtbf("CPU module 1"), 1);
    EXPECT_EQ(cpuState(1), "Starting 0 %");
}

TEST_P(Failures, OfADefectiveModuleComeBackAtEachStart)
{
    begin();
    setType("CPU module 2", "0");
    steer("fail cpu2 --permanent");
    for (int i = 2; i < 4; ++i) {
        EXPECT_EQ(clearMtbf("CPU module 2"), 1);
        EXPECT_EQ(start("CPU module 2"), 1);
        pass(19.9);
        EXPECT_EQ(cpuState(2), "Starting 99 %");
        pass(0.1);
        EXPECT_EQ(cpuState(2), "Broken");
        EXPECT_EQ(shown("cpu2")["failures"], 1);
    }
    steer("repair cpu2");
    EXPECT_EQ(start("CPU module 2"), 1);
    pass(60);
    EXPECT_EQ(cpuState(2), "Running, duplex");
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

// ---- Firmware

TEST_P(Firmware, IsCopiedFromTheRunningModule)
{
    begin("ALDER", "\"clear MTBF\", \"bring up\", \"bring down\"]",
          "\"clear MTBF\", \"bring up\", \"bring down\", \"burn firmware\"]");
    clearMtbf("CPU module 2");
    EXPECT_EQ(versionOf(2), "1.4.0017");
    EXPECT_TRUE(can("CPU module 2", 9));
    EXPECT_EQ(burn("CPU module 2", "FWCOPY"), 1);
    EXPECT_EQ(cpuState(2), "Updating BIOS 0 %");
    EXPECT_EQ(statusOf(2), "Being updated 0 %");
    EXPECT_EQ(versionOf(2), "1.4.0017");
    EXPECT_EQ(start("CPU module 2"), 0);
    EXPECT_EQ(burn("CPU module 2", "FWCOPY"), 0);
    pass(60);
    EXPECT_EQ(cpuState(2), "Updating BIOS 50 %");
    pass(60);
    EXPECT_EQ(cpuState(2), "Stopped");
    EXPECT_EQ(versionOf(2), "1.4.0019");
    EXPECT_EQ(statusOf(2), "Valid, copied from the running module");
    EXPECT_EQ(versionOf(1), "1.4.0019");
}

TEST_P(Firmware, IsTakenFromTheDataFile)
{
    begin();
    stop("CPU module 1");
    pass(10);
    EXPECT_EQ(burn("CPU module 1", "FWBURN"), 1);
    pass(60);
    EXPECT_EQ(versionOf(1), "4.1.0072");
    EXPECT_EQ(statusOf(1), "Valid, updated from the data file");
    EXPECT_EQ(versionOf(2), "4.1.0068");
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
    EXPECT_EQ(versionOf(2), "4.1.0068");
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
    EXPECT_EQ(statusOf(2), "Invalid, an update was interrupted");
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
    EXPECT_EQ(statusOf(2), "Invalid, an update was interrupted");
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
    EXPECT_EQ(versionOf(2), "4.1.0068");
    EXPECT_EQ(start("CPU module 2"), 1);
    EXPECT_EQ(cpuState(2), "Updating BIOS 0 %");
    pass(60);
    EXPECT_EQ(cpuState(2), "Starting 0 %");
    EXPECT_EQ(versionOf(2), "4.1.0072");
    EXPECT_EQ(statusOf(2), "Valid, copied from the running module");
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
    EXPECT_EQ(versionOf(2), "4.1.0068");
}

PLAY_SCENARIOS(Modules);
PLAY_SCENARIOS(Failures);
PLAY_SCENARIOS(Firmware);
