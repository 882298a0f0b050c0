// SPDX-License-Identifier: GPL-2.0-or-later
// What is done to a server, and what is not: only what is allowed, can be and is asked for.
#include "common/lock.h"
#include "host/operations.h"
#include "host/sysfs.h"
#include "kernel.h"
#include "operated.h"
#include "support/problem.h"

#include <cerrno>
#include <fcntl.h>
#include <map>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

using std::chrono::milliseconds;

class Operations : public Operated {
protected:
    ~Operations() override
    {
        kernel = {};
    }
};

// Until whoever waits for a slot has looked at it once from here on. Each look begins with the
// power.
void awaitLook(const std::string &power)
{
    const int watch = inotify_init1(IN_CLOEXEC);
    inotify_add_watch(watch, power.c_str(), IN_OPEN);
    inotify_event event;
    for (int beginnings = 0; beginnings < 2; ++beginnings)
        EXPECT_EQ(read(watch, &event, sizeof event), static_cast<ssize_t>(sizeof event));
    close(watch);
}

} // namespace

TEST_F(Operations, ArePossibleOnlyWhereTheConfigurationAllowsThem)
{
    addPackages(2, 1);
    server.addFunction("0000:02:00.0", display, "some");
    server.addSlot("1", "0000:02:00", true, true);
    for (const char *text : {"", "operations = false\n", "machine = 'hardware'\n"}) {
        configure(text);
        EXPECT_EQ(support(3, 1, stopPci), "7 yatkit.toml does not allow operations");
        EXPECT_EQ(support(2, 2, stopCpu), "7 yatkit.toml does not allow operations");
        EXPECT_EQ(CALL(InitBringDown)(record(2, 2), stopCpu + 1), 0);
        EXPECT_EQ(online(1), "1");
    }
    EXPECT_EQ(journal().back(), "CPU module 2 stop refused yatkit.toml does not allow operations");
}

TEST_F(Operations, MistakeInTheConfigurationKeepsThePlatformFromOpening)
{
    CALL(ft_FunctionRelease)();
    configure("machine = 'hardware'\noperations = 'yes'\n");
    EXPECT_EQ(CALL(ft_FunctionInit)(), 0);
    EXPECT_NE(trace().find("yatkit.toml:2: operations must be true or false"), std::string::npos);
    configure("operations = true\n");
    EXPECT_EQ(CALL(ft_FunctionInit)(), 1);
}

TEST_F(Operations, PackageIsStoppedAndStarted)
{
    addPackages(2, 3);
    EXPECT_EQ(support(2, 2, stopCpu), "");
    EXPECT_EQ(support(2, 2, startCpu), "4 all its processors are already running");
    EXPECT_EQ(CALL(InitBringDown)(record(2, 2), stopCpu + 1), 1) << trace();
    EXPECT_EQ(online(3) + online(4) + online(5), "000");
    EXPECT_EQ(online(1) + online(2), "11");
    EXPECT_EQ(cpu(2), "Stopped");
    EXPECT_EQ(support(2, 2, stopCpu), "4 it is already stopped");
    EXPECT_EQ(support(2, 2, startCpu), "");
    EXPECT_EQ(CALL(InitBringUp)(record(2, 2), startCpu + 1), 1) << trace();
    EXPECT_EQ(online(3) + online(4) + online(5), "111");
    EXPECT_EQ(cpu(2), "3 of 3 running");
    EXPECT_EQ(journal(), (Lines{"CPU module 2 start refused all its processors are already running",
                                "CPU module 2 stop begun ", "CPU module 2 stop done ",
                                "CPU module 2 stop refused it is already stopped",
                                "CPU module 2 start begun ", "CPU module 2 start done "}));
}

TEST_F(Operations, TakeThePackageThatWasChosen)
{
    server.addProcessor(0, 36);
    server.addProcessor(1, 292); // the same in one byte
    EXPECT_EQ(CALL(InitBringDown)(record(2, 2), stopCpu + 1), 1) << trace();
    EXPECT_EQ(online(0) + online(1), "10");
}

TEST_F(Operations, PackageComesBackWhenOneOfItsProcessorsRefuses)
{
    addPackages(2, 3);
    server.write("/sys/devices/system/cpu/cpu4/online", "01"); // "0" written here changes nothing
    EXPECT_EQ(CALL(InitBringDown)(record(2, 2), stopCpu + 1), 0);
    EXPECT_EQ(online(3) + online(5), "11");
    EXPECT_EQ(journal().back(),
              "CPU module 2 stop failed processor 4 can't be switched: the kernel accepted the "
              "request, but nothing changed; 3 of 3 are online");
    EXPECT_EQ(cpu(2), "3 of 3 running");
}

