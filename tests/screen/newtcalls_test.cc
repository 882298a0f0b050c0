// SPDX-License-Identifier: GPL-2.0-or-later
// What the program asks newt for where the screen alone does not tell.
#include "navigation.h"

using namespace keys;

namespace {

RunOptions watched(RunOptions options = {})
{
    options.rows = 40; // so that no window has to be made lower
    options.environment["YAT_SPY_MORE"] = "screen";
    return options;
}

// The calls from a point on, but for what comes with the drawing of the tree and of text boxes.
Calls callsSince(Session &session, size_t begin)
{
    Calls calls = session.calls();
    calls.erase(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(begin));
    std::erase(calls, "newtTrashScreen()");
    return calls;
}

// Draws the whole terminal and then the form of the window anew.
Calls redraw(const std::string &title)
{
    return {"newtSuspend()", "newtResume()", "newtDrawForm(" + title + ")"};
}

} // namespace

TEST(Refresh, DrawsTheFormAndTheScreen)
{
    for (const auto &[device, tabs] : {std::pair{&cpuModule, 14}, {&pciModule, 8}}) {
        Session session(watched());
        open(session, *device);
        const size_t opened = session.calls().size();
        press(session, tabs);
        const std::string title = std::string(device->name) + " --FT Server Utility";
        Calls calls = callsSince(session, opened);
        ASSERT_FALSE(calls.empty());
        EXPECT_TRUE(calls[0].starts_with("StatusChange"));
        calls.erase(calls.begin());
        EXPECT_EQ(calls, (Calls{"newtDrawForm(" + title + ")", "newtRefresh()"}));
    }
}

TEST(FirmwareUpdateScreen, IsNotDrawnAnewAfterASuccessNorAtTheEnd)
{
    Session session(watched({.script = "IfSupport 1\nBurnFirmware 1"}));
    open(session, cpuModule);
    const size_t opened = session.calls().size();
    press(session, 8);
    session.see("Update method:");
    press(session, 2);
    session.see("Copy the BIOS of the running CPU module to this one?");
    session.send(enter);
    session.see("The operation was successful.");
    session.send(enter);
    session.seeNot("successful");
    session.send(tab + enter);
    session.seeNot("Update method:");
    Calls calls = callsSince(session, opened);
    std::erase_if(calls, [](const std::string &call) { // of the help line
        return call.starts_with("newtPushHelpLine") || call == "newtRefresh()";
    });
    EXPECT_EQ(
        calls,
        (Calls{"newtGridWrappedWindow(Firmware Update)", "newtGridFree(Firmware Update, 1)"}
         + box("Firmware Update")
         + Calls{"IfSupport(CPU module 1, 9, 0) = 1", "BurnFirmware(CPU module 1, 10, FWCOPY) = 1"}
         + box("CPU module 1") + Calls{"newtPopWindow()"}));
}

TEST(GeneralScreen, IsDrawnAnewAfterTheBoxesThatTellOfNoError)
{
    const std::string window = "General Settings", question = "System Settings";
    const Calls tell = box(question) + redraw(window), asked = box(question);
    struct {
        std::string script, keysSent, text;
        Calls calls;
    } const cases[] = {
        {"", tab + tab + enter, "No setting was changed.", tell},
        {"", space + tab + tab + enter, "The settings were changed.",
         asked + Calls{"PutBBDriverSettings(2, 20003, 1, 0) = 1"} + tell},
        {"PutBBDriverSettings 0", space + tab + tab + enter,
         "The automatic firmware update could not be set.",
         asked + Calls{"PutBBDriverSettings(2, 20003, 1, 0) = 0"} + box("Error")},
        {"PutBBDriverSettings 0", tab + space + tab + enter,
         "The automatic module start could not be set.",
         asked + Calls{"PutBBDriverSettings(3, 20003, 1, 1) = 0"} + box("Error")},
    };
    for (const auto &[script, keysSent, text, wanted] : cases) {
        Session session(watched({.program = "mrvgeneral", .script = script}));
        session.see("Execute");
        const size_t opened = session.calls().size();
        session.send(keysSent);
        if (wanted != tell) {
            session.see("Change the settings of the server?");
            session.send(enter);
        }
        session.see(text);
        session.send(enter);
        session.seeNot(text);
        EXPECT_EQ(callsSince(session, opened), wanted);
    }
}

// ---- Titles

