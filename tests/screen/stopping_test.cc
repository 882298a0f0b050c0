// SPDX-License-Identifier: GPL-2.0-or-later
// The program as a job of a shell.
#include "job.h"
#include "session.h"

#include <algorithm>
#include <csignal>
#include <sys/prctl.h>
#include <sys/wait.h>

using namespace keys;

namespace {

// A shell in a terminal that runs mrvutil by itself, without the spy; -d leaves the console of the
// system that runs the tests alone.
struct Shell {
    Workspace workspace;
    bool hasOtherScreen; // for programs
    Terminal terminal;

    explicit Shell(const RunOptions &options = {})
        : workspace(options), hasOtherScreen(hasAlternateScreen(options.term)),
          terminal({.command = {"/bin/dash", "-i"}, .environment = environment()})
    {
        see("ready:");
    }

    // A job that is left would still write into the directory that goes now.
    ~Shell()
    {
        if (const pid_t left = job()) {
            terminal.letCountsBeWritten(left);
            ::kill(left, SIGKILL);
            terminal.waitUntil([left] { return stateOf(left) == 'Z' || stateOf(left) == '\0'; });
        }
    }

    std::map<std::string, std::string> environment() const
    {
        auto result = workspace.environment();
        result.erase("LD_PRELOAD");
        result["PS1"] = "ready:";
        return result;
    }

    void type(const std::string &line)
    {
        terminal.waitUntilIdle();
        terminal.send(line + "\n");
    }

    void see(const std::string &text)
    {
        ASSERT_TRUE(terminal.waitUntil([&] { return terminal.contains(text); }))
            << "no '" << text << "' on\n"
            << terminal.picture();
    }

    void run(const std::string &end = "")
    {
        const bool isCounted = getenv("YAT_COUNTS"); // which takes the spy
        type((isCounted ? spied() : workspace.command()[0]) + " -d" + end);
    }

    std::string spied() const
    {
        return "LD_PRELOAD=" + workspace.preloadable(SPY) + " " + workspace.command()[0];
    }

    void runSpied()
    {
        type(spied());
    }

    Calls callsOfConsole() const
    {
        Calls result = workspace.calls();
        std::erase_if(result, [](const auto &call) { return !call.starts_with("klogctl"); });
        return result;
    }

    // The process, 0 for none.
    pid_t job() const
    {
        return childOf(terminal.pid());
    }

    void kill(int signal) const
    {
        ASSERT_NE(job(), 0);
        ::kill(job(), signal);
    }

    bool jobIs(char state)
    {
        return terminal.waitUntil([&] { return stateOf(job()) == state; });
    }

    void expectPrompt()
    {
        EXPECT_TRUE(terminal.waitUntil([&] {
            const Terminal::Modes modes = terminal.modes();
            return modes.echo && modes.canonical && modes.signals && !terminal.inAlternateScreen()
                   && terminal.cursorIsVisible();
        })) << terminal.picture();
    }

    // Until the program is where the spy holds it.
    void seeHeld(const std::string &call)
    {
        EXPECT_TRUE(terminal.waitUntil([&] {
            const Calls calls = workspace.calls();
            return std::ranges::find(calls, call + "() is held") != calls.end();
        })) << terminal.picture();
    }

    // The tree's window is there whole.
    void expectWhole(int columns = 80)
    {
        EXPECT_TRUE(terminal.waitUntil([&] {
            const Terminal::Modes modes = terminal.modes();
            return terminal.inAlternateScreen() == hasOtherScreen && !modes.echo && !modes.canonical
                   && terminal.contains("FT Server Utility") && terminal.contains("Exit")
                   && terminal.contains("Esc: leave")
                   && terminal.rows().at(0) == std::string(static_cast<size_t>(columns), ' ');
        })) << terminal.picture();
    }

