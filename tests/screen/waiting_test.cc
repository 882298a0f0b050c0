// SPDX-License-Identifier: GPL-2.0-or-later
// What the user sees while the machine takes its time, and what becomes of what is typed then.
#include "navigation.h"

#include <csignal>
#include <cstring>
#include <sys/syscall.h>

using namespace keys;

namespace {

// What the program asks for, and where; the script holds the answer.
struct Reading {
    const char *name;
    const char *script;
    const char *line;  // on the help line meanwhile
    const char *after; // seen then
    const char *program = "mrvutil";
    const Device *device = nullptr; // whose window is opened
    std::string keysSent{};         // in that window
    bool hasBox = false;            // which is left then
};

const std::string nineTabs = tab + tab + tab + tab + tab + tab + tab + tab + tab;

const Reading readings[] = {
    {"interface", "ft_FunctionInit real held", "  FT server ...", "Exit"},
    {"tree", "CreateTreeViewData real held", "  FT server ...", "Exit"},
    {"machine type", "call_yat_is_ft real held", "  FT server ...", "Exit"},
    {"window", "StatusChange real held", "  PCI module 1 ...", "Close", "mrvutil", &pciModule},
    {"property", "yat_ft_get_property real held", "  PCI module 1 ...", "Close", "mrvutil",
     &pciModule},
    {"property behind an error box", "StatusChange -1\nyat_ft_get_property real held",
     "  PCI module 1 ...", "Close", "mrvutil", &pciModule, "", true},
    {"refresh", "StatusChange real at=1\nStatusChange real held", "  CPU module 1: Refresh ...",
     "Close", "mrvutil", &cpuModule, backTab + backTab + enter},
    {"BIOS", "yat_ft_get_property real at=1\nyat_ft_get_property real held", "  BIOS Data ...",
     "┤ BIOS Data ├", "mrvutil", &cpuModule, nineTabs + enter},
    {"support", "IfSupport 0 held", "  PCI module 1: Clear ...", "┤ Error ├", "mrvutil", &pciModule,
     enter, true},
    {"settings interface", "ft_FunctionInit real held", "  General Settings ...", "Execute",
     "mrvgeneral"},
    {"settings", "GetBBDriverSettings real held", "  General Settings ...", "Execute",
     "mrvgeneral"},
    {"written settings", "PutBBDriverSettings real held", "  System Settings ...",
     "The settings were changed.", "mrvgeneral", nullptr, space + tab + tab + enter, true},
    {"BMC", "LoadLibrary real held", "  BMC Firmware ...", "Close", "mrvfirmware"},
};

class EveryReading : public testing::TestWithParam<Reading> {
protected:
    const Reading &reading = GetParam();