TEST_F(Operations, LastProcessorOfAPackageIsTheFirstToGo)
{
    addPackages(2, 3);
    for (const char *number : {"3", "4", "5"})
        server.write("/sys/devices/system/cpu/cpu" + std::string(number) + "/online", "01");
    EXPECT_EQ(CALL(InitBringDown)(record(2, 2), stopCpu + 1), 0);
    EXPECT_EQ(journal().back(),
              "CPU module 2 stop failed processor 5 can't be switched: the kernel accepted the "
              "request, but nothing changed; 3 of 3 are online");
}

// As with "off" in smt/control: of each core, the kernel takes the first processor only.
TEST_F(Operations, PackageIsStartedWithoutTheSiblingsThatAreOff)
{
    addPackages(2, 4);
    tree();
    const std::string all = "/sys/devices/system/cpu", control = all + "/smt/control";
    for (const int sibling : {5, 7}) {
        server.setOnline(sibling, 1, false);
        kernel.refusals[all + "/cpu" + std::to_string(sibling) + "/online"] = EPERM;
    }
    EXPECT_EQ(CALL(InitBringDown)(record(2, 2), stopCpu + 1), 1) << trace();
    const auto start = [&] { return CALL(InitBringUp)(record(2, 2), startCpu + 1); };
    for (const char *setting : {"on", "notsupported"}) {
        server.write(control, std::string(setting) + "\n");
        EXPECT_EQ(start(), 0);
        EXPECT_EQ(journal().back(),
                  "CPU module 2 start failed processor 7 can't be switched: Operation not "
                  "permitted; 0 of 4 are online");
    }
    for (const char *setting : {"off", "forceoff"}) {
        server.write(control, std::string(setting) + "\n");
        EXPECT_EQ(start(), 1) << trace();
        EXPECT_EQ(cpu(2), "2 of 4 running");
        EXPECT_EQ(CALL(InitBringDown)(record(2, 2), stopCpu + 1), 1) << trace();
    }
    kernel.refusals[all + "/cpu4/online"] = EIO;
    EXPECT_EQ(start(), 0);
    EXPECT_EQ(journal().back(),
              "CPU module 2 start failed processor 4 can't be switched: Input/output "
              "error; 0 of 4 are online");
    kernel.refusals[all + "/cpu4/online"] = kernel.refusals[all + "/cpu6/online"] = EPERM;
    EXPECT_EQ(start(), 0); // nothing of it came online
}

TEST_F(Operations, LastRunningPackageAndThatOfAFixedProcessorStay)
{
    addPackages(2, 2);
    EXPECT_EQ(support(2, 1, stopCpu), "1 the kernel does not take processor 0 offline");
    server.setOnline(2, 1, false);
    EXPECT_EQ(support(2, 2, stopCpu), ""); // a part of it runs
    server.setOnline(3, 1, false);
    EXPECT_EQ(support(2, 1, stopCpu), "5 it is the last one running");
    EXPECT_EQ(CALL(InitBringDown)(record(2, 1), stopCpu + 1), 0);
    EXPECT_EQ(online(1), "1");
}

TEST_F(Operations, SlotIsStoppedAndStarted)
{
    server.addProcessor(0, 0);
    std::string card = server.addFunction("0000:02:00.0", display, "some");
    server.addSlot("1", "0000:02:00", true, true);
    const auto power = server.at("/sys/bus/pci/slots/1/power");
    EXPECT_EQ(support(3, 1, startPci), "4 it is already running");
    EXPECT_EQ(support(3, 1, stopPci), "");
    {
        const Meanwhile kernel(power, '0', [&] {
            server.remove("/sys/bus/pci/devices/0000:02:00.0");
            server.remove(card);
        });
        EXPECT_EQ(CALL(InitBringDown)(record(3, 1), stopPci + 1), 1) << trace();
    }
    EXPECT_FALSE(std::filesystem::exists(server.at(card)));
    EXPECT_EQ(pci(1), "Stopped");
    EXPECT_EQ(support(3, 1, stopPci), "4 it is already stopped");
    EXPECT_EQ(support(3, 1, startPci), "");
    {
        const Meanwhile kernel(power, '1', [&] {
            server.addFunction("0000:02:00.0", display);
            awaitLook(power); // the driver comes later
            server.write(card + "/uevent", "DRIVER=some\nPCI_CLASS=30000\nPCI_ID=8086:1\n");
        });
        EXPECT_EQ(CALL(InitBringUp)(record(3, 1), startPci + 1), 1) << trace();
        EXPECT_NE(server.read(card + "/uevent").find("DRIVER"), std::string::npos); // it waited
    }
    EXPECT_EQ(pci(1), "Running");
}