TEST(Titles, OfALongNameAreCutWhereTheirBuffersEnd)
{
    const std::string name(100, 'n'), utility = "FT Server Utility";
    for (const auto &[classCode, length] : {std::pair{"2", std::string::npos},
                                            {"3", size_t{79}},
                                            {"8", std::string::npos},
                                            {"13", std::string::npos}}) {
        RunOptions options = watched({.script = "IfSupport 1\nClearMTBF 1",
                                      .tree = std::string("0 1 ") + classCode + " 1 0 " + name});
        options.columns = 160;
        Session session(options);
        session.see("Exit");
        session.send(cpuModule.path + enter); // the first group has it, whatever its class
        session.see("Clear the MTBF count:");
        session.send(enter);
        session.see("Clear the MTBF count of this device?");
        session.send(enter);
        session.see("The operation was successful.");
        const auto opened = [](const std::string &title) {
            return "newtGridWrappedWindow(" + title + ")";
        };
        EXPECT_EQ(session.calls("newtGridWrappedWindow"),
                  (Calls{opened(utility), opened((name + " --" + utility).substr(0, length)),
                         opened(name.substr(0, 79)), opened(name.substr(0, 79))}));
    }
}

// ---- The screen's own beginning and end

namespace {

// All calls of a run with these on the screen and these once it is left.
Calls wholeRun(const Calls &onScreen, const Calls &released)
{
    return Calls{"OpenStrFile(/data/E_mrvutil.rc) = stream",
                 "initnewtlib() = 0",
                 "initslanglib() = 0",
                 "klogctl(6, null, 0)",
                 "newtInit()",
                 "newtSetColors(white black black lightgray black lightgray white black "
                 "yellow blue yellow blue black brown blue lightgray blue brown yellow blue "
                 "black lightgray white blue black brown black lightgray lightgray black "
                 "white blue yellow blue blue red blue lightgray black brown yellow brown "
                 "black brown)",
                 "newtCls()",
                 "newtPushHelpLine(  Esc: leave   Tab: next   Enter: open   Space: expand "
                 "or press   Arrows: move)",
                 "newtDrawRootText(0, 0, \"\")"}
           + onScreen + Calls{"newtCls()", "newtFinished()", "klogctl(8, null, 6)"} + released
           + Calls{"freenewtlib()", "freeslanglib()"};
}

const Calls released = {"ft_FunctionRelease() = 1"};

} // namespace

TEST(StartUp, AndEndAreInOrder)
{
    Session session(watched());
    session.see("Exit");
    session.send(ctrlO);
    session.expectExit(1);
    EXPECT_EQ(callsSince(session, 0),
              wholeRun({"ft_FunctionInit() = 1", "CreateTreeViewData(null) = 1",
                        "call_yat_is_ft(0) = 3", "newtGridWrappedWindow(FT Server Utility)",
                        "newtGridFree(FT Server Utility, 1)", "FreeTreeViewData(root) = 1"},
                       released));
}

TEST(StartUp, AndEndOfTheSettingsAreInOrder)
{
    Session session(watched({.program = "mrvgeneral"}));
    session.see("Execute");
    session.send(backTab + enter);
    session.expectExit(1);
    const std::string title = "General Settings";
    EXPECT_EQ(
        callsSince(session, 0),
        wholeRun({"ft_FunctionInit() = 1", "GetBBDriverSettings(2, 20003, 1) = 1",
                  "GetBBDriverSettings(3, 20003, 1) = 1", "newtGridWrappedWindow(" + title + ")",
                  "newtGridFree(" + title + ", 1)", "newtPopWindow()"},
                 released));
}

TEST(StartUp, AndEndAroundAnUpdateOfTheControllerAreInOrder)
{
    Session session(watched({.program = "mrvfirmware"}));
    session.see("Close");
    session.send(enter);
    session.send(tab + enter);
    session.expectExit(1);
    EXPECT_EQ(callsSince(session, 0),
              wholeRun({"LoadLibrary(/yathwinfo.dll)", "FreeLibrary(module) = 1",
                        "newtGridWrappedWindow(BMC Firmware)", "newtSuspend()",
                        "system(/usr/bmcfwupd/bmcfwupm)", "newtResume()", "newtPopWindow()"},
                       {}));
}

TEST(StartUp, OpensTheTraceLogBeforeAll)
{
    Session session({.environment = {{"YAT_SPY_MORE", "screen trace"}}});
    session.see("Exit");
    const Calls calls = session.calls();
    EXPECT_EQ(calls.at(0), "TraceLogInit(0, YATmrvutil, 0, 5, 0)");
    EXPECT_EQ(calls.at(1), "TraceLog(0, mrvmain, main, >)");
    EXPECT_EQ(session.calls("TraceLogInit").size(), 1u);
}