    void ask(Session &session) const
    {
        if (reading.device) {
            session.see("Exit");
            session.send(reading.device->path + enter);
        }
        if (!reading.keysSent.empty()) {
            session.see(reading.device ? "MTBF" : "Execute");
            session.send(reading.keysSent);
        }
        if (reading.hasBox) {
            session.terminal().waitUntil([&] {
                return session.terminal().contains("  ok  ") || session.terminal().contains("OK");
            });
            session.send(enter);
        }
    }
};

TEST_P(EveryReading, IsToldWhenItTakesLongAndDropsWhatIsTyped)
{
    Session session({.program = reading.program, .script = reading.script});
    ask(session);
    session.see(reading.line);
    EXPECT_NE(session.terminal().rows().back().find(reading.line), std::string::npos);
    session.send(tab + "\x0f\x1b[1;5A" + enter + space); // would leave what comes next
    session.files().letGo();
    session.see(reading.after);
    session.seeNot("...");
    const std::string after = session.stillPicture();
    EXPECT_EQ(session.terminal().output().find('\0'), std::string::npos);

    // As when it is quick; then nothing is told.
    std::string quick = reading.script;
    for (size_t at; (at = quick.find(" held")) != quick.npos;)
        quick.erase(at, strlen(" held"));
    Session other({.program = reading.program, .script = quick});
    ask(other);
    other.see(reading.after);
    EXPECT_EQ(after, other.stillPicture());
    EXPECT_EQ(other.terminal().output().find(reading.line), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Waiting, EveryReading, testing::ValuesIn(readings),
                         [](const auto &info) { return inTestName(info.param.name); });

constexpr char heldScript[] = "StatusChange real held";

// Opens a window of which the state is not told before the test lets go.
void openHeld(Session &session)
{
    session.see("Exit");
    session.send(pciModule.path + enter);
    session.see("  PCI module 1 ...");
}

} // namespace

TEST(Waiting, IsShownOnEveryTerminal)
{
    for (const char *term : terminalTypes) {
        Session session({.term = term, .script = heldScript});
        openHeld(session);
        session.files().letGo();
        session.see("Close");
        session.seeNot("...");
    }
}

TEST(Waiting, IsShownOnceForAnOperationAndAtOnce)
{
    for (const std::string held : {"", " held"}) { // while it is asked whether there is support
        Session session({.script = "IfSupport 1" + held + "\nClearMTBF 1"});
        open(session, pciModule);
        session.send(enter);
        session.see("Clear the MTBF count of this device?");
        session.send(enter);
        if (!held.empty()) {
            session.see("PCI module 1: Clear ...");
            session.files().letGo();
        }
        session.see("The operation was successful.");
        const std::string &output = session.terminal().output();
        const size_t first = output.find("PCI module 1: Clear ...");
        EXPECT_NE(first, output.npos);
        EXPECT_EQ(first, output.rfind("PCI module 1: Clear ..."));
    }
}

TEST(Waiting, WritesNothingForALargerTerminal)
{
    for (const auto &[rows, columns] : {std::pair{12, 80}, {24, 40}}) {
        Session session({.script = "IfSupport 1 held\nClearMTBF 1"});
        open(session, pciModule);
        session.send(enter);
        session.see("Clear the MTBF count of this device?");
        session.send(enter);
        session.seeNot("Clear the MTBF count of this device?");
        session.terminal().resize(rows, columns);
        const size_t before = session.terminal().output().size();
        session.files().letGo();
        session.see("The operation was successful.");
        EXPECT_EQ(session.terminal().output().find("Clear ...", before), std::string::npos);
    }
}

// The name is cut where the screen ends, in front of a character that has no room.
TEST(Waiting, FitsANarrowScreen)
{
    for (const char *device : {"0 1 2 1 0 ", "0 1 3 1 0 "}) {
        Session session({.language = "ja_JP.UTF-8",
                         .rows = 12,
                         .columns = 40,
                         .script = heldScript,
                         .tree = device + wideName() + "\n"});
        session.see("Esc");
        session.see("┤");
        session.send(cpuModule.path);
        session.see("n漢");
        const std::string help = session.terminal().rows().back();
        session.send(enter);
        session.see("  n漢");
        EXPECT_EQ(session.terminal().rows().back(),
                  "  " + wideName().substr(0, 1 + 18 * strlen("漢")) + " ");
        session.files().letGo();
        session.see("┤ n漢");
        EXPECT_TRUE(session.terminal().waitUntil([&] {
            return session.terminal().rows().back() == help;
        })) << session.terminal().picture();
    }
}

TEST(Waiting, EndsWithASignalAsElsewhere)
{
    Session session({.script = heldScript});
    openHeld(session);
    // In the colours that S-Lang takes for the last ones.
    EXPECT_TRUE(session.terminal().waitUntil(
        [&] { return session.terminal().output().ends_with("\x1b[37m\x1b[40m"); }));
    session.terminal().kill(SIGRTMAX - 1); // by which it is told of the time, but not by others
    session.expectSignal(SIGRTMAX - 1);
    EXPECT_FALSE(session.terminal().inAlternateScreen());
}

// By what time it took, that is; what is done to the machine is told of at once.
TEST(Waiting, IsNotToldWhereTheSystemHasNoTimer)
{
    Session session({.script = "timer_create -1\nStatusChange real delay=1500\n"
                               "InitBringDown 1 held"});
    session.see("Exit");
    session.send(pciModule.path + enter);
    session.see("Close");
    EXPECT_EQ(session.terminal().output().find("PCI module 1 ..."), std::string::npos);
    press(session, 5);
    session.see("Stop this PCI module");
    session.send(enter);
    session.see("  PCI module 1: Stop ...");
    session.files().letGo();
    session.see("The operation was successful.");
    session.seeNot("Stop ...");
}

TEST(Waiting, IsOverWhereTheTerminalTakesNoOutputMeanwhile)
{
    Session session({.script = heldScript});
    openHeld(session);
    session.send("\x13"); // until the other one, as Ctrl-S does
    session.files().letGo();
    EXPECT_TRUE(session.terminal().waitUntil([&] { // until it can't but wait for the terminal
        const std::string call =
            readFile("/proc/" + std::to_string(session.terminal().pid()) + "/syscall");
        return call.starts_with(std::to_string(SYS_write) + " ");
    }));
    session.terminal().send("\x11");
    session.see("┤ PCI module 1 --FT Server Utility ├");
    session.see("Esc: leave");
    session.seeNot("...");
}

TEST(Waiting, EndsInOrderWhereTheTerminalIsGoneMeanwhile)
{
    Session session({.script = heldScript, .ignoreHangup = true});
    openHeld(session);
    session.terminal().hangUp();
    session.files().letGo();
    session.expectExit(0);
    expectInOrder(session.calls(), {"StatusChange*", "ft_FunctionRelease() = 1"});
}

TEST(Waiting, TakesAPasteToItsEnd)
{
    Session session({.script = heldScript});
    openHeld(session);
    session.send("\x1b[200~one" + enter);
    session.files().letGo();
    session.terminal().settle(std::chrono::milliseconds(50));
    session.terminal().send(std::string("\x0f two") + enter + "\x1b[201~");
    session.see("Close");
    session.expectScreen("devices/pci-CEDAR-en-80x24");
}

// As long as S-Lang waits for a key at a time, and longer.
TEST(Waiting, GoesOnForHalfAMinute)
{
    if (!getenv("YAT_FULL"))
        GTEST_SKIP() << "it takes that long";
    Session session({.script = "StatusChange real delay=30000"});
    openHeld(session);
    session.send(enter + tab + "\x1b[200~pasted\x1b[201~");
    EXPECT_TRUE(session.terminal().waitUntil([&] { return session.terminal().contains("Close"); },
                                             3 * deadline));
    session.expectScreen("devices/pci-CEDAR-en-80x24");
    EXPECT_EQ(session.calls("StatusChange").size(), 1u);
}

// newt shows for a moment that a button is pressed.
TEST(Waiting, ForAQuestionAnswersItWithNoKeyOfBefore)
{
    Session general({.program = "mrvgeneral"});
    general.see("Execute");
    general.send(space + tab + tab + enter + enter);
    general.see("Change the settings of the server?");
    general.stillPicture();
    general.see("Change the settings of the server?");
    EXPECT_EQ(general.calls("PutBBDriverSettings"), Calls{});

    Session module({.script = "IfSupport 1"});
    open(module, cpuModule);
    press(module, 8);
    module.see("Update method:");
    module.send(tab + tab + enter + enter);
    module.see("Copy the BIOS of the running CPU module to this one?");
    module.stillPicture();
    module.see("Copy the BIOS of the running CPU module to this one?");
    EXPECT_EQ(module.calls("BurnFirmware"), Calls{});
}
