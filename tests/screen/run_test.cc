// SPDX-License-Identifier: GPL-2.0-or-later
// How the program is called, and what it does where it can't have a screen.
#include "session.h"

#include <fstream>
#include <sys/resource.h>

namespace fs = std::filesystem;

namespace {

const std::string usageText = "       -d : display driver message\n";

void expectUsage(const std::vector<std::string> &arguments)
{
    Workspace workspace({.arguments = arguments});
    const Finished run = runPlain(workspace);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, "Usage: " + workspace.command()[0] + " [-d]\n" + usageText);
    EXPECT_EQ(workspace.trace(),
              (std::vector<std::string>{"0 main >", "1 main <missing argument."}));
    EXPECT_TRUE(workspace.calls().empty()); // nothing was set up, so nothing is undone
}

// The program must have ended without a word on standard output.
void expectRefusal(const RunOptions &options, const std::string &reason,
                   const PlainStreams &streams = {})
{
    Workspace workspace(options);
    const Finished run = runPlain(workspace, streams);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors, options.program + ": " + reason + "\n");
    expectInOrder(workspace.trace(), {"1 main No screen: " + reason + ".", "0 main <"});
}

void expectRefusalInTerminal(const RunOptions &options, const std::string &reason)
{
    Session session(options);
    session.expectExit(0);
    EXPECT_EQ(session.terminal().output(), "mrvutil: " + reason + "\r\n");
    expectInOrder(session.trace(), {"1 main No screen: " + reason + ".", "0 main <"});
    // The start-up went its way until the screen, and was undone in order.
    expectInOrder(session.calls(), {"OpenStrFile*", "initnewtlib*", "initslanglib*",
                                    "ft_FunctionRelease*", "freenewtlib*", "freeslanglib*"});
    EXPECT_TRUE(session.calls("klogctl").empty());
}

} // namespace

// The loader takes blanks and colons for the ends of names.
TEST(Preloading, WorksInACheckoutWithBlanksAndColons)
{
    const std::string name = Workspace({}).preloadable("/a b:c/spy.so");
    EXPECT_TRUE(name.ends_with("/spy.so")) << name;
    EXPECT_EQ(name.find_first_of(" :"), std::string::npos) << name;
}

TEST(CommandLine, OtherArgumentsPrintTheUsage)
{
    for (const char *argument : {"-D", "-dd", "-debugx", "-deb", "", "x"})
        expectUsage({argument});
    expectUsage({"-d", "x"});
    expectUsage({"-debug", "-d"});
}

TEST(CommandLine, DumpModePrintsTheDeviceData)
{
    Workspace workspace({.arguments = {"-debug"}, .machine = "BIRCH", .term = "(unset)"});
    const Finished run = runPlain(workspace);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(run.output,
              "\n\n\n################# device data in mrvmain ###############################\n"
              "Name:\t\tNextDevNum: Hierarchy: Instance: DevicePathID: \t\t\t "
              "ParentName:\t\tChildName:\n"
              "N:                        4       H:0   C:CPU module 1        \n"
              "N:CPU module 1            0       H:1   I:1   ID:0   0   0   0   0   0   0   0   \n"
              "N:CPU module 2            0       H:1   I:2   ID:4   0   0   0   0   0   0   0   \n"
              "N:PCI module 1            1       H:1   I:1   ID:2   0   0   0   0   0   0   0   "
              "C:SCSI adapter 1      \n"
              "N:SCSI adapter 1          1       H:2   I:1   ID:2   1   0   0   0   0   0   0   "
              "P:PCI module 1        C:Ethernet adapter 1  \n"
              "N:Ethernet adapter 1      0       H:3   I:1   ID:2   1   1   0   0   0   0   0   "
              "P:SCSI adapter 1      \n"
              "N:PCI module 2            1       H:1   I:2   ID:3   0   0   0   0   0   0   0   "
              "C:SCSI adapter 2      \n"
              "N:SCSI adapter 2          1       H:2   I:2   ID:3   1   0   0   0   0   0   0   "
              "P:PCI module 2        C:Ethernet adapter 2  \n"
              "N:Ethernet adapter 2      0       H:3   I:2   ID:3   1   1   0   0   0   0   0   "
              "P:SCSI adapter 2      \n");
    EXPECT_EQ(
        workspace.calls(),
        (std::vector<std::string>{"OpenStrFile(/data/E_mrvutil.rc) = stream", "initnewtlib() = 0",
                                  "initslanglib() = 0", "ft_FunctionInit() = 1",
                                  "CreateTreeViewData(null) = 1", "FreeTreeViewData(root) = 1",
                                  "ft_FunctionRelease() = 1", "freenewtlib()", "freeslanglib()"}));
}

