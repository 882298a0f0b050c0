// SPDX-License-Identifier: GPL-2.0-or-later
// What the modules of a machine do: their pairs, their states, in the course of time.
#include "scenario.h"

namespace {

class Modules : public Scenario {};

} // namespace

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
        {0, "Starting 0 %"},        {5, "Starting 25 %"},       {14.9, "Starting 99 %"},
        {0.1, "Synchronising 0 %"}, {10, "Synchronising 25 %"}, {29.9, "Synchronising 99 %"},
        {0.1, "Running, duplex"},
    };
    for (const auto &[seconds, state] : steps) {
        pass(seconds);
        EXPECT_EQ(cpuState(2), state);
        EXPECT_EQ(cpuState(1),
                  state == std::string("Running, duplex") ? state : "Running, simplex");
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
    EXPECT_EQ(biosVersion(2), "(fails)");
    EXPECT_EQ(property(YAT_KIND_BOARD, 2, YAT_PROPERTY_MTBF_TYPE), "(fails)");
    steer("insert cpu2");
    EXPECT_EQ(cpuState(2), "Stopped");
    EXPECT_EQ(biosVersion(2), "4.1.0068");
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
    EXPECT_EQ(biosStatus(2), "更新中 0%");
    pass(60);
    EXPECT_EQ(biosStatus(2), "正常(データファイルから更新)");
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
    begin("CEDAR", "automatic_module_start = false", "automatic_module_start = true");
    steer("pull pci2");
    steer("insert pci2");
    EXPECT_EQ(pciState(2), "Starting 0 %");
    pass(60);
    EXPECT_EQ(pciState(2), "Running, duplex");
    stop("PCI module 2"); // what was stopped on purpose stays so
    pass(3600);
    EXPECT_EQ(pciState(2), "Stopped");
}

PLAY_SCENARIOS(Modules);