    // The same, and the tree takes keys.
    void expectScreen(int columns = 80)
    {
        expectWhole(columns);
        terminal.waitUntilIdle();
        const bool isExpanded = terminal.contains("CPU modules");
        terminal.send(space);
        EXPECT_TRUE(terminal.waitUntil([&] {
            return terminal.contains("CPU modules") != isExpanded;
        })) << terminal.picture();
    }

    void expectEnd()
    {
        terminal.waitUntilIdle();
        terminal.send(ctrlO);
        expectPrompt();
        type("echo status $?");
        see("status 1");
    }
};

const Calls off = {"klogctl(6, null, 0)"}, on = {"klogctl(8, null, 6)"}; // of the console

class JobOnEveryTerminal : public testing::TestWithParam<const char *> {};

TEST_P(JobOnEveryTerminal, IsLeftByAStopAndComesBackWhole)
{
    Shell shell({.term = GetParam()});
    shell.run();
    shell.expectScreen();
    for (const int signal : {SIGTSTP, SIGTTIN, SIGTTOU, SIGTSTP}) {
        shell.kill(signal);
        shell.expectPrompt();
        EXPECT_TRUE(shell.jobIs('T'));
        shell.type("fg");
        shell.expectScreen();
    }
    shell.expectEnd();
}

TEST_P(JobOnEveryTerminal, ComesBackWholeFromAStopThatDoesNotAskToo)
{
    Shell shell({.term = GetParam()});
    shell.run();
    shell.expectScreen();
    shell.kill(SIGSTOP);
    EXPECT_TRUE(shell.jobIs('T'));
    shell.type("fg");
    EXPECT_TRUE(shell.jobIs('S')); // until then the shell reads what is typed
    shell.expectScreen();
    shell.expectEnd();
}

TEST_P(JobOnEveryTerminal, KeepsWhatIsTypedWhileTheProgramEndsFromTheShell)
{
    for (const std::string &keysSent :
         {ctrlO + "echo o''ops\n", ctrlO + "\x1b[200~echo o''ops\n\x1b[201~",
          ctrlO + "\x1b[1;5Aecho o''ops\n"}) {
        Shell shell({.term = GetParam()});
        shell.run();
        shell.expectScreen();
        shell.terminal.send(keysSent);
        shell.expectPrompt();
        shell.type("echo status $?");
        shell.see("status 1");
        EXPECT_FALSE(shell.terminal.contains("oops")) << shell.terminal.picture();
    }
}

INSTANTIATE_TEST_SUITE_P(Stopping, JobOnEveryTerminal, testing::ValuesIn(terminalTypes));

} // namespace

TEST(Stopping, ComesBackAtTheSizeThatTheTerminalHasByThen)
{
    Shell shell;
    shell.run();
    shell.expectScreen();
    shell.kill(SIGTSTP);
    shell.expectPrompt();
    shell.terminal.resize(40, 100);
    shell.type("fg");
    shell.expectScreen(100);
    shell.expectEnd();
}

TEST(Stopping, IsWhatTheProgramDoesInTheBackground)
{
    Shell shell;
    shell.run(" &");
    EXPECT_TRUE(shell.jobIs('T'));
    EXPECT_FALSE(shell.terminal.contains("FT Server Utility"));
    shell.expectPrompt();
    shell.type("fg");
    shell.expectScreen();
    shell.kill(SIGTSTP);
    shell.expectPrompt();
    const size_t written = shell.terminal.output().size();
    shell.type("bg");
    EXPECT_TRUE(shell.jobIs('T'));
    shell.terminal.waitUntilIdle();
    EXPECT_EQ(shell.terminal.output().substr(written).find("\x1b["), std::string::npos);
    shell.expectPrompt();
    shell.type("fg");
    shell.expectScreen();
    shell.expectEnd();
}

TEST(Stopping, InTheBackgroundIsNoneWhenTheShellBringsItBackMeanwhile)
{
    Shell shell({.script = "tcgetpgrp real held"});
    shell.runSpied();
    shell.expectScreen();
    shell.kill(SIGTSTP);
    shell.expectPrompt();
    EXPECT_TRUE(shell.jobIs('T'));
    shell.type("bg");
    shell.seeHeld("tcgetpgrp");
    shell.type("fg");
    shell.terminal.waitUntilIdle(); // the shell has done it
    shell.workspace.letGo();
    shell.expectScreen();
    shell.expectEnd();
}

