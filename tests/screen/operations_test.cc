// SPDX-License-Identifier: GPL-2.0-or-later
// The buttons of the device windows, each in each outcome.
#include "navigation.h"

namespace {

RunOptions watched(const char *machine, const std::string &script = "")
{
    return {.machine = machine,
            .rows = 40, // so that no window has to be made lower
            .script = script,
            .environment = {{"YAT_SPY_MORE", "screen"}}};
}

// Goes back to the first button and expects the window to be as it was.
void expectWindowAsBefore(Session &session, const std::string &picture, int tabs)
{
    for (int i = 0; i < tabs; ++i)
        session.send(keys::backTab);
    EXPECT_TRUE(session.terminal().waitUntil([&] {
        return session.terminal().picture() == picture;
    })) << picture
        << session.terminal().picture();
}

// ---- Operations

struct Button {
    const char *name;
    const Device *device;
    const char *machine;
    int tabs;
    const char *question;
    int support;
    const char *call; // the operation with what follows the device's name
    const char *notSupported, *failed;
};

const char clearQuestion[] = "Clear the MTBF count of this device?";
const char noClear[] = "The MTBF count of this device cannot be cleared.";
const char clearFailed[] = "The MTBF count could not be cleared.";
const char noStop[] = "This device cannot be stopped now.";
const char stopFailed[] = "The device could not be stopped.";
const char noStart[] = "This device cannot be started now.";
const char startFailed[] = "The device could not be started.";
const char typeQuestion[] = "Change the MTBF type of this module?";
const char noType[] = "The MTBF type of this module cannot be set.";
const char typeFailed[] = "The MTBF type could not be set.";

const Button buttons[] = {
    {"cpu clear", &cpuModule, "CEDAR", 0, clearQuestion, 1, "ClearMTBF 2", noClear, clearFailed},
    {"cpu stop", &cpuModule, "CEDAR", 5, "Stop this CPU module?", 7, "InitBringDown 8", noStop,
     stopFailed},
    {"cpu start", &cpuModule, "CEDAR", 6, "Start this CPU module?", 5, "InitBringUp 6", noStart,
     startFailed},
    {"cpu type", &cpuModule, "CEDAR", 4, typeQuestion, 13, "SetMtbfType 14, 2", noType, typeFailed},
    {"plain cpu clear", &cpuModule, "BIRCH", 0, clearQuestion, 1, "ClearMTBF 2", noClear,
     clearFailed},
    {"plain cpu stop", &cpuModule, "BIRCH", 1, "Stop this CPU module?", 7, "InitBringDown 8",
     noStop, stopFailed},
    {"plain cpu start", &cpuModule, "BIRCH", 2, "Start this CPU module?", 5, "InitBringUp 6",
     noStart, startFailed},
    {"pci clear", &pciModule, "CEDAR", 0, clearQuestion, 15, "ClearMTBF 16", noClear, clearFailed},
    {"pci stop", &pciModule, "CEDAR", 5, "Stop this PCI module and its adapters?", 21,
     "InitBringDown 22", noStop, stopFailed},
    {"pci start", &pciModule, "CEDAR", 6, "Start this PCI module and its adapters?", 19,
     "InitBringUp 20", noStart, startFailed},
    {"pci type", &pciModule, "CEDAR", 4, typeQuestion, 23, "SetMtbfType 24, 1", noType, typeFailed},
    {"plain pci clear", &pciModule, "ALDER", 0, clearQuestion, 15, "ClearMTBF 16", noClear,
     clearFailed},
    {"plain pci start", &pciModule, "BIRCH", 2, "Start this PCI module and its adapters?", 19,
     "InitBringUp 20", noStart, startFailed},
    {"plain pci stop", &pciModule, "ALDER", 1, "Stop this PCI module and its adapters?", 21,
     "InitBringDown 22", noStop, stopFailed},
    {"scsi clear", &scsiAdapter, "CEDAR", 0, clearQuestion, 25, "ClearMTBF 26", noClear,
     clearFailed},
    {"ethernet clear", &ethernetAdapter, "CEDAR", 0, clearQuestion, 31, "ClearMTBF 32", noClear,
     clearFailed},
};

class EveryOperation : public testing::TestWithParam<Button> {
protected:
    const Button &button = GetParam();
    const std::string operation =
        std::string(button.call).substr(0, std::string(button.call).find(' '));
    const std::string device = button.device->name;
    const std::string window = device + " --FT Server Utility";
    const std::string supportCall =
        "IfSupport(" + device + ", " + std::to_string(button.support) + ", 0) = ";
    const std::string operationCall = operation + "(" + device + ", "
                                      + std::string(button.call).substr(operation.size() + 1)
                                      + ") = ";
    const Calls question = box(device);