TEST_F(Operations, SlotWithoutACardIsNotStarted)
{
    server.addProcessor(0, 0);
    server.addSlot("1", "0000:02:00", false, false);
    server.addFunction("0000:00:1f.0", display);
    EXPECT_EQ(support(3, 1, startPci), "3 the slot is empty");
    EXPECT_EQ(support(3, 2, stopPci), "1 it has no power switch");
}

TEST_F(Operations, AreLookedAtAgainWhenTheyAreCarriedOut)
{
    server.addProcessor(0, 0);
    const std::string card = server.addFunction("0000:02:00.0", scsi, "virtio-pci");
    server.addDisk(card, "sdplay", 1);
    server.addSlot("1", "0000:02:00", true, true);
    EXPECT_EQ(support(3, 1, stopPci), "");
    server.write("/proc/self/mountinfo", "23 22 8:16 / /srv rw - ext4 /dev/sdplay rw\n");
    EXPECT_EQ(CALL(InitBringDown)(record(3, 1), stopPci + 1), 0);
    EXPECT_EQ(server.read("/sys/bus/pci/slots/1/power"), "1\n");
    EXPECT_EQ(journal(), (Lines{"PCI module 1 (slot 1) stop refused sdplay is mounted on /srv"}));
}

// What is read by who reads logs says what was done; only root holds up what others do.
TEST_F(Operations, LeaveFilesForTheirReadersOnly)
{
    addPackages(2, 1);
    server.write("/proc/interrupts", "       CPU0 CPU1\nMCE:  1 1 Machine check exceptions\n");
    EXPECT_EQ(CALL(ClearMTBF)(record(2, 1), clearCpu + 1), 1) << trace();
    const std::map<std::string, int> expected = {{"host.journal", 0640},
                                                 {"host.json", 0640},
                                                 {"host.json.lock", 0600},
                                                 {"host.operation.lock", 0600}};
    for (const auto &[name, permissions] : expected)
        EXPECT_EQ(std::filesystem::status(state.path / name).permissions(),
                  std::filesystem::perms(permissions))
            << name;
}

TEST_F(Operations, OneAtATime)
{
    addPackages(2, 1);
    yat_device *module = record(2, 2);
    const yat::Lock other("host.operation.lock", false);
    ASSERT_TRUE(other.isHeld);
    EXPECT_EQ(CALL(InitBringDown)(module, stopCpu + 1), 0);
    EXPECT_EQ(online(1), "1");
    EXPECT_EQ(journal(), (Lines{"CPU module 2 stop refused another operation is under way"}));
}

TEST_F(Operations, NeedTheRightToWrite)
{
    addPackages(2, 1);
    const std::string file = "/sys/devices/system/cpu/cpu1/online";
    chmod(server.at(file).c_str(), 0444);
    chmod(server.directory.path.c_str(), 0755);
    chmod(root.path.c_str(), 0755);
    chmod(state.path.c_str(), 0777);
    const bool isRoot = geteuid() == 0;
    if (isRoot) { // whom this would not keep from it
        ASSERT_EQ(syscall(SYS_setresuid, 65534, 0, 0), 0);
    }
    EXPECT_EQ(support(2, 2, stopCpu), "8 this user can't write to " + file);
    if (isRoot)
        syscall(SYS_setresuid, 0, 0, 0);
}