// Its rest is dropped with all that was typed.
TEST(Stopping, InTheMiddleOfASequenceLeavesNoEscOfIt)
{
    for (const std::string begun : {"\x1b", "\x1b[1;", "\x1b[200~echo"}) {
        Shell shell({.environment = {{"ESCDELAY", "10000"}}});
        shell.run();
        shell.expectScreen();
        shell.terminal.waitUntilIdle();
        shell.terminal.send(begun);
        EXPECT_TRUE(shell.terminal.waitUntil([&] { return shell.terminal.unread() == 0; }));
        shell.kill(SIGTSTP);
        shell.expectPrompt();
        EXPECT_TRUE(shell.jobIs('T'));
        shell.type("fg");
        shell.expectScreen();
        shell.expectEnd();
    }
}

TEST(Stopping, HasPastesMarkedOnTheScreenOnly)
{
    Shell shell;
    const auto isMarking = [&] {
        const std::string &output = shell.terminal.output();
        const size_t on = output.rfind("\x1b[?2004h"), off = output.rfind("\x1b[?2004l");
        return on != output.npos && (off == output.npos || on > off);
    };
    EXPECT_FALSE(isMarking());
    shell.run();
    shell.expectScreen();
    EXPECT_TRUE(isMarking());
    shell.kill(SIGTSTP);
    shell.expectPrompt();
    EXPECT_FALSE(isMarking());
    shell.type("fg");
    shell.expectScreen();
    EXPECT_TRUE(isMarking());
    shell.expectEnd();
    EXPECT_FALSE(isMarking());
}

// Others would show the sequences for that.
TEST(Stopping, HasPastesMarkedOnTerminalsLikeXtermOnly)
{
    Shell shell({.term = "vt52"});
    const std::string &output = shell.terminal.output();
    shell.run();
    EXPECT_TRUE(shell.terminal.waitUntil([&] { return output.find("Exit") != output.npos; }));
    shell.terminal.waitUntilIdle();
    EXPECT_EQ(output.find("2004"), output.npos);
}

TEST(Stopping, AndEndingThenLeavesTheTerminalToTheShell)
{
    Shell shell;
    shell.run();
    shell.expectScreen();
    shell.kill(SIGTSTP);
    shell.expectPrompt();
    EXPECT_TRUE(shell.jobIs('T'));
    shell.terminal.waitUntilIdle();
    const pid_t job = shell.job();
    const size_t written = shell.terminal.output().size();
    shell.terminal.send("ls"); // half a command for the shell
    shell.kill(SIGTERM);
    shell.kill(SIGCONT);
    EXPECT_TRUE(shell.terminal.waitUntil([&] { return ::kill(job, 0) != 0 || shell.jobIs('Z'); }));
    shell.terminal.settle(std::chrono::milliseconds(100));
    EXPECT_EQ(shell.terminal.output().substr(written).find('\x1b'), std::string::npos)
        << shell.terminal.output().substr(written);
    shell.expectPrompt();
    shell.terminal.send("xyz\n");
    shell.see("lsxyz: not found");
}

TEST(Stopping, KeepsAWindowAndItsChanges)
{
    Shell shell;
    shell.type(PROGRAMS "/mrvgeneral -d");
    shell.see("[*] Update the firmware");
    shell.terminal.waitUntilIdle();
    shell.terminal.send(space);
    shell.see("[ ] Update the firmware");
    shell.kill(SIGTSTP);
    shell.expectPrompt();
    shell.type("fg");
    shell.see("[ ] Update the firmware");
    shell.see("Execute");
    EXPECT_TRUE(shell.terminal.inAlternateScreen());
}

