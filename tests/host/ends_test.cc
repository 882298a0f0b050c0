// SPDX-License-Identifier: GPL-2.0-or-later
// Operations that do not come to their end: they have failed, with what the machine says then.
#include "common/lock.h"
#include "host/operations.h"
#include "host/processors.h"
#include "host/sysfs.h"
#include "operated.h"
#include "support/problem.h"
#include "support/process.h"

#include <chrono>
#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using std::chrono::milliseconds;

class Ends : public Operated {
protected:
    // Has whatever writes to a file wait.
    void block(const std::string &file) const
    {
        server.remove(file);
        ASSERT_EQ(mkfifo(server.at(file).c_str(), 0600), 0);
    }

    const host::Slot slot{.label = "1",
                          .directory = "/sys/bus/pci/slots/1",
                          .address = "0000:02:00",
                          .isOn = true,
                          .hasCard = true};
};

} // namespace

TEST_F(Ends, SlotThatDoesNotFollowInTimeHasFailed)
{
    server.addProcessor(0, 0);
    server.addFunction("0000:02:00.0", display, "some");
    server.addFunction("0000:02:00.1", display);
    server.addSlot("1", "0000:02:00", true, true);
    EXPECT_EQ(
        problemOf([&] { host::switchSlot(slot, false, milliseconds(250)); }),
        "the slot was not ready in time: power is 0; functions present: 2, without a driver: 1");
    EXPECT_EQ(pci(1), "Stopped"); // as it is
    server.remove("/sys/bus/pci/devices/0000:02:00.1");
    EXPECT_EQ(
        problemOf([&] { host::switchSlot(slot, false, milliseconds(250)); }),
        "the slot was not ready in time: power is 0; functions present: 1, without a driver: 0");
    server.remove("/sys/bus/pci/devices/0000:02:00.0");
    server.write("/sys/bus/pci/slots/1/power", "11"); // "0" written here changes nothing
    EXPECT_EQ(
        problemOf([&] { host::switchSlot(slot, false, milliseconds(250)); }),
        "the slot was not ready in time: power is 1; functions present: 0, without a driver: 0");
    server.remove("/sys/bus/pci/slots/1");
    EXPECT_EQ(
        problemOf([&] { host::switchSlot(slot, true, milliseconds(250)); }),
        "the slot can't be switched: No such file or directory; the power state can't be read");
}

TEST_F(Ends, SlotThatKeepsItsWriterWaitingHasFailed)
{
    server.addProcessor(0, 0);
    server.addFunction("0000:02:00.0", display, "some");
    server.addSlot("1", "0000:02:00", true, true);
    block("/sys/bus/pci/slots/1/power");
    EXPECT_EQ(problemOf([&] { host::switchSlot(slot, false, milliseconds(50)); }),
              "the slot can't be switched: writing \"0\" to /sys/bus/pci/slots/1/power "
              "did not finish in time; the power state can't be read");
    EXPECT_TRUE(WIFSIGNALED(waitForChild())); // the writer, which does nothing later
}

// A function may have no driver.
TEST_F(Ends, SlotIsOnWhenNoDriverComesForAWhile)
{
    server.addProcessor(0, 0);
    server.addFunction("0000:02:00.0", display, "some");
    server.addFunction("0000:02:00.1", display);
    server.addSlot("1", "0000:02:00", false, true);
    EXPECT_EQ(
        problemOf([&] { host::switchSlot(slot, true, milliseconds(10000), milliseconds(150)); }),
        "");
    EXPECT_EQ(
        problemOf([&] { host::switchSlot(slot, true, milliseconds(150), milliseconds(10000)); }),
        "the slot was not ready in time: power is 1; functions present: 2, without a driver: 1");
}

TEST_F(Ends, ProcessorThatKeepsItsWriterWaitingHasFailed)
{
    addPackages(2, 3);
    block("/sys/devices/system/cpu/cpu4/online");
    host::PackageOf known;
    const auto packages = host::readPackages(known);
    ASSERT_EQ(packages.size(), 2u);
    EXPECT_EQ(problemOf([&] { host::switchPackage(packages[1], false, milliseconds(1000)); }),
              "processor 4 can't be switched: writing \"0\" to "
              "/sys/devices/system/cpu/cpu4/online did not finish in time; 3 of 3 are online");
    EXPECT_EQ(online(3) + online(5), "11"); // the one that went is back
    EXPECT_TRUE(WIFSIGNALED(waitForChild()));
}

// What the kernel tells of all is believed rather than the file that was written.
TEST_F(Ends, ProcessorIsWhereTheKernelHasItAmongAll)
{
    addPackages(2, 2);
    server.write("/sys/devices/system/cpu/online", "0-3\n");
    EXPECT_EQ(CALL(InitBringDown)(record(2, 2), stopCpu + 1), 0);
    EXPECT_EQ(journal().back(),
              "CPU module 2 stop failed processor 3 can't be switched: the kernel accepted the "
              "request, but nothing changed; 2 of 2 are online");
    server.write("/sys/devices/system/cpu/online", "0\n");
    EXPECT_EQ(CALL(InitBringUp)(record(2, 2), startCpu + 1), 0);
    EXPECT_EQ(journal().back(),
              "CPU module 2 start failed processor 3 can't be switched: the kernel accepted the "
              "request, but nothing changed; 0 of 2 are online");
}

// Its process is killed while the slot is on its way.
TEST_F(Ends, OperationThatWasKilledIsSeenAsItIs)
{
    server.addProcessor(0, 0);
    const std::string card = server.addFunction("0000:02:00.0", display, "some");
    server.addSlot("1", "0000:02:00", true, true);
    yat_device *module = record(YAT_CLASS_PCI_MODULE, 1);
    const pid_t program = forkUntilDeadline();
    if (program == 0) {
        CALL(InitBringDown)(module, stopPci + 1); // which waits for the function to go
        _exit(0);
    }
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (server.read("/sys/bus/pci/slots/1/power").substr(0, 1) != "0"
           && std::chrono::steady_clock::now() < end)
        usleep(2000);
    EXPECT_EQ(kill(program, SIGKILL), 0);
    int status = 0;
    EXPECT_EQ(waitpid(program, &status, 0), program);
    EXPECT_TRUE(WIFSIGNALED(status)); // it was in the middle
    // Its writer, which may not be at its end, has the lock as well.
    while (!yat::Lock("host.operation.lock", false).isHeld
           && std::chrono::steady_clock::now() < end)
        usleep(2000);
    EXPECT_EQ(journal(), (Lines{"PCI module 1 (slot 1) stop begun "}));
    EXPECT_EQ(pci(1), "Stopped");
    EXPECT_EQ(CALL(InitBringUp)(module, startPci + 1), 1) << trace(); // nothing stands in its way
    EXPECT_EQ(pci(1), "Running");
    EXPECT_EQ(journal().back(), "PCI module 1 (slot 1) start done ");
}
