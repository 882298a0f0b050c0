// SPDX-License-Identifier: GPL-2.0-or-later
// Every failure of the start-up and of the platform: what is traced, what is undone, what is told.
#include "navigation.h"

#include <algorithm>

namespace {

struct Failure {
    const char *name;
    const char *script;
    std::vector<std::string> trace; // in order
    std::vector<std::string> calls; // all of them
    bool usesScreen = false;
};

const std::string opened = "OpenStrFile(/data/E_mrvutil.rc) = stream";

const Failure failures[] = {
    {"catalogue",
     "OpenStrFile 0",
     {"0 main >", "0 main enter utility/main() of mrvutil.",
      "1 main <open file /data/E_mrvutil.rc error."},
     {"OpenStrFile(/data/E_mrvutil.rc) = null"}},
    {"newt",
     "initnewtlib -1",
     {"1 main <Init /usr/lib/libnewt.so failed!"},
     {opened, "initnewtlib() = -1"}},
    {"slang",
     "initslanglib -1",
     {"1 main <Init /usr/lib/libslang.so failed!"},
     {opened, "initnewtlib() = 0", "initslanglib() = -1", "freenewtlib()"}},
    {"memory", "OpenStrFile real text=-5", {"2 main <malloc error."}, {opened}},
    {"interface",
     "ft_FunctionInit 0",
     {"0 EditParameter >", "1 EditParameter <Init keldor I/F by ft_init failed.",
      "1 main EditParameter failed,can't get data from lib.",
      "1 main Release keldor I/F by ft_release failed.", "0 main <"},
     {opened, "initnewtlib() = 0", "initslanglib() = 0", "klogctl(6, null, 0)",
      "ft_FunctionInit() = 0", "klogctl(8, null, 6)", "ft_FunctionRelease() = 0", "freenewtlib()",
      "freeslanglib()"},
     true},
    {"handle",
     "handle none",
     {"0 EditParameter >", "1 EditParameter <handle of /opt/kiv/yatkit/lib/yatcore.dll is NULL.",
      "1 main EditParameter failed,can't get data from lib.", "0 main <"},
     {opened, "initnewtlib() = 0", "initslanglib() = 0", "klogctl(6, null, 0)",
      "ft_FunctionInit() = 1", "klogctl(8, null, 6)", "ft_FunctionRelease() = 0", "freenewtlib()",
      "freeslanglib()"},
     true},
};

class EveryFailure : public testing::TestWithParam<Failure> {};

TEST_P(EveryFailure, IsTracedAndUndone)
{
    const Failure &failure = GetParam();
    Session session({.script = failure.script});
    session.expectExit(0);
    expectInOrder(session.trace(), failure.trace);
    EXPECT_EQ(session.trace().back(), failure.trace.back());
    EXPECT_EQ(session.calls(), failure.calls);
    if (!failure.usesScreen) {
        const std::string output = session.terminal().output();
        EXPECT_EQ(output,
                  std::string(failure.name) == "memory" ? "System call error!Can't malloc!" : "");
    }
    EXPECT_FALSE(session.terminal().inAlternateScreen());
}

// Without a screen the same goes wrong in the same way.
TEST_P(EveryFailure, IsTracedAndUndoneInDumpModeToo)
{
    const Failure &failure = GetParam();
    Workspace workspace({.arguments = {"-debug"}, .script = failure.script});
    const Finished run = runPlain(workspace);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output,
              std::string(failure.name) == "memory" ? "\nSystem call error!Can't malloc!" : "\n");
    expectInOrder(workspace.trace(), failure.trace);
    Calls calls = failure.calls;
    std::erase_if(calls, [](const std::string &call) { return call.starts_with("klogctl"); });
    EXPECT_EQ(workspace.calls(), calls);
}

INSTANTIATE_TEST_SUITE_P(Failures, EveryFailure, testing::ValuesIn(failures),
                         [](const auto &info) { return std::string(info.param.name); });

} // namespace

TEST(Failure, ToReadTheDevicesIsShown)
{
    for (const auto &[language, text, name] :
         {std::tuple{"en_US.UTF-8", "The devices of the server cannot be read.", "en"},
          {"ja_JP.UTF-8", "サーバの装置情報を取得できません。", "ja"}}) {
        Session session({.language = language, .script = "CreateTreeViewData 0 endless"});
        session.see(text);
        session.expectScreen(std::string("failure/devices-") + name);
        session.send(keys::ctrlA + keys::enter);
        session.expectExit(0);
        expectInOrder(session.trace(), {"0 EditParameter get ft function pointer by "
                                        "ft_FunctionInit.",
                                        "1 EditParameter <Create data structure for tree view "
                                        "failed.",
                                        "1 main EditParameter failed,can't get data from lib."});
        EXPECT_TRUE(session.calls("FreeTreeViewData").empty());
    }
}

TEST(Failure, OfTheMachineTypeQueryIsASuccessWithoutATree)
{
    Session yatsim({.program = "yatsim",
                    .arguments = {"inject", "call_yat_is_ft", "-1"},
                    .environment = {{"LD_PRELOAD", "(unset)"}}});
    yatsim.expectExit(0);
    Session session({.state = yatsim.files().stateDirectory()});
    session.expectExit(1);
    EXPECT_EQ(session.terminal().output().find("FT Server Utility"), std::string::npos);
    EXPECT_TRUE(session.terminal().output().ends_with(
        "mrvutil: the machine does not say whether it is a fault-tolerant server; the trace log "
        "may say why\r\n"))
        << session.terminal().output();
    expectInOrder(session.trace(),
                  {"1 EditParameter call_yat_is_ft failed in libwinshim.so.", "0 EditParameter <"});
    EXPECT_EQ(session.calls("FreeTreeViewData").size(), 1u);
}