TEST(Stopping, LetsTheConsoleSpeakMeanwhile)
{
    Shell shell;
    shell.runSpied();
    shell.expectScreen();
    const auto calls = [&] { return shell.callsOfConsole(); };
    EXPECT_EQ(calls(), off);
    shell.kill(SIGTSTP);
    shell.expectPrompt();
    EXPECT_TRUE(shell.jobIs('T'));
    EXPECT_EQ(calls(), off + on);
    shell.type("bg");
    shell.expectPrompt();
    EXPECT_TRUE(shell.jobIs('T'));
    EXPECT_EQ(calls(), off + on);
    shell.type("fg");
    shell.expectScreen();
    EXPECT_EQ(calls(), off + on + off);
    shell.expectEnd();
    EXPECT_EQ(calls(), off + on + off + on);
}

// Nobody could continue the leader of a session, so the system does not stop it.
TEST(Stopping, OfWhatNoShellHasStartedLeavesItAsItIs)
{
    Session session;
    Terminal &terminal = session.terminal();
    session.see("Exit");
    terminal.waitUntilIdle();
    const std::string before = terminal.picture();
    size_t calls = 1;
    for (const int signal : {SIGTSTP, SIGTTIN, SIGTTOU}) {
        terminal.kill(signal);
        calls += 2; // it can't know before
        EXPECT_TRUE(terminal.waitUntil([&] { return session.calls("klogctl").size() == calls; }));
        EXPECT_TRUE(terminal.waitUntil([&] {
            return terminal.inAlternateScreen() && terminal.picture() == before;
        })) << terminal.picture();
        EXPECT_FALSE(terminal.modes().canonical || terminal.modes().echo);
        EXPECT_EQ(session.calls("klogctl").back(), "klogctl(6, null, 0)");
    }
    const size_t written = terminal.output().size();
    terminal.kill(SIGCONT); // which nothing came before
    EXPECT_TRUE(terminal.waitUntil([&] { return terminal.output().size() > written; }));
    EXPECT_EQ(session.stillPicture(), before);
    EXPECT_EQ(terminal.output().find("\x1b[?1049h", written), std::string::npos);
    EXPECT_TRUE(terminal.inAlternateScreen());
    EXPECT_FALSE(terminal.modes().canonical || terminal.modes().echo);
    EXPECT_EQ(session.calls("klogctl").size(), calls);
    session.send(ctrlO);
    session.expectExit(1);
}

namespace {
const std::string neverInForeground =
    "mrvutil: the program is in the background, and no shell can bring it to the foreground; start "
    "it in the foreground";
} // namespace

TEST(Stopping, IsNotToBeHadInABackgroundThatNoShellLooksAfter)
{
    Shell shell;
    // In the group of a shell that has ended.
    shell.type("sh -c '(while kill -0 $$; do :; done; " + shell.spied()
               + " </dev/tty; echo status $? >/dev/tty) 2>/dev/tty &'");
    shell.see("mrvutil: the program is in the background, and no shell");
    shell.see("status 0");
    shell.expectPrompt();
    EXPECT_EQ(shell.callsOfConsole(), Calls{});
    EXPECT_FALSE(shell.terminal.output().find("FT Server Utility") != std::string::npos);
}

TEST(Stopping, ThatNoShellLooksAfterAnyMoreIsTheEnd)
{
    prctl(PR_SET_CHILD_SUBREAPER, 1); // who waits for what is left behind
    Shell shell({.ignoreHangup = true});
    shell.type("sh -c 'trap \"\" HUP; " + shell.spied() + "; true'");
    shell.expectScreen();
    const pid_t around = shell.job(), program = childOf(around);
    ASSERT_NE(program, 0);
    ::kill(program, SIGTSTP);
    EXPECT_TRUE(shell.terminal.waitUntil([&] { return !shell.terminal.inAlternateScreen(); }));
    ::kill(around, SIGTSTP);
    shell.expectPrompt();
    EXPECT_TRUE(shell.jobIs('T'));
    shell.terminal.waitUntilIdle(); // the shell has the terminal
    ::kill(around, SIGKILL);        // and the system continues what it leaves behind
    shell.see("the program is in the background, and no shell");
    int status = -1;
    EXPECT_TRUE(
        shell.terminal.waitUntil([&] { return waitpid(program, &status, WNOHANG) == program; }));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(shell.callsOfConsole(), off + on);
    shell.expectPrompt();
    prctl(PR_SET_CHILD_SUBREAPER, 0);
}