TEST(StartUp, OfDumpModeAsksNewtForNothing)
{
    Workspace workspace(watched({.arguments = {"-debug"}}));
    EXPECT_EQ(runPlain(workspace).status, 1);
    EXPECT_FALSE(workspace.calls().empty());
    for (const std::string &call : workspace.calls())
        EXPECT_FALSE(call.starts_with("newt")) << call;
}

TEST(Suspend, StopsTheProgramBetweenItsCalls)
{
    Session session(watched({.program = "toolkit", .environment = {{"TOOLKIT", "suspend"}}}));
    session.expectExit(1); // a session leader is not stopped for good
    expectInOrder(session.calls(), {"newtSuspend()", "raise(20)", "newtRefresh()", "newtResume()"});
}

// ---- The tree's drawing

TEST(TreeDrawing, IsDoneTwiceForAKeyThatDoesSomethingAndOnceForAnother)
{
    Session session(watched());
    session.see("Exit");
    const auto drawings = [&](const std::string &key) {
        const size_t before = session.calls("newtTrashScreen").size();
        session.send(key);
        return session.calls("newtTrashScreen").size() - before;
    };
    EXPECT_EQ(drawings(up), 1u);   // on the first item already
    EXPECT_EQ(drawings(down), 1u); // and the last
    EXPECT_EQ(drawings("x"), 1u);
    EXPECT_EQ(drawings(space), 2u);
    EXPECT_EQ(drawings(down), 2u);
    EXPECT_EQ(drawings(enter), 2u); // does nothing on a group
    EXPECT_EQ(drawings(up), 2u);
    EXPECT_EQ(drawings(pageDown), 2u);
    EXPECT_EQ(drawings(down), 1u);
    EXPECT_EQ(drawings(tab), 1u); // the focus goes
    EXPECT_EQ(drawings(tab), 1u); // and comes
}

// ---- Order of calls and records

TEST(Order, OfTheStartIsInterfaceRecordMachineTypeWindow)
{
    RunOptions options = watched();
    options.environment["YAT_SPY_MORE"] = "trace";
    Session session(options);
    session.see("Exit");
    session.send(cpuModule.path + enter);
    session.see("Clear the MTBF count:");
    expectInOrder(session.calls(),
                  {"TraceLog(0, mrvmain, main, >)", "OpenStrFile*", "ft_FunctionInit() = 1",
                   "TraceLog(0, mrvmain, EditParameter, >)", "CreateTreeViewData(null) = 1",
                   "call_yat_is_ft(0) = 3", "TraceLog(0, mrvmain, mkTree, >[IN]treeDatap=*",
                   "call_yat_is_ft(0) = 3", "TraceLog(0, cpusubwin, CpuSubWin, >[IN] datap = *",
                   "StatusChange(2, 1, 9001) = 0", "yat_ft_get_property(1, 1, 8, 1025) = 0"});
}

TEST(Order, OfAFailedTreeIsReleaseThenRecord)
{
    RunOptions options = watched({.tree = "0 null\n"});
    options.environment["YAT_SPY_MORE"] = "trace";
    Session session(options);
    session.expectExit(0);
    expectInOrder(session.calls(),
                  {"TraceLog(1, mrvmain, mkTree, <mkItem(...) to draw brance for devices failed.)",
                   "FreeTreeViewData(root) = 1",
                   "TraceLog(1, mrvmain, EditParameter, <mkTree(pTreeData) failed.)"});
}

