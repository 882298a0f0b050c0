// SPDX-License-Identifier: GPL-2.0-or-later
// What is shown of a server: whatever it has and whatever it lacks.
#include "host/names.h"
#include "kernel.h"
#include "looked.h"

#include <nlohmann/json.hpp>
#include <sys/stat.h>

using Lines = std::vector<std::string>;

class Looks : public Looked {};

TEST_F(Looks, OneProcessorAndNothingElse)
{
    server.addProcessor(0, 0, false);
    EXPECT_EQ(tree(), (Lines{"2 1 0.0.0.0.0.0.0.0 CPU module 1"}));
    EXPECT_EQ(CALL(call_yat_is_ft)(0), YAT_MACHINE_ALDER);
    EXPECT_EQ(cpu(1), "1 of 1 running");
    EXPECT_EQ(cpu(2), "(unreadable)");
    EXPECT_EQ(pci(1), "(unreadable)");
    EXPECT_EQ(property(1, YAT_PROPERTY_BIOS_VERSION), "(unreadable)"); // no DMI
    EXPECT_EQ(property(1, YAT_PROPERTY_BIOS_STATUS), "In use");
}

TEST_F(Looks, NoProcessorIsNoServer)
{
    EXPECT_EQ(tree(), (Lines{"(unreadable)"}));
    EXPECT_NE(trace().find("no processors are listed"), std::string::npos) << trace();
}

TEST_F(Looks, PackagesAreInTheOrderOfTheirNumbers)
{
    for (int number = 0; number < 16; ++number)
        server.addProcessor(number, 7 - number % 8, number != 7);
    const Lines lines = tree();
    ASSERT_EQ(lines.size(), 8u);
    EXPECT_EQ(lines[0], "2 1 0.0.0.0.0.0.0.0 CPU module 1");
    EXPECT_EQ(lines[7], "2 8 7.0.0.0.0.0.0.0 CPU module 8");
    EXPECT_EQ(cpu(8), "2 of 2 running");
    server.setOnline(8, 7, false);
    EXPECT_EQ(cpu(8), "1 of 2 running");
}

// Asked one by one, one that is on its way would keep the reader waiting.
TEST_F(Looks, ProcessorsOnlineAreThoseThatTheKernelTellsTogether)
{
    const std::string all = "/sys/devices/system/cpu/online";
    for (int number = 0; number < 12; ++number)
        server.addProcessor(number, 0);
    tree();
    server.setOnline(3, 0, false);
    server.write(all, "0-2,4,9-11\n");
    EXPECT_EQ(cpu(1), "7 of 12 running");
    server.write(all, "3\n");
    EXPECT_EQ(cpu(1), "1 of 12 running");
    for (const char *odd : {"", "\n", "0-", "-3", "0,", "0-2x", "2-1", "0-4294967296", "0-65536"}) {
        server.write(all, odd);
        EXPECT_EQ(cpu(1), "11 of 12 running") << odd; // by the files of each
    }
}

// Some machines number them by where they are.
TEST_F(Looks, LargeNumbersOfPackagesAreNotMistakenForOthers)
{
    const int numbers[] = {36, 255, 292, 16777216};
    for (int i = 0; i < 4; ++i)
        server.addProcessor(i, numbers[i]);
    server.setOnline(1, 255, false);
    server.addProcessor(4, 0);
    server.setOnline(4, 0, false);
    EXPECT_EQ(
        tree(),
        (Lines{"2 1 36.0.0.0.0.0.0.0 CPU module 1", "2 2 36.1.0.0.0.0.0.0 CPU module 2",
               "2 3 0.0.0.1.0.0.0.0 CPU module 3", "2 4 255.255.255.255.0.0.0.0 CPU module 4"}));
    server.setOnline(1, 255, true);
    EXPECT_EQ(tree().at(1), "2 2 255.0.0.0.0.0.0.0 CPU module 2");
    server.setOnline(2, 292, false);
    EXPECT_EQ(cpu(1) + ", " + cpu(3), "1 of 1 running, Stopped");
}