TEST_F(Operations, OfOtherKindsOrDevicesAreRefused)
{
    addPackages(2, 1);
    server.addSlot("1", "0000:02:00", true, true);
    int detail = 0, value = 1;
    yat_device *module = record(2, 2);
    char text[1024] = "";
    EXPECT_EQ(CALL(IfSupport)(module, stopCpu, nullptr), 1);
    EXPECT_EQ(CALL(GetSupportReason)(module, stopCpu, 0, text), 0); // it is supported
    EXPECT_STREQ(text, "");
    EXPECT_EQ(support(2, 2, 9), "1 this server has no such operation");
    EXPECT_EQ(support(2, 2, 13), "1 this server has no such operation");
    EXPECT_EQ(support(2, 2, stopPci), "1 devices of this class have no such operation");
    EXPECT_EQ(CALL(InitBringUp)(module, stopCpu + 1), 0);
    EXPECT_EQ(CALL(InitBringDown)(nullptr, stopCpu + 1), 0);
    EXPECT_EQ(CALL(BurnFirmware)(module, 10, "FWCOPY"), 0);
    EXPECT_EQ(CALL(SetMtbfType)(module, 14, "1"), 0);
    EXPECT_EQ(CALL(PutBBDriverSettings)(YAT_SETTING_AUTO_BURN, YAT_CLASS_GENERAL, 1, &value), 0);
    EXPECT_EQ(CALL(GetBBDriverSettings)(YAT_SETTING_AUTO_BURN, YAT_CLASS_GENERAL, 1, &value), 0);
    EXPECT_EQ(online(1), "1");
    EXPECT_EQ(journal().back(), "an unknown device setting refused this server has no settings");
    server.remove("/sys/bus/cpu/devices/cpu1");
    server.remove("/sys/devices/system/cpu/cpu1");
    server.remove("/sys/bus/pci/slots/1");
    for (const auto &[device, code] : {std::pair{module, stopCpu}, {record(3, 1), stopPci}}) {
        EXPECT_EQ(CALL(IfSupport)(device, code, &detail), 0);
        EXPECT_EQ(detail, YAT_DETAIL_NO_DEVICE);
    }
}

TEST_F(Operations, ClearedCountsBeginAnew)
{
    server.addProcessor(0, 0);
    const std::string controller = "/sys/devices/system/edac/mc/mc0";
    EXPECT_EQ(support(2, 1, clearCpu), "1 the server keeps no error count for it");
    server.write(controller + "/ce_count", "7\n");
    server.write(controller + "/ue_count", "1\n");
    EXPECT_EQ(cpu(1), "1 of 1 running,\nCE 7, UE 1");
    EXPECT_EQ(CALL(ClearMTBF)(record(2, 1), clearCpu + 1), 1) << trace();
    EXPECT_EQ(cpu(1), "1 of 1 running,\nCE 0, UE 0");
    server.write(controller + "/ce_count", "9\n");
    EXPECT_EQ(cpu(1), "1 of 1 running,\nCE 2, UE 0");
    const yat_facts told = facts(2, 1);
    EXPECT_EQ(told.known, YAT_KNOWS_STATE | YAT_KNOWS_FAILURES | YAT_KNOWS_BIOS);
    EXPECT_EQ(told.failures, 2);
    EXPECT_EQ(told.state, YAT_DEVICE_RUNNING);
    EXPECT_EQ(cpu(1), "1 of 1 running,\nCE 2, UE 0"); // from the same look

    server.write(controller + "/ce_count", "3\n"); // its driver was loaded again
    for (const char *count : {"3", "6", "7", "9"}) {
        server.write(controller + "/ce_count", std::string(count) + "\n");
        EXPECT_EQ(cpu(1), std::string("1 of 1 running,\nCE ") + count + ", UE 0");
    }
    server.write(controller + "/ue_count", "0\n");
    EXPECT_EQ(cpu(1), "1 of 1 running,\nCE 9, UE 0");
    server.write(controller + "/ue_count", "1\n");
    EXPECT_EQ(cpu(1), "1 of 1 running,\nCE 9, UE 1");
    EXPECT_EQ(CALL(ClearMTBF)(record(2, 1), clearCpu + 1), 1) << trace();
    EXPECT_EQ(cpu(1), "1 of 1 running,\nCE 0, UE 0");
    server.write("/proc/sys/kernel/random/boot_id", "another\n"); // since this start, all are new
    EXPECT_EQ(cpu(1), "1 of 1 running,\nCE 9, UE 1");
}

// The kernel shows no counts of processors that are offline, and has them again later.
TEST_F(Operations, ClearedCountsOfProcessorsThatWereOfflineStayCleared)
{
    addPackages(2, 1);
    server.write("/sys/devices/system/edac/mc/mc0/ce_count", "4\n");
    server.write("/sys/devices/system/edac/mc/mc0/device/numa_node", "1\n");
    server.link("/sys/devices/system/node/node1/cpu1", "/sys/devices/system/cpu/cpu1");
    const std::string both = "       CPU0 CPU1\nMCE:  0 2 Machine check exceptions\n";
    server.write("/proc/interrupts", both);
    EXPECT_EQ(CALL(ClearMTBF)(record(2, 2), clearCpu + 1), 1) << trace();
    server.setOnline(1, 1, false);
    server.write("/proc/interrupts", "       CPU0\nMCE:  0 Machine check exceptions\n");
    EXPECT_EQ(cpu(2), "Stopped,\nCE 0, UE 0");
    server.setOnline(1, 1, true);
    server.write("/proc/interrupts", both);
    EXPECT_EQ(cpu(2), "1 of 1 running,\nCE 0, UE 0");
}

