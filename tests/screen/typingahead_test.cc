// SPDX-License-Identifier: GPL-2.0-or-later
// What is typed before the program is there to take it, or when it is there no more.
#include "shell.h"

using namespace keys;

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