TEST_F(Looks, OnlyPackageMayHaveNoNumber)
{
    for (int number = 0; number < 2; ++number)
        server.addProcessor(number, -1);
    EXPECT_EQ(tree(), (Lines{"2 1 0.0.0.0.0.0.0.0 CPU module 1"}));
    EXPECT_EQ(cpu(1), "2 of 2 running");
}

TEST_F(Looks, NumberThatIsNoneIsNoPackage)
{
    server.addProcessor(0, 0);
    const char *odd[] = {"", "x", "1x", "-2", " ", "\xff\xfe", "2147483648"};
    for (int number = 1; number <= 7; ++number) {
        server.addProcessor(number, 0);
        server.write("/sys/devices/system/cpu/cpu" + std::to_string(number)
                         + "/topology/physical_package_id",
                     std::string(odd[number - 1]) + "\n");
    }
    EXPECT_EQ(tree().size(), 2u);
    EXPECT_EQ(cpu(1), "1 of 1 running");
    EXPECT_EQ(cpu(2), "7 of 7 running");
    EXPECT_EQ(nlohmann::json::parse(readFile(state.path / "host.json")).at("packages").dump(),
              R"({"0":0})");
}

TEST_F(Looks, ProcessorsOfAStoppedPackageAreRemembered)
{
    server.addProcessor(0, 0, false);
    server.addProcessor(1, 1);
    EXPECT_EQ(tree().size(), 2u);
    server.setOnline(1, 1, false);
    EXPECT_EQ(cpu(2), "Stopped");
    CALL(ft_FunctionRelease)();
    ASSERT_EQ(CALL(ft_FunctionInit)(), 1); // as another program that looks later
    EXPECT_EQ(tree().at(1), "2 2 1.0.0.0.0.0.0.0 CPU module 2");
    EXPECT_EQ(cpu(2), "Stopped");
}

TEST_F(Looks, ProcessorsThatWereNeverOnlineAreAModule)
{
    server.addProcessor(0, 0, false);
    server.addProcessor(1, 1);
    server.setOnline(1, 1, false);
    EXPECT_EQ(tree(), (Lines{"2 1 0.0.0.0.0.0.0.0 CPU module 1",
                             "2 2 255.255.255.255.0.0.0.0 CPU module 2"}));
    EXPECT_EQ(cpu(2), "Stopped");
    server.setOnline(1, 1, true);
    EXPECT_EQ(tree().at(1), "2 2 1.0.0.0.0.0.0.0 CPU module 2");
}

// With nosmt at boot, nothing tells their package, and nobody can start them.
TEST_F(Looks, SiblingsThatAreOffAreNoModule)
{
    server.addProcessor(0, 0, false);
    server.addProcessor(1, 1);
    server.setOnline(1, 1, false);
    for (const char *setting : {"off\n", "forceoff\n"}) {
        server.write("/sys/devices/system/cpu/smt/control", setting);
        EXPECT_EQ(tree().size(), 1u);
    }
    EXPECT_EQ(cpu(1), "1 of 1 running");
    server.write("/sys/devices/system/cpu/smt/control", "on\n");
    EXPECT_EQ(tree().size(), 2u);
}

TEST_F(Looks, ErrorsOfMemoryAndMachineChecksAreCounted)
{
    for (int number = 0; number < 4; ++number)
        server.addProcessor(number, number / 2);
    server.write("/proc/interrupts", "       CPU0 C CPU2 CPU3\n\nMCE:  2 1\n");
    EXPECT_EQ(cpu(1) + "; " + cpu(2), "2 of 2 running,\nCE 0, UE 2; 2 of 2 running");
    server.write("/proc/interrupts", "       CPU0 CPU1 CPU2 CPU3\n"
                                     " 0:  90 0 0 0 timer\n"
                                     "THR:  0 2 3 4 Threshold APIC interrupts\n"
                                     "MCE:  1 1 0 5 Machine check exceptions\n");
    EXPECT_EQ(cpu(1), "2 of 2 running,\nCE 2, UE 1");
    EXPECT_EQ(cpu(2), "2 of 2 running,\nCE 7, UE 5");

    const std::string controllers = "/sys/devices/system/edac/mc/mc";
    for (const char *number : {"0", "1"}) {
        server.write(controllers + number + "/ce_count", "10\n");
        server.write(controllers + number + "/ue_count", "20\n");
        server.write(controllers + number + "/device/numa_node", std::string(number) + "\n");
    }
    server.write(controllers + "2/ue_count", "3\n");
    for (const char *number : {"2", "3"})
        server.write(controllers + number + "/device/numa_node", "1\n");
    server.write("/sys/devices/system/node/node1/compact", "");
    server.link("/sys/devices/system/node/node1/cpu2", "/sys/devices/system/cpu/cpu2");
    EXPECT_EQ(cpu(1), "2 of 2 running,\nCE 2, UE 1"); // whose mc0 is, nobody tells
    EXPECT_EQ(cpu(2), "2 of 2 running,\nCE 10, UE 28");
}

