// SPDX-License-Identifier: GPL-2.0-or-later
// Stops in the middle of what the program does.
#include "shell.h"

using namespace keys;

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

TEST(Stopping, WhileTheProgramStartsShowsOnlyItsLineThen)
{
    for (const std::string term : {"xterm", "linux"}) { // the latter keeps what the shell wrote
        Shell shell({.term = term, .script = "ft_FunctionInit real held"});
        shell.runSpied();
        shell.see("FT server ...");
        shell.kill(SIGTSTP);
        shell.expectPrompt();
        shell.type("fg");
        shell.see("FT server ...");
        EXPECT_TRUE(shell.terminal.waitUntil([&] { return !shell.terminal.contains("ready:"); }))
            << shell.terminal.picture();
        shell.workspace.letGo();
        shell.expectScreen();
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
