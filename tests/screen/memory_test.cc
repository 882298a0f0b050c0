// SPDX-License-Identifier: GPL-2.0-or-later
// Memory that comes to an end, at the start or in a window: the program says so once its screen is
// gone.
#include "session.h"

#include <csignal>
#include <sys/wait.h>

#include <csignal>

namespace {

const std::string escape = "\x1b";

struct Case {
    const char *program;
    std::vector<std::string> steps; // from its first screen into a window and out again
};

const Case cases[] = {
    {"mrvutil",
     {keys::space + keys::down + keys::down + keys::space + keys::down + keys::enter,
      keys::tab + keys::enter, escape, escape, escape}},
    {"mrvgeneral",
     {keys::space + keys::tab + keys::tab + keys::enter, keys::enter, keys::enter, escape, escape}},
};

// As far as the memory goes.
struct Visit {
    Workspace workspace;
    Terminal terminal;

    Visit(const Case &visited, long lastAllocation)
        : workspace(RunOptions{.program = visited.program}),
          terminal({.command = workspace.command(), .environment = environment(lastAllocation)})
    {
        for (const std::string &step : visited.steps) {
            terminal.waitUntilIdle();
            if (terminal.wait(std::chrono::milliseconds(0)) == -1)
                terminal.send(step);
        }
    }

    // Without the spy, which would take memory for itself.
    std::map<std::string, std::string> environment(long lastAllocation) const
    {
        auto result = workspace.environment();
        result["LD_PRELOAD"] = workspace.preloadable(SHORT_MEMORY);
        result["YAT_LAST_ALLOCATION"] = std::to_string(lastAllocation);
        result["YAT_ALLOCATIONS"] = (workspace.directory() / "allocations").string();
        result["YAT_CONSOLE"] = (workspace.directory() / "console").string();
        result["ESCDELAY"] = "10";
        return result;
    }

    long allocations() const
    {
        return atol(readFile(workspace.directory() / "allocations").c_str());
    }

    // It ends as a failure does, or by the fault that newt meets; and leaves all as it was.
    void expectEnd(const std::string &program, const std::string &when)
    {
        SCOPED_TRACE(program + ", " + when);
        const int status = terminal.wait();
        EXPECT_TRUE(status == 0 || WTERMSIG(status) == SIGSEGV || WTERMSIG(status) == SIGABRT)
            << status;
        const std::string output = terminal.output();
        EXPECT_TRUE(output.ends_with(program + ": out of memory\r\n")) << output;
        EXPECT_FALSE(terminal.inAlternateScreen());
        // A screen that is left without having been entered looks to the emulator as if it hid it.
        EXPECT_TRUE(terminal.cursorIsVisible() || output.find("\x1b[?25l") == output.npos);
        EXPECT_TRUE(terminal.modesAreAsBefore());
        const std::string console = readFile(workspace.directory() / "console");
        EXPECT_TRUE(console.empty() || console == "6") << console;
    }
};

} // namespace

TEST(Memory, ThatComesToAnEndIsToldOnceTheScreenIsGone)
{
    for (const Case &visited : cases) {
        Visit whole(visited, 0);
        ASSERT_EQ(whole.terminal.wait(), 1 << 8) << whole.terminal.picture();
        const long all = whole.allocations();
        ASSERT_GT(all, 1000);
        // Shortly before its end it needs none.
        for (long last = 2; last < all * 9 / 10; last += all / 25)
            Visit(visited, last)
                .expectEnd(visited.program, std::to_string(last) + " of " + std::to_string(all));
    }
}