TEST(CommandLine, NamesTheProgramAsATerminalCanShowIt)
{
    const TemporaryDirectory directory;
    const fs::path link = directory.path / "mrv\x1b]0;\autil\xc2\x9b";
    fs::create_symlink(PROGRAMS "/mrvutil", link);
    const std::string name = "mrv?]0;?util?";
    const std::string usage = "Usage: " + (directory.path / name).string() + " [-d]\n" + usageText;
    const std::string noTerminal = name + ": standard input is not a terminal; run";
    const std::string noPlatform = name + ": /no.so can't be used: No such file or directory";
    for (const auto &[argument, said] :
         {std::pair{"-x", usage}, {"-d", noTerminal}, {"-debug", noPlatform}}) {
        Workspace workspace({.machine = "/no.so"});
        const Finished run =
            ::run({link.string(), argument}, {.environment = workspace.environment()});
        EXPECT_NE((run.output + run.errors).find(said), std::string::npos) << argument;
        EXPECT_EQ((run.output + run.errors).find('\x1b'), std::string::npos) << argument;
    }
}

// The command line has no room for a question.
TEST(CommandLine, TheTraceTellsTheVersionOfEachProgram)
{
    for (const char *program : {"mrvutil", "mrvgeneral", "mrvfirmware"}) {
        Workspace workspace({.program = program, .arguments = {"-debug"}});
        runPlain(workspace);
        const std::vector<std::string> told = workspace.trace("catalogue");
        ASSERT_EQ(told.size(), 1u) << program;
        EXPECT_TRUE(told[0].starts_with("0 OpenStrFile mrvutil " PRODUCT_VERSION ", texts of /")
                    && told[0].ends_with("/data/E_mrvutil.rc"))
            << told[0];
    }
}

TEST(CommandLine, DumpModePrintsAlsoWhenThereAreNoData)
{
    Workspace workspace({.arguments = {"-debug"}, .script = "CreateTreeViewData 0"});
    const Finished run = runPlain(workspace);
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.output.ends_with("ChildName:\n"));
}

TEST(CommandLine, DumpModeFailsWhenItCannotPrint)
{
    for (const char *program : {"mrvutil", "mrvgeneral", "mrvfirmware"}) {
        Workspace workspace({.program = program, .arguments = {"-debug"}});
        const Finished run = runPlain(workspace, {.output = "/dev/full"});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.errors,
                  std::string(program)
                      + ": standard output can't be written: No space left on device\n");
        expectInOrder(workspace.trace(), {"1 main standard output can't be written*", "0 main <"});
    }
}

