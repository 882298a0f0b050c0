// SPDX-License-Identifier: GPL-2.0-or-later
// The programs as jobs of a shell.
#pragma once

#include "job.h"
#include "session.h"

#include <algorithm>
#include <csignal>

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
            terminal.waitUntil([left] { return stateOf(left) == 'Z' || stateOf(left) == '\0'; },
                               std::chrono::seconds(2));
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
        terminal.send(keys::space);
        EXPECT_TRUE(terminal.waitUntil([&] {
            return terminal.contains("CPU modules") != isExpanded;
        })) << terminal.picture();
    }

    void expectEnd()
    {
        terminal.waitUntilIdle();
        terminal.send(keys::ctrlO);
        expectPrompt();
        type("echo status $?");
        see("status 1");
    }
};

// What the console of the system is told.
inline const Calls off = {"klogctl(6, null, 0)"}, on = {"klogctl(8, null, 6)"};