TEST(Stopping, WhileTheTerminalIsLentLeavesItToTheShellThen)
{
    Shell shell({.program = "mrvfirmware",
                 .script =
                     "system 0 text=echo READY; until test -e $HOME/script.go; do sleep 0.01; "
                     "done"});
    shell.runSpied();
    shell.see("04.17");
    shell.terminal.waitUntilIdle();
    shell.terminal.send(enter);
    shell.see("READY");
    shell.terminal.send(ctrlZ);
    shell.expectPrompt();
    EXPECT_TRUE(shell.jobIs('T'));
    shell.type("bg; echo go\"\"ing");
    shell.see("going");
    EXPECT_TRUE(shell.jobIs('S'));
    const size_t written = shell.terminal.output().size();
    shell.workspace.letGo();
    EXPECT_TRUE(shell.jobIs('T'));
    shell.expectPrompt();
    EXPECT_EQ(shell.terminal.output().substr(written).find('\x1b'), std::string::npos);
    shell.type("fg");
    shell.see("Close");
    EXPECT_TRUE(shell.terminal.waitUntil([&] {
        return shell.terminal.inAlternateScreen() && !shell.terminal.modes().canonical
               && shell.terminal.contains("04.17");
    })) << shell.terminal.picture();
    shell.terminal.waitUntilIdle();
    shell.terminal.send(tab + enter);
    shell.expectPrompt();
}

// What it was asked for in between takes effect when the terminal has changed hands.
TEST(Stopping, WaitsWhileTheTerminalChangesHands)
{
    for (const std::string call : {"newtSuspend", "newtResume"}) {
        Shell shell({.program = "mrvfirmware",
                     .script = "system 0 text=echo READY; read answer\n" + call + " real held"});
        shell.runSpied();
        shell.see("04.17");
        shell.terminal.send(enter);
        if (call == "newtResume") {
            shell.see("READY");
            shell.terminal.send("\n");
        }
        shell.seeHeld(call);
        shell.kill(SIGTSTP);
        shell.workspace.letGo();
        EXPECT_TRUE(shell.jobIs('T'));
        shell.expectPrompt();
        shell.type("fg");
        if (call == "newtSuspend") {
            shell.see("READY");
            shell.expectPrompt();
            shell.terminal.send("\n");
        }
        EXPECT_TRUE(shell.terminal.waitUntil([&] {
            return shell.terminal.inAlternateScreen() && !shell.terminal.modes().canonical
                   && shell.terminal.contains("04.17") && shell.terminal.contains("Close");
        })) << shell.terminal.picture();
        shell.terminal.waitUntilIdle();
        shell.terminal.send(tab + enter);
        shell.expectPrompt();
    }
}

TEST(Stopping, WhileTheMachineIsAskedComesBackWhole)
{
    for (const std::string timer : {"", "timer_create -1\n"}) { // without one, nothing is told
        Shell shell({.script = timer + "StatusChange real held"});
        shell.runSpied();
        shell.expectScreen();
        shell.terminal.waitUntilIdle();
        shell.terminal.send(down + down + space + down + enter);
        if (timer.empty())
            shell.see("PCI module 1 ...");
        shell.terminal.waitUntilIdle();
        const auto before = shell.terminal.rows();
        shell.kill(SIGTSTP);
        shell.expectPrompt();
        EXPECT_TRUE(shell.jobIs('T'));
        shell.type("fg");
        EXPECT_TRUE(shell.terminal.waitUntil([&] {
            return shell.terminal.inAlternateScreen() && shell.terminal.rows() == before;
        })) << shell.terminal.picture();
        shell.workspace.letGo();
        shell.see("PCI module 1 --FT Server Utility");
        shell.see("Close");
        shell.see("Esc: leave");
        EXPECT_FALSE(shell.terminal.contains("..."));
    }
}