    // Opens the window and presses the button, up to its question.
    void ask(Session &session)
    {
        open(session, *button.device);
        picture = session.stillPicture();
        opened = session.calls().size();
        press(session, button.tabs);
        session.see(button.question);
    }

    // All that the program asked for since the window was opened, but for the help line.
    Calls callsSince(Session &session) const
    {
        Calls calls = session.calls();
        calls.erase(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(opened));
        std::erase_if(calls, [](const std::string &call) {
            return call.starts_with("newtPushHelpLine") || call == "newtRefresh()";
        });
        return calls;
    }

    void expectBox(Session &session, const std::string &title, const std::string &text)
    {
        session.see(text);
        session.see("┤ " + title + " ├");
        session.send(keys::enter);
        session.seeNot(text);
        expectWindowAsBefore(session, picture, button.tabs);
    }

    std::string picture;
    size_t opened = 0;
};

TEST_P(EveryOperation, DeclinedCallsNothing)
{
    // The cancel button, and the hot key that stands for it.
    for (const std::string &answer : {keys::tab + keys::enter, keys::ctrlA}) {
        Session session(watched(button.machine));
        ask(session);
        session.send(answer);
        session.seeNot(button.question);
        expectWindowAsBefore(session, picture, button.tabs);
        EXPECT_EQ(callsSince(session), question);
    }
}

TEST_P(EveryOperation, NotSupportedSaysSo)
{
    Session session(watched(button.machine, "IfSupport 0"));
    ask(session);
    session.send(keys::enter);
    expectBox(session, "Error", button.notSupported);
    EXPECT_EQ(callsSince(session), (question + Calls{supportCall + "0"} + box("Error")));
}

TEST_P(EveryOperation, FailedSaysSo)
{
    for (const std::string result : {"0", "-1", "2"}) {
        Session session(watched(button.machine, "IfSupport -7\n" + operation + " " + result));
        ask(session);
        session.send(keys::enter);
        expectBox(session, "Error", button.failed);
        EXPECT_EQ(callsSince(session),
                  (question + Calls{supportCall + "-7", operationCall + result} + box("Error")));
    }
}

TEST_P(EveryOperation, DoneDrawsTheScreenAnewAndSaysSo)
{
    Session session(watched(button.machine, "IfSupport 1\n" + operation + " 1"));
    ask(session);
    session.send(keys::enter);
    expectBox(session, device, "The operation was successful.");
    EXPECT_EQ(callsSince(session), (question
                                    + Calls{supportCall + "1", operationCall + "1", "newtSuspend()",
                                            "newtResume()", "newtDrawForm(" + window + ")"}
                                    + box(device)));
}

INSTANTIATE_TEST_SUITE_P(Devices, EveryOperation, testing::ValuesIn(buttons),
                         [](const auto &info) { return inTestName(info.param.name); });

// ---- Buttons that only refuse

struct Refusal {
    const char *name;
    const Device *device;
    const char *machine;
    int tabs;
    const char *text;
};

const char noDiagnosis[] = "Diagnosis is not supported for this device.";

const Refusal refusals[] = {
    {"cpu diagnose", &cpuModule, "CEDAR", 7, noDiagnosis},
    {"cpu change", &cpuModule, "CEDAR", 10,
     "Changing the jump switch is not supported for this board."},
    {"cpu execute", &cpuModule, "CEDAR", 13, "Memory dumps are not supported for this module."},
    {"plain cpu diagnose", &cpuModule, "ALDER", 3, noDiagnosis},
    {"plain cpu change", &cpuModule, "ALDER", 6,
     "Changing the jump switch is not supported for this board."},
    {"plain cpu execute", &cpuModule, "ALDER", 9,
     "Memory dumps are not supported for this module."},
    {"pci diagnose", &pciModule, "CEDAR", 7, noDiagnosis},
    {"plain pci diagnose", &pciModule, "BIRCH", 3, noDiagnosis},
    {"scsi diagnose", &scsiAdapter, "CEDAR", 1, noDiagnosis},
};

class EveryRefusal : public testing::TestWithParam<Refusal> {};

TEST_P(EveryRefusal, AsksNothingAndCallsNothing)
{
    const Refusal &refusal = GetParam();
    Session session(watched(refusal.machine));
    open(session, *refusal.device);
    const std::string picture = session.stillPicture();
    const Calls before = session.calls();
    press(session, refusal.tabs);
    session.see(refusal.text);
    session.see("┤ Error ├");
    session.send(keys::enter);
    session.seeNot(refusal.text);
    expectWindowAsBefore(session, picture, refusal.tabs);
    EXPECT_EQ(session.calls(), before + box("Error"));
}

INSTANTIATE_TEST_SUITE_P(Devices, EveryRefusal, testing::ValuesIn(refusals),
                         [](const auto &info) { return inTestName(info.param.name); });

} // namespace

