// SPDX-License-Identifier: GPL-2.0-or-later
// The program as a job of a shell that is stopped and goes on.
#include "shell.h"

#include <sys/prctl.h>
#include <sys/wait.h>

using namespace keys;

namespace {

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
