// SPDX-License-Identifier: GPL-2.0-or-later
// mrvutil administers a virtual machine from its serial console: see the script serverrun, which
// makes the machine. Its environment names the script that starts the machine (MACHINE) and the
// socket of the machine's monitor (MONITOR).
#include "terminal.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr seconds patience{60}; // emulated processors are slow, and slower beside other tests
const std::string enter = "\r", space = " ", tab = "\t", down = "\x1bOB", escape = "\x1b",
                  dropLine = "\x15";

class Server : public testing::Test {
protected:
    // What comes after it would wait for nothing.
    void see(const std::string &text)
    {
        if (!terminal.waitUntil([&] { return terminal.contains(text); }, patience))
            throw std::runtime_error("no \"" + text + "\" on\n" + terminal.picture());
    }

    // Keys one by one: a serial line has no room for many.
    void type(const std::string &keys)
    {
        for (size_t i = 0; i < keys.size(); i += 8) {
            terminal.send(keys.substr(i, 8));
            terminal.settle(milliseconds(100));
        }
    }

    // Presses the button that so many Tabs lead to.
    void press(int tabs)
    {
        for (int i = 0; i < tabs; ++i)
            type(tab);
        type(enter);
    }

    // What a command prints, on one line.
    void expectOutput(const std::string &line, const std::string &wanted)
    {
        command("echo \"says:\" $(" + line + ")");
        see("says: " + wanted);
        see("guest>");
    }

    // Goes to the module in the tree: of the CPU modules at first, or of the PCI modules with the
    // CPU modules closed.
    void goTo(bool isCpu, int number)
    {
        command("mrvutil");
        see("Exit");
        type(space + down + (isCpu ? "" : down) + space);
        for (int i = 0; i < number; ++i)
            type(down);
    }

    // Opens the module's window.
    void open(bool isCpu, int number)
    {
        goTo(isCpu, number);
        type(enter);
        see("Refresh");
    }

    void leave()
    {
        const auto isLeft = [&] { return terminal.contains("guest>"); };
        const auto end = std::chrono::steady_clock::now() + patience;
        do
            type(escape); // the window, then the tree
        while (!terminal.waitUntil(isLeft, seconds(4)) && std::chrono::steady_clock::now() < end);
        see("guest>");
    }

    // Carries an operation out and closes the box that tells what came of it.
    void carryOut(int tabs, const std::string &question, const std::string &answer)
    {
        press(tabs);
        see(question);
        type(enter);
        see(answer);
        terminal.settle(seconds(1));
        type(enter);
        terminal.settle(seconds(1));
    }

    // A command for the shell; what was typed before is not a part of it.
    void command(const std::string &line)
    {
        type(dropLine + "clear; " + line + enter);
    }

