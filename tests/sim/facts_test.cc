// SPDX-License-Identifier: GPL-2.0-or-later
// The facts about devices, and why an operation is not supported, as the calls of yat/facts.h tell
// them.
#include "scenario.h"
#include "yat/facts.h"

#include <cstring>

namespace {

class Facts : public Scenario {
protected:
    yat_facts facts(const std::string &device)
    {
        yat_facts told{};
        told.size = sizeof told;
        EXPECT_EQ(GetDeviceFacts(record(device), &told), 1);
        return told;
    }

    // Why the machine does not support an operation; "" when it does not tell.
    std::string reason(const std::string &device, int support)
    {
        char text[1024] = "";
        GetSupportReason(record(device), support, detail(device, support), text);
        return text;
    }

    bool knows(const std::string &device, uint32_t fact)
    {
        return (facts(device).known & fact) == fact;
    }
};

} // namespace

TEST_P(Facts, TellWhatADeviceDoes)
{
    begin();
    yat_facts cpu = facts("CPU module 1");
    EXPECT_EQ(cpu.size, sizeof cpu);
    EXPECT_EQ(cpu.state, YAT_DEVICE_RUNNING);
    EXPECT_EQ(cpu.duplex, 1);
    EXPECT_EQ(cpu.partner, 2);
    EXPECT_FALSE(knows("CPU module 1", YAT_KNOWS_PROGRESS));

    EXPECT_EQ(stop("CPU module 1"), 1);
    pass(5);
    cpu = facts("CPU module 1");
    EXPECT_EQ(cpu.state, YAT_DEVICE_STOPPING);
    EXPECT_TRUE(knows("CPU module 1", YAT_KNOWS_PROGRESS));
    EXPECT_EQ(cpu.progress, 50);
    EXPECT_EQ(facts("CPU module 2").state, YAT_DEVICE_RUNNING);
    EXPECT_EQ(facts("CPU module 2").duplex, 0);
    pass(5);
    EXPECT_EQ(facts("CPU module 1").state, YAT_DEVICE_STOPPED);
    EXPECT_EQ(start("CPU module 1"), 1);
    EXPECT_EQ(facts("CPU module 1").state, YAT_DEVICE_STARTING);
    pass(20);
    EXPECT_EQ(facts("CPU module 1").state, YAT_DEVICE_SYNCHRONISING);

    steer("set pci1.mtbf_type 0");
    steer("fail pci1");
    EXPECT_EQ(facts("PCI module 1").state, YAT_DEVICE_BROKEN);
    EXPECT_EQ(facts("SCSI adapter 1").state, YAT_DEVICE_STOPPED);
    steer("pull pci1");
    EXPECT_EQ(facts("PCI module 1").state, YAT_DEVICE_NOT_INSTALLED);
    EXPECT_EQ(facts("Service slot").partner, 0);
    EXPECT_TRUE(knows("Service slot", YAT_KNOWS_PARTNER));
    EXPECT_FALSE(knows("SCSI adapter 1", YAT_KNOWS_PARTNER));

    leave();
    begin("BIRCH"); // where it is below the SCSI adapter
    steer("pull pci1");
    EXPECT_EQ(facts("Ethernet adapter 1").state, YAT_DEVICE_NOT_INSTALLED);
}

TEST_P(Facts, TellFailuresAndTheMeanTimeBetweenThem)
{
    begin();
    EXPECT_EQ(facts("Ethernet adapter 1").failures, 0);
    EXPECT_FALSE(knows("Ethernet adapter 1", YAT_KNOWS_MTBF));
    steer("fail eth1");
    pass(90000); // more than a day
    EXPECT_FALSE(knows("Ethernet adapter 1", YAT_KNOWS_MTBF));
    steer("fail eth1");
    const yat_facts told = facts("Ethernet adapter 1");
    EXPECT_TRUE(knows("Ethernet adapter 1", YAT_KNOWS_MTBF | YAT_KNOWS_MTBF_THRESHOLD));
    EXPECT_EQ(told.failures, 2);
    EXPECT_EQ(told.mtbf, 90000);
    EXPECT_EQ(told.mtbf_threshold, 24 * 3600);
    EXPECT_EQ(clearMtbf("Ethernet adapter 1"), 1);
    EXPECT_EQ(facts("Ethernet adapter 1").failures, 0);
}