// Only then is it begun, or done, what the record says.
TEST(Order, OfAWindowIsRecordWindowRecord)
{
    struct {
        std::string program, script, tree;
        Calls keysSent, wanted;
    } const cases[] = {
        {"mrvutil",
         "",
         "",
         {ctrlO},
         {"newtGridFree(WINDOW_TITLE_MRV_ID, 1)", "TraceLog(0, mrvmain, mkTree, <Finished*",
          "FreeTreeViewData(root) = 1", "TraceLog(0, mrvmain, EditParameter, <)", "newtFinished()",
          "klogctl(8, null, 6)", "ft_FunctionRelease() = 1", "freenewtlib()", "freeslanglib()",
          "TraceLog(0, mrvmain, main, <)"}},
        {"mrvutil",
         "CreateTreeViewData 0",
         "",
         {enter},
         {"newtGridWrappedWindow(grid 3, Error)", "newtPopWindow()",
          "TraceLog(1, mrvmain, EditParameter, <Create data structure for tree view failed.)"}},
        {"mrvutil",
         "",
         "0 9 2 1 0 too deep\n",
         {enter},
         {"newtGridWrappedWindow(grid 3, Error)", "newtPopWindow()",
          "TraceLog(1, mrvmain, TreeDrawItem, error happen when drawing the tree.)"}},
        {"mrvutil",
         "",
         "",
         {cpuModule.path + enter, backTab + enter},
         {"TraceLog(0, cpusubwin, CpuSubWin, >[IN]*", "CPGetText(QUERYWIN_DUMP_ID)",
          "TraceLog(0, cpusubwin, CpuSubWin, number = 1 devName = 2)", "StatusChange(2, 1, 9001)*",
          "newtPopWindow()", "TraceLog(0, cpusubwin, CpuSubWin, <)"}},
        {"mrvutil",
         "",
         "",
         {cpuModule.path + enter, tab + tab + tab + tab + tab + tab + tab + tab + tab + enter,
          enter},
         {"TraceLog(0, cpusubwin, BiosData, >*", "newtForm(null, null, 0)", "newtPopWindow()",
          "TraceLog(0, cpusubwin, BiosData, <)"}},
        {"mrvfirmware",
         "system -1",
         "",
         {enter, enter, tab + enter},
         {"TraceLog(0, firmware, Firmware, >)", "newtLabel(-1, -1, FIRMWARE_REVISION)", "system(*",
          "TraceLog(0, firmware, Entrance, >)", "newtForm(null, null, 0)", "newtPopWindow()",
          "TraceLog(0, firmware, Entrance, <)", "newtPopWindow()",
          "TraceLog(0, firmware, Firmware, <)"}},
        {"mrvgeneral",
         "",
         "",
         {backTab + enter},
         {"TraceLog(0, general, General, >)", "GetBBDriverSettings(2, 20003, 1)*",
          "newtForm(null, null, 0)", "newtPopWindow()", "TraceLog(0, general, General, <)"}},
        {"mrvutil",
         "",
         "",
         {cpuModule.path + enter, tab + tab + tab + tab + tab + tab + tab + tab + enter,
          backTab + enter},
         {"TraceLog(0, firmupdate, FirmUpdate, >)", "newtForm(null, null, 0)", "newtPopWindow()",
          "TraceLog(0, firmupdate, FirmUpdate, <)"}},
    };
    for (const auto &[program, script, tree, keysSent, wanted] : cases) {
        RunOptions options = watched({.program = program, .script = script, .tree = tree});
        options.environment["YAT_SPY_MORE"] = "screen forms texts trace";
        Session session(options);
        session.see("┤");
        for (const std::string &key : keysSent)
            session.send(key);
        session.stillPicture();
        expectInOrder(session.calls(), wanted);
    }
}

TEST(Questions, AreFetchedAtTheOpeningButForTheMtbfType)
{
    const Calls ofCpu = {"CPGetText(QUERYWIN_CLEAR_ID)", "CPGetText(QUERYWIN_STOP_ID)",
                         "CPGetText(QUERYWIN_START_ID)", "CPGetText(QUERYWIN_CHANGE_ID)",
                         "CPGetText(QUERYWIN_DUMP_ID)"};
    const Calls ofPci = {"CPGetText(QUERYWIN_CLEAR_ID)", "CPGetText(QUERYWIN_PCISTOP_ID)",
                         "CPGetText(QUERYWIN_PCISTART_ID)"};
    const Calls ofScsi = {"CPGetText(QUERYWIN_CLEAR_ID)", "CPGetText(QUERYWIN_ADAPTERSTOP_ID)",
                          "CPGetText(QUERYWIN_ADAPTERSTART_ID)"};
    const Calls ofEthernet = {"CPGetText(QUERYWIN_CLEAR_ID)", "CPGetText(QUERYWIN_ETHERNETSTOP_ID)",
                              "CPGetText(QUERYWIN_ETHERNETSTART_ID)"};
    for (const auto &[device, keys, isModule] : {std::tuple{&cpuModule, ofCpu, true},
                                                 {&pciModule, ofPci, true},
                                                 {&scsiAdapter, ofScsi, false},
                                                 {&ethernetAdapter, ofEthernet, false}}) {
        RunOptions options = watched();
        options.environment["YAT_SPY_MORE"] = "texts";
        Session session(options);
        open(session, *device);
        EXPECT_EQ(session.calls("CPGetText(QUERYWIN"), keys);
        session.send(enter); // clear
        session.see("Clear the MTBF count of this device?");
        session.send(ctrlA);
        session.seeNot("of this device?");
        EXPECT_EQ(session.calls("CPGetText(QUERYWIN"), keys);
        if (!isModule)
            continue;
        press(session, 4);
        session.see("Change the MTBF type of this module?");
        EXPECT_EQ(session.calls("CPGetText(QUERYWIN"),
                  (keys + Calls{"CPGetText(QUERYWIN_CHANGEMTBFTYPE_ID)"}));
    }
}
