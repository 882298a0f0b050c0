// SPDX-License-Identifier: GPL-2.0-or-later
// A slot stays on while something below it is used; the reason says what it is.
#include "kernel.h"
#include "looked.h"

#include <cerrno>
#include <cstring>
#include <functional>
#include <nlohmann/json.hpp>
#include <pty.h>
#include <unistd.h>

namespace {

// A function in slot 1, another one outside of it behind the same bridge, and what hangs below
// them.
struct Parts {
    const Server &server;
    std::string inside, outside;
};

struct Use {
    const char *name;
    std::function<void(const Parts &)> begin;
    const char *reason; // empty: the slot may go
    const char *japanese = "";
};

void mount(const Server &server, const std::string &number, const std::string &source)
{
    server.write("/proc/self/mountinfo", "22 1 0:21 / / rw - rootfs rootfs rw\n23 22 " + number
                                             + " / /srv/data rw - ext4 " + source + " rw\n24 22 "
                                             + number + " / /mnt rw - ext4 " + source + " rw\n");
}

// A block device of the kernel's own, on others.
void addVirtual(const Server &server, const std::string &name, const std::string &number,
                const std::string &below)
{
    const std::string path = "/sys/devices/virtual/block/" + name;
    server.addDevice(path, "block", true, "DEVNAME=" + name + "\n");
    server.link("/sys/dev/block/" + number, path);
    server.link(path + "/slaves/" + below.substr(below.rfind('/') + 1), below);
}

std::string addPartition(const Server &server, const std::string &disk)
{
    const std::string path = disk + "/sdplay1";
    server.addDevice(path, "block", true, "DEVNAME=sdplay1\n");
    server.write(path + "/partition", "1\n");
    server.link("/sys/dev/block/8:17", path);
    return path;
}

// An NVMe namespace that has several controllers, one of them in the slot. Returns its path.
std::string addShared(const Parts &parts)
{
    const std::string group = "/sys/devices/virtual/nvme-subsystem/nvme-subsys0";
    parts.server.write(parts.inside + "/nvme/nvme0/state", "live\n");
    parts.server.addDevice(group + "/nvme0n1", "block", true, "DEVNAME=nvme0n1\n");
    parts.server.link("/sys/dev/block/259:0", group + "/nvme0n1");
    parts.server.link(group + "/nvme0", parts.inside + "/nvme/nvme0");
    return group + "/nvme0n1";
}

void drive(const Parts &parts, const std::string &driver, const std::string &classCode = display)
{
    parts.server.write(parts.inside + "/uevent", (driver.empty() ? "" : "DRIVER=" + driver + "\n")
                                                     + "PCI_CLASS=" + classCode + "\n");
}

void beOutside(const Parts &parts)
{
    parts.server.addDisk(parts.outside, "sdother", 2);
    mount(parts.server, "8:32", "/dev/sdother");
}

// Gives this process a terminal, which is a line of the function in the slot.
void askOnALine(const Parts &parts)
{
    int controller, line; // the former stays open, or there would be no terminal
    char name[64];
    ASSERT_EQ(openpty(&controller, &line, name, nullptr, nullptr), 0);
    dup2(line, STDIN_FILENO);
    close(line);
    const std::string node = name;
    parts.server.write(parts.inside + "/tty/ttyS4/dev", "4:68\n");
    parts.server.link("/sys/class/tty" + node.substr(node.rfind('/')), parts.inside + "/tty/ttyS4");
}

#define UNTOLD(why)                                                                                \
    "it can't be checked whether it is in use: " why, "使用状況を確認できません: " why

const Use uses[] = {
    {"UnusedDisk",
     [](const Parts &parts) {
         parts.server.addDisk(parts.inside, "sdplay", 1);
         kernel.refusals["/dev/sdplay"] = 0;
     },
     ""},
    {"DiskBehindTheSameBridge", beOutside, ""},
    // With ARI a card's ninth function has the device number 1.
    {"DiskOfTheNinthFunction",
     [](const Parts &parts) {
         parts.server.write(parts.outside + "/ari_enabled", "1\n");
         parts.server.addDisk(parts.outside, "sdother", 2);
         mount(parts.server, "8:32", "/dev/sdother");
     },
     "sdother is mounted on /srv/data", "sdotherは/srv/dataにマウントされています"},
    {"MountedDisk",
     [](const Parts &parts) {
         parts.server.addDisk(parts.inside, "sdplay", 1);
         mount(parts.server, "8:16", "/dev/sdplay");
     },
     "sdplay is mounted on /srv/data", "sdplayは/srv/dataにマウントされています"},
    {"MountedPartition",
     [](const Parts &parts) {
         addPartition(parts.server, parts.server.addDisk(parts.inside, "sdplay", 1));
         mount(parts.server, "8:17", "/dev/sdplay1");
     },
     "sdplay1 is mounted on /srv/data", "sdplay1は/srv/dataにマウントされています"},
    {"MountedVolume",
     [](const Parts &parts) {
         const std::string disk = parts.server.addDisk(parts.inside, "sdplay", 1);
         addVirtual(parts.server, "dm-3", "253:3", addPartition(parts.server, disk));
         addVirtual(parts.server, "dm-4", "253:4", "/sys/devices/virtual/block/dm-3");
         const std::string parted = "/sys/devices/virtual/block/dm-4/slaves/";
         parts.server.link(parted + "gone", "/sys/devices/virtual/block/gone");
         parts.server.link(parted + "sdplay", disk); // once more
         mount(parts.server, "253:4", "/dev/mapper/x");
     },
     "dm-4 is mounted on /srv/data", "dm-4は/srv/dataにマウントされています"},
    {"MountedBySourceOnly",
     [](const Parts &parts) {
         parts.server.addDisk(parts.inside, "sdplay", 1);
         parts.server.write("/dev/sdplay", "");
         mount(parts.server, "0:55", "/dev/sdplay");
     },
     "sdplay is mounted on /srv/data", "sdplayは/srv/dataにマウントされています"},
    {"NamespaceOfSeveralControllers",
     [](const Parts &parts) {
         addShared(parts);
         mount(parts.server, "259:0", "/dev/nvme0n1");
     },
     "nvme0n1 is mounted on /srv/data", "nvme0n1は/srv/dataにマウントされています"},
    {"PartitionOfSuchANamespace",
     [](const Parts &parts) {
         const std::string path = addShared(parts) + "/nvme0n1p1";
         parts.server.addDevice(path, "block", true, "DEVNAME=nvme0n1p1\n");
         parts.server.write(path + "/partition", "1\n");
         parts.server.link("/sys/dev/block/259:1", path);
         mount(parts.server, "259:1", "/dev/nvme0n1p1");
     },
     "nvme0n1p1 is mounted on /srv/data", "nvme0n1p1は/srv/dataにマウントされています"},
    {"Swap",
     [](const Parts &parts) {
         parts.server.addDisk(parts.inside, "sdplay", 1);
         parts.server.write("/dev/sdplay", "");
         parts.server.write("/proc/swaps", "Filename\tType\tSize\tUsed\tPriority\n"
                                           "/swapfile file 1000 0 -2\n"
                                           "/dev/sdplay partition 1000 0 -2\n"
                                           "/dev/sdplay partition 1000 0 -3\n");
     },
     "sdplay is used for swap", "sdplayはスワップに使われています"},
    {"PartOfAVolume",
     [](const Parts &parts) {
         const std::string disk = parts.server.addDisk(parts.inside, "sdplay", 1);
         addVirtual(parts.server, "dm-3", "253:3", disk);
         parts.server.write("/sys/devices/virtual/block/dm-3/dm/name", "group-volume\n");
         parts.server.link(disk + "/holders/dm-3", "/sys/devices/virtual/block/dm-3");
     },
     "sdplay is a part of group-volume", "sdplayはgroup-volumeの一部です"},
    {"PartOfAnArray",
     [](const Parts &parts) {
         const std::string disk = parts.server.addDisk(parts.inside, "sdplay", 1);
         addVirtual(parts.server, "md0", "9:0", disk);
         parts.server.link(disk + "/holders/md0", "/sys/devices/virtual/block/md0");
     },
     "sdplay is a part of md0", "sdplayはmd0の一部です"},
    {"PartOfAFileSystem",
     [](const Parts &parts) {
         const std::string disk = parts.server.addDisk(parts.inside, "sdplay", 1);
         parts.server.link("/sys/fs/btrfs/1234/devices/sdother", parts.outside);
         parts.server.link("/sys/fs/btrfs/1234/devices/sdplay", disk);
     },
     "sdplay is a part of the mounted file system 1234",
     "sdplayはマウントされたファイルシステム1234の一部です"},
    {"DiskThatTheKernelHolds",
     [](const Parts &parts) {
         parts.server.addDisk(parts.inside, "sdplay", 1);
         kernel.refusals["/dev/sdplay"] = EBUSY;
     },
     "sdplay is in use", "sdplayは使用中です"},
    {"InterfaceWithoutAddress",
     [](const Parts &parts) {
         const std::string path = parts.server.addInterface(parts.inside, "ens3");
         parts.server.write(path + "/ifindex", "987654\n");
     },
     ""},
    // The index is that of the interface that every machine has.
    {"InterfaceWithAnAddress",
     [](const Parts &parts) {
         const std::string path = parts.server.addInterface(parts.inside, "ens3");
         parts.server.write(path + "/ifindex", "1\n");
     },
     "ens3 has the address 127.0.0.1", "ens3にアドレス127.0.0.1があります"},
    {"InterfaceOfTheConnection",
     [](const Parts &parts) {
         const std::string path = parts.server.addInterface(parts.inside, "ens3");
         parts.server.write(path + "/ifindex", "1\n");
         setenv("SSH_CONNECTION", "192.0.2.1 50000 127.0.0.1 22", 1);
     },
     "ens3 carries the connection of this terminal, 127.0.0.1",
     "この端末の接続127.0.0.1がens3を通っています"},
    {"InterfaceWithARouteOnly",
     [](const Parts &parts) {
         const std::string path = parts.server.addInterface(parts.inside, "ens3");
         parts.server.write(path + "/ifindex", "987654\n");
         kernel.routedInterface = 987654;
     },
     "ens3 has the route to 192.0.2.0", "ens3に192.0.2.0への経路があります"},
    {"InterfaceInABridge",
     [](const Parts &parts) {
         const std::string path = parts.server.addInterface(parts.inside, "ens3");
         parts.server.write(path + "/ifindex", "987654\n");
         parts.server.write("/sys/devices/virtual/net/br0/ifindex", "1\n");
         parts.server.link(path + "/upper_br0", "/sys/devices/virtual/net/br0");
         parts.server.link(path + "/upper_again", "/sys/devices/virtual/net/br0");
     },
     "br0 has the address 127.0.0.1", "br0にアドレス127.0.0.1があります"},
    {"InterfaceInABridgeForOthers",
     [](const Parts &parts) {
         const std::string path = parts.server.addInterface(parts.inside, "ens3");
         parts.server.write(path + "/ifindex", "987654\n");
         parts.server.write("/sys/devices/virtual/net/br0/ifindex", "987655\n");
         parts.server.link(path + "/upper_br0", "/sys/devices/virtual/net/br0");
     },
     "br0 uses ens3", "br0がens3を使っています"},
    {"LineOfTheTerminal", askOnALine, "this terminal, TERMINAL, is connected to it",
     "この端末TERMINALが接続されています"},
    {"FunctionOfAVirtualMachine", [](const Parts &parts) { drive(parts, "vfio-pci"); },
     "0000:02:00.0 is assigned to a program by the driver vfio-pci",
     "0000:02:00.0はドライバvfio-pciでプログラムに渡されています"},
    {"FunctionOfAVendorsVirtualMachine", [](const Parts &parts) { drive(parts, "mlx5_vfio_pci"); },
     "0000:02:00.0 is assigned to a program by the driver mlx5_vfio_pci",
     "0000:02:00.0はドライバmlx5_vfio_pciでプログラムに渡されています"},
    {"FunctionOfAProgram", [](const Parts &parts) { drive(parts, "uio_pci_generic"); },
     "0000:02:00.0 is assigned to a program by the driver uio_pci_generic",
     "0000:02:00.0はドライバuio_pci_genericでプログラムに渡されています"},
    {"FunctionOfAnotherSystem", [](const Parts &parts) { drive(parts, "pciback"); },
     "0000:02:00.0 is assigned to a program by the driver pciback",
     "0000:02:00.0はドライバpcibackでプログラムに渡されています"},
    {"InterfaceOutOfSight", [](const Parts &parts) { drive(parts, "igb", ethernet); },
     "the interface of 0000:02:00.0 may be in another network namespace",
     "0000:02:00.0のインタフェースは別のネットワーク名前空間にあるかもしれません"},
    {"InterfaceWithoutADriver", [](const Parts &parts) { drive(parts, "", ethernet); }, ""},
    {"InfiniBandInterfaceOutOfSight",
     [](const Parts &parts) { drive(parts, "mlx5_core", "20700"); },
     "the interface of 0000:02:00.0 may be in another network namespace",
     "0000:02:00.0のインタフェースは別のネットワーク名前空間にあるかもしれません"},
    {"DiskInASlotBelow",
     [](const Parts &parts) {
         const std::string below =
             parts.server.addFunction("0000:03:00.0", scsi, "some", parts.inside);
         parts.server.addSlot("1-1", "0000:03:00", true, true);
         parts.server.addDisk(below, "sdplay", 1);
         mount(parts.server, "8:16", "/dev/sdplay");
     },
     "sdplay is mounted on /srv/data", "sdplayは/srv/dataにマウントされています"},
    {"FunctionOfAVirtualMachineInASlotBelow",
     [](const Parts &parts) {
         parts.server.addFunction("0000:03:00.0", scsi, "vfio-pci", parts.inside);
         parts.server.addSlot("1-1", "0000:03:00", true, true);
     },
     "0000:03:00.0 is assigned to a program by the driver vfio-pci",
     "0000:03:00.0はドライバvfio-pciでプログラムに渡されています"},
    {"VirtualFunction",
     [](const Parts &parts) {
         const std::string function = parts.server.addFunction("0000:02:10.0", ethernet, "some");
         parts.server.link(function + "/physfn", parts.inside);
         parts.server.write(parts.server.addInterface(function, "ens4") + "/ifindex", "1\n");
     },
     "ens4 has the address 127.0.0.1", "ens4にアドレス127.0.0.1があります"},
    // What the kernel does not tell may be a use.
    {"MountsThatCannotBeRead",
     [](const Parts &parts) {
         parts.server.remove("/proc/self/mountinfo");
         parts.server.write("/proc/self/mountinfo/not", "a file\n");
     },
     UNTOLD("/proc/self/mountinfo can't be read")},
    {"NoMounts", [](const Parts &parts) { parts.server.write("/proc/self/mountinfo", ""); },
     UNTOLD("/proc/self/mountinfo is empty")},
    {"OddMounts", [](const Parts &parts) { mount(parts.server, "8:?", "/dev/sdplay"); },
     UNTOLD("/proc/self/mountinfo can't be read")},
    {"OddSwaps",
     [](const Parts &parts) {
         parts.server.write("/proc/swaps", "Filename\tType\tSize\tUsed\tPriority\n/dev/sdplay\n");
     },
     UNTOLD("/proc/swaps can't be read")},
    {"DisksThatAreNotListed", [](const Parts &) { kernel.untoldKind = "block"; },
     UNTOLD("the devices of the subsystem block can't be listed: Input/output error")},
    {"DiskThatFailsForNoKnownReason",
     [](const Parts &parts) {
         parts.server.addDisk(parts.inside, "sdplay", 1);
         kernel.refusals["/dev/sdplay"] = 9999;
     },
     UNTOLD("/dev/sdplay can't be opened: error 9999")},
    {"DisksBeyondTheOpenFiles",
     [](const Parts &parts) {
         parts.server.addDisk(parts.inside, "sdplay", 1);
         kernel.refusals["/dev/sdplay"] = EMFILE;
     },
     UNTOLD("/dev/sdplay can't be opened: Too many open files")},
    {"DriveWithoutAMedium",
     [](const Parts &parts) {
         parts.server.addDisk(parts.inside, "sdplay", 1);
         kernel.refusals["/dev/sdplay"] = ENOMEDIUM;
     },
     ""},
    {"NodeWithoutADevice",
     [](const Parts &parts) {
         parts.server.addDisk(parts.inside, "sdplay", 1);
         kernel.refusals["/dev/sdplay"] = ENXIO;
     },
     ""},
    {"InterfaceWithoutNumber",
     [](const Parts &parts) {
         const std::string path = parts.server.addInterface(parts.inside, "ens3");
         parts.server.write(path + "/ifindex", "1x\n");
     },
     UNTOLD("the index of the interface ens3 can't be read")},
};

std::string withTerminal(std::string text)
{
    const size_t at = text.find("TERMINAL");
    return at == text.npos ? text : text.replace(at, strlen("TERMINAL"), ttyname(STDIN_FILENO));
}

void PrintTo(const Use &use, std::ostream *stream)
{
    *stream << use.name;
}

class EveryUse : public Looked, public testing::WithParamInterface<Use> {
protected:
    ~EveryUse() override
    {
        unsetenv("SSH_CONNECTION");
        kernel = {};
        dup2(input, STDIN_FILENO);
        close(input);
    }