    // A command of the virtual machine's monitor, and its answer.
    static std::string monitor(const std::string &command)
    {
        const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
        strncpy(address.sun_path, getenv("MONITOR"), sizeof address.sun_path - 1);
        if (connect(connection, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
            return strerror(errno);
        std::string text;
        const auto readTo = [&](const std::string &end, size_t from) {
            char bytes[4096];
            ssize_t count;
            while (text.find(end, from) == std::string::npos
                   && (count = read(connection, bytes, sizeof bytes)) > 0)
                text.append(bytes, static_cast<size_t>(count));
        };
        readTo("(qemu) ", 0);
        const size_t begin = text.size();
        const std::string line = command + "\n";
        if (write(connection, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
            return "the monitor takes nothing";
        readTo("\n(qemu) ", begin);
        close(connection);
        return text.substr(begin);
    }

    // What the monitor says of the network adapter: one without power has its registers nowhere.
    static std::string networkAdapter()
    {
        const std::string text = monitor("info pci");
        const size_t end = text.find("id \"n1\"");
        if (end == std::string::npos)
            return "not there";
        const std::string registers = text.substr(text.rfind("BAR0: ", end));
        return registers.starts_with("BAR0: 32 bit memory at 0xffffffffffffffff") ? "off" : "on";
    }

    Terminal terminal{
        {.command = {"/bin/sh", getenv("MACHINE")}, .environment = {{"PATH", "/usr/bin:/bin"}}}};
};

const std::string card = "/sys/bus/pci/devices/0000:01:00.0",
                  controller = "/sys/bus/pci/devices/0000:02:00.0/aer_dev_nonfatal",
                  done = "The operation was successful.";
constexpr int clearButton = 0, stopButton = 1, startButton = 2;

} // namespace

TEST_F(Server, IsAdministeredFromItsConsole)
{
    see("guest>");

    // The tree shows the machine.
    command("mrvutil");
    see("Exit");
    type(space + down + space);
    see("CPU module 2");
    type(down + down + down + space);
    for (const char *device : {"PCI module 1 (slot 1)", "PCI module 2 (slot 2)",
                               "PCI module 3 (slot 3)", "PCI module 4 (not in a slot)"})
        see(device);
    type(down + space);
    see("Ethernet adapter 1 (eth0, 82574L");
    type(down + down + space);
    see("SCSI adapter 1 (Virtio 1.0 SCSI");
    leave();

    // A package.
    open(true, 2);
    see("1 of 1 running");
    carryOut(stopButton, "Stop this CPU module?", done);
    leave();
    expectOutput("cat /sys/devices/system/cpu/cpu1/online", "0");
    open(true, 2);
    see("Stopped");
    carryOut(startButton, "Start this CPU module?", done);
    leave();
    expectOutput("cat /sys/devices/system/cpu/cpu1/online", "1");

    // The slot of the network adapter is stopped. QEMU takes the card out of a slot that is off.
    EXPECT_EQ(networkAdapter(), "on");
    open(false, 1);
    carryOut(stopButton, "Stop this PCI module", done);
    leave();
    expectOutput("ls -d " + card + " 2>&1", "ls: " + card + ": No such file or directory");
    expectOutput("cat /sys/bus/pci/slots/1/power", "0");
    EXPECT_EQ(networkAdapter(), "not there");
    open(false, 1);
    see("Not installed");
    carryOut(startButton, "Start this PCI module", "This device cannot be started now.");
    leave();

    // The kernel switches a slot on as soon as it hears of a card in it. This slot is kept from
    // telling it, so the next card stays off until mrvutil starts it.
    expectOutput("setpci -s 00:01.0 CAP_EXP+18.w=0:20 && echo quiet", "quiet");
    monitor("device_add e1000e,bus=rp1,id=n1");
    open(false, 1);
    see("Stopped");
    leave();
    expectOutput("cat /sys/bus/pci/slots/1/adapter /sys/bus/pci/slots/1/power; ls -d " + card
                     + " 2>&1",
                 "1 0 ls: " + card + ": No such file or directory");
    EXPECT_EQ(networkAdapter(), "off");
    open(false, 1);
    carryOut(startButton, "Start this PCI module", done);
    leave();
    expectOutput("cat /sys/bus/pci/slots/1/power; basename $(readlink " + card + "/driver)",
                 "1 e1000e");
    EXPECT_EQ(networkAdapter(), "on");
    open(false, 1);
    see("Running");
    leave();
    goTo(false, 1);
    type(space);
    see("Ethernet adapter 1 (eth0, 82574L");
    leave();

    // The slot with the mounted disk.
    open(false, 2);
    carryOut(stopButton, "Stop this PCI module", "This device cannot be stopped now.");
    leave();
    expectOutput("cat /sys/bus/pci/slots/2/power; tail -n 1 /var/opt/kiv/yatkit/host.journal "
                 "| grep -o 'sda is mounted on [a-z/]*'",
                 "1 sda is mounted on /srv/data");

    // An error of that controller. QEMU before version 8 hands on none that is corrected, and none
    // of the network adapter.
    monitor("pcie_aer_inject_error s1 POISON_TLP");
    expectOutput("for i in $(seq 100); do grep -q 'NONFATAL 1' " + controller
                     + " && break; sleep 0.3; done; tail -n 1 " + controller,
                 "TOTAL_ERR_NONFATAL 1");
    open(false, 2);
    see("CE 0, UE 1");
    carryOut(clearButton, "Clear the MTBF count of this device?", done);
    leave();
    open(false, 2);
    see("CE 0, UE 0");
    leave();
    expectOutput("tail -n 1 " + controller, "TOTAL_ERR_NONFATAL 1"); // the kernel's stays

    // A card that is plugged in while mrvutil runs is there when it is opened again.
    open(false, 3);
    see("Not installed");
    monitor("device_add e1000e,bus=rp3,id=n9");
    leave();
    expectOutput("for i in $(seq 100); do [ -d /sys/class/net/eth1 ] && break; sleep 0.3; done; "
                 "ls /sys/class/net",
                 "eth0 eth1 lo");
    command("mrvutil -debug | grep -o 'Ethernet adapter 2 (eth1.*)' | head -n 1");
    see("Ethernet adapter 2 (eth1, 82574L");

    // The BMC.
    command("mrvfirmware");
    see("3.45");
    leave();
    command("exit");
    EXPECT_EQ(terminal.wait(patience), 0);
}