// ---- Long operations

TEST(LongOperation, IsShownOnTheHelpLineAndDropsWhatIsTyped)
{
    for (const char *result : {"0", "1"}) {
        Session session({.script = std::string("InitBringDown ") + result + " held"});
        open(session, pciModule);
        press(session, 5);
        session.see("Stop this PCI module");
        session.send(keys::enter);
        session.see("  PCI module 1: Stop ...");
        session.send(keys::enter + keys::enter + keys::enter); // would press what comes next
        ASSERT_TRUE(session.terminal().waitUntil([&] { return session.terminal().unread() == 3; }));
        session.files().letGo();
        const std::string box =
            *result == '1' ? "The operation was successful." : "The device could not be stopped.";
        session.see(box);
        session.seeNot("Stop ...");
        session.expectScreen(std::string("devices/after-long-operation-") + result);
        session.send(keys::enter);
        session.seeNot(box);
        EXPECT_EQ(session.calls("InitBringDown").size(), 1u);
    }
}

TEST(LongOperation, LeavesTheWindowAboveTheHelpLineAsItWas)
{
    Session session({.script = "InitBringDown 0 held"});
    open(session, cpuModule);
    session.expectScreen("devices/cpu-CEDAR-en-80x24");
    press(session, 5);
    session.see("Stop this CPU module?");
    session.send(keys::enter);
    session.see("  CPU module 1: Stop ...");
    session.files().letGo();
    session.see("The device could not be stopped.");
    session.send(keys::enter + keys::backTab + keys::backTab + keys::backTab + keys::backTab
                 + keys::backTab);
    session.expectScreen("devices/cpu-CEDAR-en-80x24");
}

TEST(LongOperation, IsShownInJapaneseOnAJapaneseSystem)
{
    Session session({.language = "ja_JP.UTF-8", .script = "InitBringDown 0 held"});
    openJapanese(session, pciModule);
    press(session, 5);
    session.see("PCIモジュールとアダプタを停止します。よろしいですか?");
    session.send(keys::enter);
    session.see("  PCI module 1: 停止 ...");
    session.files().letGo();
    session.see("┤ Error ├");
    session.seeNot("停止 ...");
}

TEST(LongOperation, LetsNothingThroughWhileItsScreenIsDrawnAnew)
{
    Session session({.script = "InitBringDown 1\nnewtSuspend real held",
                     .environment = {{"YAT_SPY_MORE", "screen"}}});
    open(session, pciModule);
    press(session, 5);
    session.see("Stop this PCI module");
    session.send(keys::enter);
    ASSERT_TRUE(
        session.terminal().waitUntil([&] { return !session.calls("newtSuspend").empty(); }));
    const Terminal::Modes modes = session.terminal().modes();
    EXPECT_FALSE(modes.canonical || modes.echo);
    session.terminal().send("\x03\x1a typed" + keys::enter); // Ctrl-C, Ctrl-Z
    ASSERT_TRUE(session.terminal().waitUntil([&] { return session.terminal().unread() == 9; }));
    session.files().letGo();
    session.see("The operation was successful.");
    EXPECT_FALSE(session.terminal().contains("typed"));
    EXPECT_FALSE(session.terminal().contains("^C"));
    session.send(keys::enter);
    session.seeNot("The operation was successful.");
    session.send("\x1b");
    session.see("Exit");
}