TEST(Failure, ToReleaseTheInterfaceLeavesTheStatus)
{
    Session session({.script = "ft_FunctionRelease 0"});
    session.see("Exit");
    session.send(keys::ctrlO);
    session.expectExit(1);
    expectInOrder(session.trace(), {"1 main Release keldor I/F by ft_release failed.", "0 main <"});
}

TEST(Failure, IsNoOtherResultOfTheStartThanTheOneThatSaysSo)
{
    for (const char *machineType : {"4", "-2"}) {
        Session session(
            {.script = std::string("initnewtlib -2\ninitslanglib 7\nft_FunctionInit -3\n"
                                   "CreateTreeViewData -1\nFreeTreeViewData 0\n"
                                   "ft_FunctionRelease -1\ncall_yat_is_ft ")
                       + machineType,
             .tree = "0 1 2 1 0 module"});
        session.see("Exit");
        session.send(keys::ctrlO);
        session.expectExit(1);
        const std::vector<std::string> trace = session.trace();
        expectInOrder(trace, {std::string("0 EditParameter machine type is:") + machineType
                                  + "[1:ALDER,2:BIRCH,3:CEDAR]",
                              "0 main <"});
        for (const std::string &record : trace)
            EXPECT_TRUE(record.starts_with("0 ")) << record;
    }
}

TEST(Failure, WithoutATreeIsTraced)
{
    // The platform says that it made a tree, but there is none.
    Session session({.script = "CreateTreeViewData 1"});
    session.expectExit(0);
    expectInOrder(session.trace(), {"0 mkTree >[IN]treeDatap=(nil)", "1 mkTree <treeDatap is NULL!",
                                    "1 EditParameter <mkTree(pTreeData) failed.",
                                    "1 main EditParameter failed,can't get data from lib."});
    EXPECT_EQ(session.calls("FreeTreeViewData").size(), 1u);
}

TEST(Failure, InADescriptionIsToldWhenTheScreenIsGone)
{
    Workspace files({});
    const std::string description = (files.directory() / "machine.toml").string();
    writeFile(description, "name = \"x\"\ntype = \"OAK\"\n");
    Session session({.machine = description});
    session.see("The devices of the server cannot be read.");
    session.send(keys::enter);
    session.expectExit(0);
    const std::string complaint =
        description
        + ":2: wrong value for 'type', expected one of \"ALDER\", \"BIRCH\", "
          "\"CEDAR\", \"PLAIN\"";
    EXPECT_NE(session.terminal().output().find("mrvutil: " + complaint + "\r\n"),
              std::string::npos);
    EXPECT_FALSE(session.terminal().inAlternateScreen());
    expectInOrder(session.trace(), {"1 tell " + complaint, "0 EditParameter >"});
    const std::vector<std::string> told = session.trace("yatcore");
    EXPECT_EQ(std::ranges::count(told, "1 tell " + complaint), 1);
}

TEST(Failure, OfAnEmptyCatalogueLeavesTheTextsEmpty)
{
    Session session({.script = "OpenStrFile real text=0"});
    session.see("[+]");
    EXPECT_FALSE(session.terminal().contains("FT"));
    session.send(keys::ctrlO);
    session.expectExit(1);
}

TEST(Failure, ToEndATextIsMadeUpFor)
{
    const std::string cut(1024, 'x');
    RunOptions options{.machine = "ALDER",
                       .script = "StatusChange 0 endless\nyat_ft_get_property 0 endless",
                       .environment = {{"YAT_SPY_MORE", "screen forms"}}};
    {
        Session session(options);
        session.see("BUTTON_EXIT_ID");
        session.send(cpuModule.path + keys::enter);
        session.see("CPU module 1 --");
        press(session, 5); // the BIOS
        session.see("BIOS_TITLE");
        Calls expected;
        for (const char *box : {"1", "1", "2"}) // the state; the BIOS's version and status
            expected.push_back(std::string("newtTextboxSetText(textbox ") + box + ", " + cut + ")");
        EXPECT_EQ(session.calls("newtTextboxSetText"), expected);
        session.send(keys::enter);
        session.seeNot("BIOS_TITLE");
        for (int i = 0; i < 6; ++i) // back to Close
            session.send(keys::backTab);
        session.send(keys::enter);
        session.seeNot("CPU module 1 --");
        session.send(keys::ctrlO);
        session.expectExit(1);
    }
    options.machine = "CEDAR"; // where the window asks for a number
    Session session(options);
    session.see("BUTTON_EXIT_ID");
    session.send(cpuModule.path + keys::enter);
    session.terminal().waitUntil([&] { return !session.calls("Linux_ConvertDataToInt").empty(); });
    EXPECT_EQ(session.calls("Linux_ConvertDataToInt"),
              Calls{"Linux_ConvertDataToInt(" + cut + ") = -1"});
    session.send(keys::ctrlO);
    session.expectExit(1);
}