TEST_F(Looks, BiosIsThatOfDmi)
{
    server.addProcessor(0, 0);
    server.write("/sys/class/dmi/id/bios_vendor", "Maker\n");
    server.write("/sys/class/dmi/id/bios_date", "01/02/2026\n");
    EXPECT_EQ(property(1, YAT_PROPERTY_BIOS_VERSION), "Maker 01/02/2026");
    server.write("/sys/class/dmi/id/bios_version", "1.2.3 \n");
    EXPECT_EQ(property(1, YAT_PROPERTY_BIOS_VERSION), "Maker 1.2.3 01/02/2026");
}

TEST_F(Looks, AdaptersAreBelowTheirSlots)
{
    server.addProcessor(0, 0);
    const std::string port = server.addFunction("0000:00:1c.0", bridge, "pcieport");
    server.addFunction("0000:00:1f.2", "10601", "ahci");
    const std::string card = server.addFunction("0000:01:00.0", ethernet, "e1000e", port);
    server.addFunction("0000:01:00.1", display, "", port);
    server.addInterface(card, "ens3");
    server.addSlot("12", "0000:01:00", true, true);
    server.addSlot("2", "0000:05:00", false, true);
    server.addSlot("3", "0000:06:00", true, false);
    EXPECT_EQ(
        tree(),
        (Lines{"2 1 0.0.0.0.0.0.0.0 CPU module 1", "3 1 2.5.0.0.0.0.0.0 PCI module 1 (slot 2)",
               "3 2 3.6.0.0.0.0.0.0 PCI module 2 (slot 3)",
               "3 3 12.1.0.0.0.0.0.0 PCI module 3 (slot 12)",
               "  13 1 12.1.0.0.0.0.0.0 Ethernet adapter 1 (ens3, 82574L Gigabit Network Conne)",
               "3 4 255.0.0.0.0.0.0.0 PCI module 4 (not in a slot)",
               "  8 1 255.0.31.2.0.0.0.0 SCSI adapter 1 (82574L Gigabit Network Conne)"}));
    const auto expectStates = [&] {
        EXPECT_EQ(pci(1) + ", " + pci(2) + ", " + pci(3) + ", " + pci(4),
                  "Stopped, Not installed, Running, Running");
        for (int number = 0; const int told : {YAT_DEVICE_STOPPED, YAT_DEVICE_NOT_INSTALLED,
                                               YAT_DEVICE_RUNNING, YAT_DEVICE_RUNNING})
            EXPECT_EQ(facts(YAT_CLASS_PCI_MODULE, ++number).state, told);
    };
    expectStates();
    for (const std::string slot : {"2", "3"}) // which tell no more whether a card is there
        server.remove("/sys/bus/pci/slots/" + slot + "/adapter");
    expectStates();
}