TEST(Stopping, WhileTheMachineIsAskedWritesNothingForALargerTerminal)
{
    Shell shell({.script = "StatusChange real held"});
    shell.runSpied();
    shell.expectScreen();
    shell.terminal.waitUntilIdle();
    shell.terminal.send(down + down + space + down + enter);
    shell.see("PCI module 1 ...");
    shell.kill(SIGTSTP);
    shell.expectPrompt();
    shell.terminal.resize(12, 80);
    const size_t written = shell.terminal.output().size();
    shell.type("fg");
    EXPECT_TRUE(shell.jobIs('S'));
    shell.workspace.letGo();
    shell.see("MTBF type");
    EXPECT_EQ(shell.terminal.output().find("PCI module 1 ...", written), std::string::npos);
}

// It is dropped with all that was typed, and newt does not wait for another one.
TEST(Stopping, BetweenTheSightOfAKeyAndItsReadingComesBackWhole)
{
    for (const std::string &key : {space, ctrlO, down}) {
        Shell shell({.script = "select real held"});
        shell.runSpied();
        shell.expectWhole();
        shell.terminal.send(key);
        shell.seeHeld("select");
        shell.kill(SIGTSTP);
        shell.expectPrompt();
        EXPECT_TRUE(shell.jobIs('T'));
        shell.workspace.letGo();
        shell.type("fg");
        shell.expectWhole();
        EXPECT_FALSE(shell.terminal.contains("CPU modules"));
        shell.expectScreen();
        shell.expectEnd();
    }
}

// The stop waits until the key is read, which then acts when the program is back.
TEST(Stopping, WhileAKeyIsReadComesBackWholeAndKeepsTheKey)
{
    Shell shell({.script = "read real held"});
    shell.runSpied();
    shell.expectWhole();
    shell.terminal.send(space);
    shell.seeHeld("read");
    shell.kill(SIGTSTP);
    shell.workspace.letGo();
    shell.expectPrompt();
    EXPECT_TRUE(shell.jobIs('T'));
    shell.type("fg");
    shell.expectWhole();
    shell.see("CPU modules");
    shell.expectScreen();
    shell.expectEnd();
}

// The shell reads the key with what is typed for it.
TEST(Stopping, ThatDoesNotAskWhileAKeyIsReadComesBackWhole)
{
    Shell shell({.script = "read real held"});
    shell.runSpied();
    shell.expectWhole();
    shell.terminal.send(space);
    shell.seeHeld("read");
    shell.kill(SIGSTOP);
    EXPECT_TRUE(shell.jobIs('T'));
    shell.workspace.letGo();
    shell.terminal.waitUntilIdle();
    const size_t written = shell.terminal.output().size();
    shell.type("fg");
    EXPECT_TRUE(shell.terminal.waitUntil([&] {
        return shell.terminal.output().find("Esc: leave", written) != std::string::npos;
    })) << shell.terminal.picture();
    shell.expectWhole();
    EXPECT_FALSE(shell.terminal.contains("CPU modules"));
    shell.expectScreen();
    shell.expectEnd();
}

TEST(Stopping, WaitsWhileTheScreenIsEntered)
{
    for (const int signal : {SIGTSTP, SIGTTIN, SIGTTOU}) {
        Shell shell({.script = "newtInit real held"});
        shell.runSpied();
        EXPECT_TRUE(shell.terminal.waitUntil([&] { return !shell.terminal.modes().canonical; }));
        shell.kill(signal);
        shell.workspace.letGo();
        EXPECT_TRUE(shell.jobIs('T'));
        shell.expectPrompt();
        shell.type("fg");
        shell.expectScreen();
        shell.expectEnd();
    }
}