TEST_P(Facts, TellTheMtbfTypeWhereTheMachineHasIt)
{
    begin("ALDER");
    EXPECT_FALSE(knows("CPU module 1", YAT_KNOWS_MTBF_TYPE));
    leave();
    begin("CEDAR");
    steer("set pci2.mtbf_type 0");
    EXPECT_TRUE(knows("PCI module 2", YAT_KNOWS_MTBF_TYPE));
    EXPECT_EQ(facts("PCI module 2").mtbf_type, 0);
    EXPECT_EQ(facts("CPU module 1").mtbf_type, 2);
    EXPECT_FALSE(knows("Ethernet adapter 1", YAT_KNOWS_MTBF_TYPE));
}

TEST_P(Facts, TellWhatTheBiosIsGoodFor)
{
    begin();
    EXPECT_EQ(facts("CPU module 1").bios, YAT_BIOS_VALID);
    EXPECT_FALSE(knows("PCI module 1", YAT_KNOWS_BIOS));
    EXPECT_EQ(stop("CPU module 1"), 1);
    pass(10);
    EXPECT_EQ(burn("CPU module 1", "FWBURN"), 1);
    EXPECT_EQ(facts("CPU module 1").bios, YAT_BIOS_UPDATING);
    EXPECT_EQ(facts("CPU module 1").state, YAT_DEVICE_UPDATING);
    steer("pull cpu1");
    EXPECT_FALSE(knows("CPU module 1", YAT_KNOWS_BIOS));
    steer("insert cpu1");
    EXPECT_EQ(facts("CPU module 1").bios, YAT_BIOS_INVALID);
}

TEST_P(Facts, GoToProgramsWithALargerOrASmallerStructure)
{
    begin();
    struct Larger {
        yat_facts facts;
        char more[8];
    } larger{};
    larger.facts.size = sizeof larger;
    memcpy(larger.more, "nothing", 8);
    EXPECT_EQ(GetDeviceFacts(record("CPU module 1"), &larger.facts), 1);
    EXPECT_EQ(larger.facts.size, sizeof larger);
    EXPECT_EQ(larger.facts.partner, 2);
    EXPECT_STREQ(larger.more, "nothing");
    larger.facts = {};
    larger.facts.size = sizeof larger.facts - 1;
    EXPECT_EQ(GetDeviceFacts(record("CPU module 1"), &larger.facts), 0);
    EXPECT_EQ(larger.facts.known, 0u);
}

TEST_P(Facts, AreNotToldOfADeviceThatDoesNotExist)
{
    begin();
    yat_identity nobody = {.Instance = 9, .ClassCode = YAT_CLASS_CPU_MODULE, .DevicePathID = {}};
    yat_device stranger{};
    yat_facts told{};
    told.size = sizeof told;
    EXPECT_EQ(GetDeviceFacts(&stranger, &told), 0);
    stranger.identity = &nobody;
    EXPECT_EQ(GetDeviceFacts(&stranger, &told), 0);
    EXPECT_EQ(told.known, 0u);
    inject("GetDeviceFacts", "0");
    EXPECT_EQ(GetDeviceFacts(record("CPU module 1"), &told), 0);
    EXPECT_EQ(told.known, 0u);
}

TEST_P(Facts, SayWhyAnOperationIsNotSupported)
{
    begin();
    EXPECT_EQ(reason("CPU module 1", 5), "the module is not stopped");
    EXPECT_EQ(reason("CPU module 1", 7), ""); // it is supported
    EXPECT_EQ(stop("CPU module 2"), 1);
    EXPECT_EQ(reason("CPU module 2", 5), "the module is not stopped"); // but stopping
    EXPECT_EQ(reason("CPU module 1", 7), "the module is the only one of its pair that is running");
    char text[1024] = "untouched";
    EXPECT_EQ(GetSupportReason(record("CPU module 1"), 5, YAT_DETAIL_LAST_RUNNING, text), 0);
    EXPECT_STREQ(text, "untouched"); // the machine has another reason
    steer("inject GetSupportReason 1 --text because");
    EXPECT_EQ(GetSupportReason(record("CPU module 1"), 5, 99, text), 1);
    EXPECT_STREQ(text, "because");
}

TEST_P(Facts, SayWhyInJapanese)
{
    prepare();
    sandbox->set("LC_ALL", "ja_JP.UTF-8");
    open();
    EXPECT_EQ(reason("CPU module 1", 5), "モジュールが停止していません");
}

PLAY_SCENARIOS(Facts);