// What is printed later may find room again.
TEST(CommandLine, DumpModeFailsWhenItCouldNotPrintAllOfIt)
{
    std::string tree;
    for (int i = 0; i < 100; ++i)
        tree += "0 1 2 1 0 CPU\n";
    Workspace workspace({.arguments = {"-debug"}, .script = "fflush 0", .tree = tree});
    const Finished run = runPlain(workspace, {.output = "/dev/full"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "mrvutil: standard output can't be written\n");
}

TEST(CommandLine, DumpModeWritesIntoNothingElseWhenItsOutputIsClosed)
{
    for (const int closed : {STDOUT_FILENO, STDERR_FILENO, STDIN_FILENO}) {
        Workspace workspace({.arguments = {"-debug"}});
        const Finished run = ::run(workspace.command(), {.environment = workspace.environment(),
                                                         .prepare = [closed] { close(closed); }});
        EXPECT_EQ(run.status, closed == STDOUT_FILENO ? 0 : 1);
        const std::string log = readFile(workspace.stateDirectory() / "log" / "YATmrvutil.log");
        EXPECT_NE(log.find("enter utility/main() of mrvutil."), log.npos);
        EXPECT_EQ(log.find("N:CPU module 1"), log.npos);
    }
}

TEST(CommandLine, DumpModePrintsNothingThatTurnsTheTerminalRound)
{
    Workspace workspace({.arguments = {"-debug"},
                         .tree = "0 1 1 1 7 mo\xc2\x9b"
                                 "dule\n1 2 8 1 255 \xe2\x80\xae\x1b"
                                 "abc\n"});
    const std::string output = runPlain(workspace).output;
    EXPECT_NE(output.find("N:mo?dule"), output.npos) << output;
    EXPECT_NE(output.find("N:??abc"), output.npos);
    EXPECT_NE(output.find("P:mo?dule"), output.npos);
    EXPECT_NE(output.find("C:??abc"), output.npos);
}

TEST(CommandLine, DumpModeShowsOddRecords)
{
    Workspace workspace({.arguments = {"-debug"},
                         .tree = "0 1 2 1 7 a module\n"
                                 "1 2 - 0 0 without identity\n"
                                 "1 2 8 1 255 -\n"});
    const std::string output = runPlain(workspace).output;
    EXPECT_EQ(output.substr(output.find("N: ")),
              "N:                        1       H:0   C:a module            \n"
              "N:a module                2       H:1   I:1   ID:7   0   0   0   0   0   0   0   "
              "C:without identity    \n"
              "N:without identity        0       H:2   P:a module            \n"
              "N:                        0       H:2   I:1   ID:255 0   0   0   0   0   0   0   "
              "P:a module            \n");
}

TEST(CommandLine, KernelMessagesAreOffWhileTheScreenIsInUse)
{
    Session session;
    session.see("Exit");
    EXPECT_EQ(session.calls("klogctl"), std::vector<std::string>{"klogctl(6, null, 0)"});
    session.send(keys::ctrlO);
    session.expectExit(1);
    EXPECT_EQ(
        session.calls(),
        (std::vector<std::string>{
            "OpenStrFile(/data/E_mrvutil.rc) = stream", "initnewtlib() = 0", "initslanglib() = 0",
            "klogctl(6, null, 0)", "ft_FunctionInit() = 1", "CreateTreeViewData(null) = 1",
            "call_yat_is_ft(0) = 3", "FreeTreeViewData(root) = 1", "klogctl(8, null, 6)",
            "ft_FunctionRelease() = 1", "freenewtlib()", "freeslanglib()"}));
}

TEST(CommandLine, OptionDLeavesKernelMessagesAlone)
{
    Session session({.arguments = {"-d"}});
    session.see("Exit");
    session.send(keys::ctrlO);
    session.expectExit(1);
    EXPECT_TRUE(session.calls("klogctl").empty());
}

TEST(Terminal, IsLeftAsItWasFound)
{
    Session session;
    session.see("Exit");
    EXPECT_FALSE(session.terminal().modes().canonical);
    EXPECT_TRUE(session.terminal().inAlternateScreen());
    EXPECT_FALSE(session.terminal().cursorIsVisible());
    session.send(keys::ctrlO);
    session.expectExit(1);
    EXPECT_TRUE(session.terminal().modesAreAsBefore());
    EXPECT_FALSE(session.terminal().inAlternateScreen());
    EXPECT_TRUE(session.terminal().cursorIsVisible());
}

TEST(Terminal, IsNeeded)
{
    const auto reason = [](const std::string &stream, const std::string &data) {
        return "standard " + stream
               + " is not a terminal; run the program in a terminal, or with -debug to print "
               + data;
    };
    expectRefusal({}, reason("input", "the device data"));
    expectRefusal({}, reason("input", "the device data"), {.outputIsTerminal = true});
    expectRefusal({}, reason("output", "the device data"), {.inputIsTerminal = true});
    expectRefusal({.program = "mrvgeneral"}, reason("input", "the settings of the server"));
    expectRefusal({.program = "mrvfirmware"}, reason("input", "the firmware revision"));
}

TEST(Terminal, HasToBeKnown)
{
    for (const char *type : {"dumb", "no-such-terminal", "unknown"})
        expectRefusalInTerminal({.term = type},
                                std::string("a terminal of type '") + type
                                    + "' is unknown or can't place the cursor; set TERM to the "
                                      "type of this terminal");
    for (const char *type : {"", "(unset)"})
        expectRefusalInTerminal({.environment = {{"TERM", type}}},
                                "TERM is not set; set it to the type of this terminal");
}

TEST(Terminal, IsNamedSoThatItCanBeShown)
{
    Session session({.term = "x\x1b[2Jy"});
    session.expectExit(0);
    EXPECT_TRUE(session.terminal().output().starts_with("mrvutil: a terminal of type 'x?[2Jy' is "))
        << session.terminal().output();
}

TEST(Terminal, HasToHaveRoomForAWindow)
{
    expectRefusalInTerminal({.rows = 11, .columns = 40},
                            "the terminal has 40 columns and 11 rows; make it at least 40 by 12");
    expectRefusalInTerminal({.rows = 12, .columns = 39},
                            "the terminal has 39 columns and 12 rows; make it at least 40 by 12");
}

// Else the tree would write where that one has something else.
TEST(Terminal, IsNotTouchedWithAnotherNewt)
{
    for (const auto &[call, difference] :
         {std::pair{"newtComponentGetSize", "size"}, {"newtComponentTakesFocus", "focus flag"}})
        expectRefusalInTerminal({.script = std::string(call) + " 0"},
                                "the installed newt lays its components out differently ("
                                    + std::string(difference)
                                    + "); install newt 0.52.9 or a later 0.52");
}

TEST(Terminal, HasToHaveCharactersThatCanBeDrawnWhole)
{
    const char *language = "ja_JP.EUC-JP";
    expectRefusalInTerminal({.language = language},
                            "characters of the encoding EUC-JP are not supported; use a UTF-8 "
                            "locale (LC_ALL) and a UTF-8 terminal");
    // What is printed needs no screen.
    Workspace workspace({.arguments = {"-debug"}, .language = language});
    EXPECT_EQ(runPlain(workspace).status, 1);
}

TEST(Terminal, OfTheSmallestSizeIsEnough)
{
    Session session({.rows = 12, .columns = 40});
    session.see("FT server");
    session.expectScreen("run/smallest");
    session.send(keys::tab);
    session.expectScreen("run/smallest-exit");
    session.send(keys::enter);
    session.expectExit(1);
}

TEST(Terminal, OfUnknownSizeHasTheUsualOne)
{
    Session session({.rows = 0, .columns = 0});
    session.see("Exit");
    session.expectScreen("main/CEDAR-en-80x24-collapsed");
    session.send(keys::ctrlO);
    session.expectExit(1);
}

TEST(Language, IsThatOfTheEnvironment)
{
    const auto catalogueOf = [](std::map<std::string, std::string> environment) {
        Workspace workspace({.arguments = {"-debug"}, .environment = std::move(environment)});
        runPlain(workspace);
        return workspace.calls().at(0);
    };
    const std::string english = "OpenStrFile(/data/E_mrvutil.rc) = stream";
    const std::string japanese = "OpenStrFile(/data/J_mrvutil.rc) = stream";
    EXPECT_EQ(catalogueOf({{"LANG", "ja_JP.UTF-8"}}), japanese);
    EXPECT_EQ(catalogueOf({{"LANG", "de_DE.UTF-8"}, {"LC_MESSAGES", "ja"}}), japanese);
    EXPECT_EQ(catalogueOf({{"LANG", "ja_JP"}, {"LC_ALL", "C"}}), english);
    EXPECT_EQ(catalogueOf({{"LANG", "ja_JP"}, {"LC_ALL", ""}}), japanese);
    EXPECT_EQ(catalogueOf({{"LANG", "(unset)"}}), english);
}

TEST(Programs, OfTheOtherWindowsHaveTheSameOptions)
{
    for (const char *program : {"mrvgeneral", "mrvfirmware"}) {
        Workspace wrong({.program = program, .arguments = {"-x"}});
        const Finished run = runPlain(wrong);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.output, "Usage: " + wrong.command()[0] + " [-d]\n" + usageText);
        EXPECT_TRUE(wrong.calls().empty());
        for (const bool quiet : {true, false}) {
            Session session(
                {.program = program,
                 .arguments = quiet ? std::vector<std::string>{} : std::vector<std::string>{"-d"}});
            session.see("Close");
            session.send(keys::backTab + keys::enter);
            session.expectExit(1);
            EXPECT_EQ(session.calls("klogctl").size(), quiet ? 2u : 0u);
        }
    }
}