    const int input = dup(STDIN_FILENO);
};

} // namespace

TEST_P(EveryUse, KeepsTheSlotOn)
{
    configure("operations = true\n");
    server.addProcessor(0, 0);
    const std::string bus = server.addFunction("0000:00:1c.0", bridge);
    const std::string inside = server.addFunction("0000:02:00.0", display, "some", bus);
    const std::string outside = server.addFunction("0000:02:01.0", display, "some", bus);
    server.addSlot("1", "0000:02:00", true, true);
    GetParam().begin({server, inside, outside});

    yat_device *slot = record(YAT_CLASS_PCI_MODULE, 1);
    ASSERT_TRUE(slot);
    const std::string reason = withTerminal(GetParam().reason);
    int detail = 0;
    EXPECT_EQ(CALL(IfSupport)(slot, 21, &detail), reason.empty() ? 1 : 0) << trace();
    EXPECT_EQ(detail, reason.empty() ? 0 : YAT_DETAIL_IN_USE);
    if (reason.empty())
        return;
    EXPECT_EQ(whyNot(slot, 21, detail, "en_US.UTF-8"), reason);
    EXPECT_EQ(whyNot(slot, 21, detail, "ja_JP.UTF-8"), withTerminal(GetParam().japanese));
    EXPECT_NE(trace().find("stop of PCI module 1 (slot 1) refused: " + reason), std::string::npos);
    EXPECT_EQ(CALL(InitBringDown)(slot, 22), 0); // it looks for itself
    EXPECT_EQ(server.read("/sys/bus/pci/slots/1/power"), "1\n");
    const auto lines = linesOf(readFile(state.path / "host.journal"));
    EXPECT_EQ(lines.size(), 2u); // of the question and of the operation
    for (const std::string &line : lines) {
        const auto entry = nlohmann::json::parse(line);
        EXPECT_EQ(entry.at("result"), "refused");
        EXPECT_EQ(entry.at("reason"), reason);
    }
}

INSTANTIATE_TEST_SUITE_P(Host, EveryUse, testing::ValuesIn(uses),
                         [](const auto &info) { return std::string(info.param.name); });