TEST_F(Looks, WhatThereIsNotIsNotTold)
{
    server.addProcessor(0, 0);
    const auto get =
        static_cast<const yat_ft_functions *>(dlsym(library, "yat_ft_func"))->yat_ft_get_property;
    char text[8] = "as was";
    unsigned long small = 3, size = sizeof text;
    for (const auto &[buffer, length] :
         {std::pair{text, &small}, {nullptr, &size}, {text, nullptr}})
        EXPECT_EQ(get(YAT_KIND_CPU_MODULE, 1, YAT_PROPERTY_BIOS_STATUS, buffer, length), -1);
    for (const auto &[kind, code] : {std::pair{YAT_KIND_CPU_MODULE, YAT_STATE_PCI_MODULE},
                                     {YAT_KIND_PCI_MODULE, YAT_STATE_CPU_MODULE},
                                     {YAT_KIND_BOARD, YAT_STATE_CPU_MODULE}})
        EXPECT_EQ(CALL(StatusChange)(kind, 1, code, text), -1);
    EXPECT_STREQ(text, "as was");
    yat_device stranger{};
    yat_facts told = facts(YAT_CLASS_CPU_MODULE, 1);
    EXPECT_EQ(CALL(GetDeviceFacts)(&stranger, &told), 0);
}

TEST_F(Looks, SlotWithoutASwitchIsNone)
{
    server.addProcessor(0, 0);
    server.addFunction("0000:01:00.0", ethernet);
    server.addSlot("1", "0000:01:00", true, true);
    server.addSlot("2", "0000:02:00", true, false);
    server.remove("/sys/bus/pci/slots/1/power");
    server.addSlot("3", "0000:03:00", true, false);
    server.remove("/sys/bus/pci/slots/3/address");
    const Lines lines = tree();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[1], "3 1 2.2.0.0.0.0.0.0 PCI module 1 (slot 2)");
    EXPECT_EQ(lines[2], "3 2 255.0.0.0.0.0.0.0 PCI module 2 (not in a slot)");
    EXPECT_EQ(lines[3].substr(0, 26), "  13 1 255.1.0.0.0.0.0.0 E");
}

TEST_F(Looks, FunctionsAreInTheOrderOfTheirAddresses)
{
    server.addProcessor(0, 0);
    const std::string port = server.addFunction("0000:00:01.0", bridge);
    server.addFunction("0000:03:00.0", nvme, "", port, "1AF4:1001"); // by its path the first one
    server.addFunction("0000:00:02.0", nvme, "", "", "FFF0:1");
    const Lines lines = tree();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[2], "  8 1 255.0.2.0.0.0.0.0 SCSI adapter 1 (0000:00:02.0)"); // of nobody
    EXPECT_EQ(lines[3], "  8 2 255.3.0.0.0.0.0.0 SCSI adapter 2 (Virtio block device)");
}

TEST_F(Looks, SlotsBelowSlotsAndVirtualFunctionsHaveTheirPlaces)
{
    server.addProcessor(0, 0);
    const std::string outer = server.addFunction("0000:01:00.0", bridge),
                      inner = server.addFunction("0000:02:00.0", nvme, "nvme", outer),
                      physical = server.addFunction("0000:01:00.1", ethernet, "igb"),
                      virtualOne = server.addFunction("0000:01:10.1", ethernet, "igbvf");
    server.link(virtualOne + "/physfn", physical);
    server.addSlot("1", "0000:01:00", true, true);
    server.addSlot("1-1", "0000:02", true, true); // a bus of its own
    const Lines lines = tree();
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_EQ(lines[2].substr(0, 30), "  13 1 1.1.0.1.0.0.0.0 Etherne");
    EXPECT_EQ(lines[3].substr(0, 30), "  13 2 1.1.16.1.0.0.0.0 Ethern");
    EXPECT_EQ(lines[4], "3 2 1.2.0.0.0.0.0.0 PCI module 2 (slot 1-1)");
    EXPECT_EQ(lines[5].substr(0, 30), "  8 1 1.2.0.0.0.0.0.0 SCSI ada");
}

TEST_F(Looks, ErrorsOfFunctionsAreCountedForTheirModule)
{
    server.addProcessor(0, 0);
    const std::string one = server.addFunction("0000:01:00.0", ethernet);
    const std::string other = server.addFunction("0000:01:00.1", nvme);
    server.addSlot("1", "0000:01:00", true, true);
    tree();
    EXPECT_EQ(pci(1), "Running"); // nobody counts
    server.write(one + "/aer_dev_correctable", "RxErr 3\nBadTLP 1\nTOTAL_ERR_COR 4\n");
    server.write(one + "/aer_dev_nonfatal", "Undefined 0\nTOTAL_ERR_NONFATAL 2\n");
    server.write(other + "/aer_dev_fatal", "TOTAL_ERR_FATAL 1\n");
    EXPECT_EQ(pci(1), "Running,\nCE 4, UE 3");
}