TEST_F(Operations, CountsOfAdaptersAreThoseOfWhatTheyHave)
{
    server.addProcessor(0, 0);
    const std::string card = server.addFunction("0000:02:00.0", ethernet);
    const std::string disks = server.addFunction("0000:03:00.0", scsi);
    const std::string interface = server.addInterface(card, "ens3");
    server.write(interface + "/statistics/rx_errors", "5\n");
    server.write(interface + "/statistics/tx_errors", "40\n");
    server.write(card + "/aer_dev_correctable", "TOTAL_ERR_COR 2\n");
    server.write(disks + "/host1/target1:0:0/1:0:0:0/x", "");
    server.addDisk(disks, "sdplay", 1);
    server.write(disks + "/host1/target1:0:0/1:0:0:0/ioerr_cnt", "0x1f\n");
    const std::string other =
        server.addInterface(server.addFunction("0000:04:00.0", ethernet), "ens4");
    server.write(other + "/statistics/tx_errors", "3\n");
    server.remove(other + "/statistics/rx_errors");
    server.remove(server.addInterface(card, "ens5") + "/statistics");
    server.addDisk(disks, "sdother", 2);
    server.remove(disks + "/host2/target2:0:0/2:0:0:0/ioerr_cnt");
    server.addDevice("/sys/devices/virtual/net/lo", "net", true, "INTERFACE=lo\n");
    server.addDevice("/sys/devices/platform/host9/9:0:0:0", "scsi", false, "");
    const auto failures = [&](int classCode) { return facts(classCode, 1).failures; };
    EXPECT_EQ(failures(YAT_CLASS_ETHERNET_ADAPTER), 47);
    EXPECT_EQ(facts(YAT_CLASS_ETHERNET_ADAPTER, 2).failures, 3);
    EXPECT_EQ(pci(1), "Running,\nCE 2, UE 0"); // what PCI Express reports only
    EXPECT_EQ(failures(YAT_CLASS_SCSI_ADAPTER), 31);
    EXPECT_EQ(CALL(ClearMTBF)(record(YAT_CLASS_SCSI_ADAPTER, 1), 26), 1) << trace();
    EXPECT_EQ(CALL(ClearMTBF)(record(YAT_CLASS_ETHERNET_ADAPTER, 1), 32), 1) << trace();
    EXPECT_EQ(failures(YAT_CLASS_ETHERNET_ADAPTER) + failures(YAT_CLASS_SCSI_ADAPTER), 0);
    for (const char *count : {"0x2", "0x20"}) { // its driver was loaded again
        server.write(disks + "/host1/target1:0:0/1:0:0:0/ioerr_cnt", count);
        EXPECT_EQ(failures(YAT_CLASS_SCSI_ADAPTER), strtol(count, nullptr, 16));
    }
}

TEST_F(Operations, ClearTheCountOfOneDeviceOnly)
{
    addPackages(2, 1);
    server.write("/proc/interrupts", "       CPU0 CPU1\nMCE:  0 4 Machine check exceptions\n");
    const std::string card = server.addFunction("0000:02:00.0", display);
    server.write(card + "/aer_dev_fatal", "TOTAL_ERR_FATAL 4\n");
    server.addSlot("1", "0000:02:00", true, true);
    EXPECT_EQ(CALL(ClearMTBF)(record(YAT_CLASS_PCI_MODULE, 1), 16), 1) << trace();
    EXPECT_EQ(pci(1), "Running,\nCE 0, UE 0");
    EXPECT_EQ(cpu(2), "1 of 1 running,\nCE 0, UE 4"); // package 1 is not slot 1

    const auto written = std::filesystem::last_write_time(state.path / "host.json");
    std::filesystem::last_write_time(state.path / "host.json", written - std::chrono::hours(1));
    EXPECT_EQ(CALL(ClearMTBF)(record(YAT_CLASS_PCI_MODULE, 1), 16), 1) << trace();
    EXPECT_EQ(std::filesystem::last_write_time(state.path / "host.json"),
              written - std::chrono::hours(1)); // nothing new was to be remembered
}