TEST(Stopping, WaitsWhileTheScreenIsLeft)
{
    for (const int signal : {SIGTSTP, SIGTTIN, SIGTTOU}) {
        Shell shell({.script = "newtCls real held at=2"});
        shell.runSpied();
        shell.expectScreen();
        shell.terminal.waitUntilIdle();
        shell.terminal.send(ctrlO);
        EXPECT_TRUE(
            shell.terminal.waitUntil([&] { return !shell.terminal.contains("FT Server"); }));
        shell.kill(signal);
        shell.workspace.letGo();
        EXPECT_TRUE(shell.jobIs('T'));
        shell.expectPrompt();
        EXPECT_EQ(shell.workspace.calls().back(), "klogctl(8, null, 6)");
        shell.type("fg; echo status $?");
        shell.see("status 1");
        shell.expectPrompt();
    }
}

TEST(Stopping, IsNotDoneWhereItIsIgnored)
{
    Shell shell;
    shell.type("sh -c 'trap \"\" TSTP; " + shell.spied() + " -d; echo status $?'");
    shell.expectScreen();
    const pid_t program = childOf(shell.job());
    ASSERT_NE(program, 0);
    ::kill(program, SIGTSTP);
    shell.expectScreen();
    shell.terminal.waitUntilIdle();
    shell.terminal.send(ctrlO);
    shell.see("status 1");
}

TEST(TypingAhead, IsTheShellsWhereTheProgramHasNoScreen)
{
    Shell shell;
    shell.type(PROGRAMS "/mrvutil -debug\necho kept \"\"typing");
    shell.see("kept typing");
}

TEST(TypingAhead, IsNoneOfTheShellsWhileTheMachineIsReleased)
{
    Shell shell({.script = "ft_FunctionRelease real held"});
    shell.runSpied();
    shell.expectScreen();
    shell.terminal.waitUntilIdle();
    shell.terminal.send(ctrlO);
    shell.expectPrompt(); // the terminal's modes come after its screen
    shell.terminal.send("echo o''ops\n");
    shell.see("echo o''ops");
    shell.workspace.letGo();
    shell.type("echo status $?");
    shell.see("status 1");
    EXPECT_FALSE(shell.terminal.contains("oops")) << shell.terminal.picture();
}

TEST(TypingAhead, IsTheShellsWhileTheMachineIsReleasedInTheBackground)
{
    Shell shell({.script = "ft_FunctionRelease real held"});
    shell.runSpied();
    shell.expectScreen();
    shell.terminal.waitUntilIdle();
    shell.terminal.send(ctrlO);
    shell.expectPrompt();
    shell.kill(SIGTSTP);
    EXPECT_TRUE(shell.jobIs('T'));
    shell.type("bg");
    EXPECT_TRUE(shell.jobIs('S'));
    shell.terminal.send("echo k''ept");
    shell.see("echo k''ept");
    shell.workspace.letGo();
    EXPECT_TRUE(shell.terminal.waitUntil([&] {
        const pid_t job = shell.job();
        return job == 0 || stateOf(job) == 'Z';
    }));
    shell.terminal.send("\n");
    shell.see("kept");
}

// The program has begun to drop what came with its last key, when the rest arrives.
TEST(TypingAhead, IsNoneOfTheShellsWhereItIsTheRestOfAPaste)
{
    Shell shell;
    shell.run();
    shell.expectScreen();
    shell.terminal.waitUntilIdle();
    shell.terminal.send(ctrlO + "\x1b[200~echo");
    EXPECT_FALSE(shell.terminal.waitUntil([&] { return !shell.terminal.inAlternateScreen(); },
                                          std::chrono::milliseconds(200)))
        << "it does not wait for the rest";
    shell.terminal.send(" o''ops\necho o''ops\n\x1b[201~");
    shell.expectPrompt();
    shell.type("echo status $?");
    shell.see("status 1");
    EXPECT_FALSE(shell.terminal.contains("oops")) << shell.terminal.picture();
}