TEST_F(Looks, OneAnswersForAllDevicesOnceEach)
{
    server.addProcessor(0, 0);
    std::string card;
    for (int number = 10; number < 40; ++number) {
        const std::string address = "0000:" + std::to_string(number) + ":00";
        card = server.addFunction(address + ".0", ethernet);
        server.addSlot(std::to_string(number), address, true, true);
    }
    const auto failures = [&](int number) { return facts(YAT_CLASS_PCI_MODULE, number).failures; };
    record(YAT_CLASS_PCI_MODULE, 1);
    const int before = kernel.looksAtFunctions;
    for (int number = 1; number <= 30; ++number) {
        failures(number);
        EXPECT_EQ(pci(number), "Running");
    }
    EXPECT_LE(kernel.looksAtFunctions - before, 20); // of 60 questions, if the machine is slow
    server.write(card + "/aer_dev_fatal", "TOTAL_ERR_FATAL 1\n");
    EXPECT_EQ(failures(30), 1); // asked again, it is as it is now
    EXPECT_EQ(pci(30), "Running,\nCE 0, UE 1");
    server.write(card + "/aer_dev_fatal", "TOTAL_ERR_FATAL 2\n");
    EXPECT_EQ(pci(30), "Running,\nCE 0, UE 2");
}

// ---- Odd files

TEST_F(Looks, GarbageIsPassedOver)
{
    server.addProcessor(0, 0);
    server.addProcessor(1, 0);
    server.write("/sys/devices/system/cpu/cpu1/online", "maybe\n");
    server.write("/sys/devices/system/cpu/cpu1/topology/physical_package_id", "\xff\xfe\n");
    const std::string card = server.addFunction("0000:01:00.0", "zz", "\xff", "", "no id");
    server.write(card + "/aer_dev_correctable", std::string(100000, 'x'));
    server.write(card + "/aer_dev_fatal", "TOTAL_ERR_FATAL 99999999999999999999999\n");
    server.addFunction("nonsense:", ethernet);
    server.addFunction("non.sense", "", "", "", "");
    server.write("/sys/devices/system/cpu/smt/control", "off\n");
    server.addSlot("1", "0000:01:00", true, true);
    server.write("/sys/bus/pci/slots/1/power", "on\n");
    server.addSlot("\x1b[31m", "0000:09:00", true, false);
    const Lines lines = tree();
    ASSERT_GE(lines.size(), 3u);
    for (const std::string &line : lines)
        EXPECT_EQ(line.find('\x1b'), std::string::npos) << line;
    EXPECT_EQ(cpu(1) + ", " + cpu(2), "1 of 1 running, 1 of 1 running"); // of an unknown package
    EXPECT_EQ(pci(1), "Not installed"); // the one whose name would turn the terminal round
    EXPECT_EQ(facts(YAT_CLASS_PCI_MODULE, 2).known & YAT_KNOWS_STATE, 0u);
    EXPECT_EQ(pci(2), "(unreadable)"); // neither on nor off
    server.write(card + "/aer_dev_nonfatal", "TOTAL_ERR_NONFATAL 3\n");
    server.write("/sys/bus/pci/slots/1/power", "1\n");
    EXPECT_EQ(pci(2), "Running,\nCE 0, UE 3"); // those that can be read
}

// libpci, left to itself, ends the program.
TEST_F(Looks, FunctionsHaveTheirAddressesWhereTheListOfNamesIsDamaged)
{
    server.addProcessor(0, 0);
    server.addFunction("0000:00:1f.2", scsi, "ahci");
    kernel.listOfNames = server.directory.path / "pci.ids";
    for (const auto &[list, name] : {std::pair("8086  Some\n\t10d3  Card\n", "Card"),
                                     {"8086  Some\n\t10d3\n\t10d3  Card\n", "0000:00:1f.2"},
                                     {"\x1b\xff\n", "0000:00:1f.2"},
                                     {"8086  Some\n\t10d3  Other\n", "Other"}}) {
        writeFile(kernel.listOfNames, list);
        EXPECT_EQ(tree().back(),
                  "  8 1 255.0.31.2.0.0.0.0 SCSI adapter 1 (" + std::string(name) + ")");
    }
    kernel = {};
}