TEST(TraceLog, TellsTheLineOfTheCall)
{
    Workspace workspace({.arguments = {"-debug"}});
    runPlain(workspace);
    const std::string text = "enter utility/main() of mrvutil.";
    for (const std::string &line :
         linesOf(readFile(workspace.stateDirectory() / "log" / "YATmrvutil.log"))) {
        const size_t end = line.find(" " + text);
        if (end == std::string::npos)
            continue;
        const size_t number = static_cast<size_t>(atoi(line.c_str() + line.rfind(' ', end - 1)));
        const std::vector<std::string> source = linesOf(readFile(SOURCES "/src/shell/mrvmain.cc"));
        ASSERT_LE(number, source.size());
        ASSERT_GT(number, 0u) << line;
        EXPECT_NE(source[number - 1].find(text), std::string::npos) << line;
        return;
    }
    FAIL() << "no such record";
}

TEST(TraceLog, OfADiskThatIsFullIsToldOnceAtTheEnd)
{
    const TemporaryDirectory full;
    const fs::path log = full.path / "log/YATmrvutil.log";
    fs::create_directories(log.parent_path());
    Session session({.state = full.path.string()});
    session.see("Exit");
    const rlimit none{.rlim_cur = fs::file_size(log), .rlim_max = RLIM_INFINITY};
    ASSERT_EQ(prlimit(session.terminal().pid(), RLIMIT_FSIZE, &none, nullptr), 0);
    session.send(keys::ctrlO);
    session.expectExit(1);
    const std::string told = "mrvutil: " + log.string()
                             + " can't be written: File too large; what the program did is not in "
                               "the trace log\r\n";
    EXPECT_TRUE(session.terminal().output().ends_with(told)) << session.terminal().output();
    EXPECT_EQ(session.terminal().output().find(told), session.terminal().output().rfind(told));
}

TEST(TraceLog, ThatCannotBeWrittenStopsNothing)
{
    Workspace workspace({.arguments = {"-debug"}});
    std::filesystem::create_directories(workspace.stateDirectory());
    std::ofstream(workspace.stateDirectory() / "log") << "no directory";
    const Finished run = runPlain(workspace);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, "mrvutil: " + (workspace.stateDirectory() / "log").string()
                              + " can't be written: Not a directory; what the program did is not "
                                "in the trace log\n");
    EXPECT_NE(run.output.find("N:CPU module 1"), std::string::npos);
}