TEST_F(Looks, NamesAreCutBetweenCharacters)
{
    kernel.listOfNames = server.directory.path / "pci.ids";
    host::Function function;
    function.vendor = 0x8086;
    function.device = 0x10d3;
    const std::string letter = "\u3042", x(24, 'x');
    for (const auto &[name, shown] : {std::pair(x + "xxxx", x + "xxxx"),
                                      {x + "x" + letter + "y", x + "x" + letter},
                                      {x + "xx" + letter, x + "xx"},
                                      {x + "x " + letter + "y", x + "x"},
                                      {std::string(40, '\x80'), std::string(28, '\x80')}}) {
        writeFile(kernel.listOfNames, "8086  Some\n\t10d3  " + name + "\n");
        host::forgetNames();
        EXPECT_EQ(host::nameOf(function), shown);
    }
    host::forgetNames();
    kernel = {};
}

TEST_F(Looks, FilesThatWouldKeepTheReaderWaitingAreNotThere)
{
    server.addProcessor(0, 0);
    server.addProcessor(1, 0);
    const std::string card = server.addFunction("0000:01:00.0", ethernet);
    server.addSlot("1", "0000:01:00", true, true);
    server.addSlot("2", "0000:02:00", true, true);
    for (const std::string &file :
         {std::string("/sys/devices/system/cpu/cpu1/online"), card + "/aer_dev_fatal",
          std::string("/sys/bus/pci/slots/1/adapter"), std::string("/sys/bus/pci/slots/2/power"),
          std::string("/sys/class/dmi/id/bios_date")}) {
        server.write(file, "");
        server.remove(file);
        ASSERT_EQ(mkfifo(server.at(file).c_str(), 0600), 0);
    }
    const Lines lines = tree();
    ASSERT_EQ(lines.size(), 3u); // without slot 2, whose switch is none
    EXPECT_EQ(lines[1], "3 1 1.1.0.0.0.0.0.0 PCI module 1 (slot 1)");
    EXPECT_EQ(cpu(1), "2 of 2 running");
    EXPECT_EQ(pci(1), "Running");
    EXPECT_EQ(property(1, YAT_PROPERTY_BIOS_VERSION), "(unreadable)");
}

TEST_F(Looks, WhatGoesAwayBetweenTwoReadsIsNotThere)
{
    server.addProcessor(0, 0);
    server.addProcessor(1, 1);
    const std::string card = server.addFunction("0000:01:00.0", ethernet);
    server.addSlot("1", "0000:01:00", true, true);
    EXPECT_EQ(tree().size(), 4u);
    server.remove(card); // while its link is still on the bus
    EXPECT_EQ(pci(1), "Running");
    server.remove("/sys/bus/pci/slots/1");
    EXPECT_EQ(pci(1), "(unreadable)");
    server.remove("/sys/devices/system/cpu/cpu1");
    EXPECT_EQ(cpu(2), "(unreadable)");
    EXPECT_EQ(cpu(1), "1 of 1 running");
    EXPECT_EQ(tree().size(), 1u);
}

TEST_F(Looks, SixtyFourSlotsAndAThousandFunctions)
{
    server.addProcessor(0, 0);
    addThousandFunctions(server);
    const Lines lines = tree();
    EXPECT_EQ(lines.size(), 1u + 64 + 1 + 1000);
    EXPECT_EQ(lines.at(1 + 9), "3 2 2.2.0.0.0.0.0.0 PCI module 2 (slot 2)");
    EXPECT_EQ(lines.at(1 + 64 * 9), "3 65 255.0.0.0.0.0.0.0 PCI module 65 (not in a slot)");
    EXPECT_EQ(lines.back().substr(0, 34), "  8 488 255.1.28.7.0.0.0.1 SCSI ad");
}
