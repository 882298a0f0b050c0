// SPDX-License-Identifier: GPL-2.0-or-later
// Memory that comes to an end, at the start or in a window: the program says so once its screen is
// gone.
#include "session.h"

#include <csignal>

namespace {

// From the tree into a window and out again, as far as the memory goes. Esc leaves each.
struct Visit {
    Workspace workspace{RunOptions{.arguments = {"-d"}}};
    Terminal terminal;

    explicit Visit(long lastAllocation)
        : terminal({.command = workspace.command(), .environment = environment(lastAllocation)})
    {
        const std::string escape = "\x1b";
        const std::string window =
            keys::space + keys::down + keys::down + keys::space + keys::down + keys::enter;
        for (const std::string &step : {window, keys::tab + keys::enter, escape, escape, escape}) {
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
        result["ESCDELAY"] = "10";
        return result;
    }

    long allocations() const
    {
        return atol(readFile(workspace.directory() / "allocations").c_str());
    }
};

} // namespace

TEST(Memory, ThatComesToAnEndIsToldOnceTheScreenIsGone)
{
    Visit whole(0);
    ASSERT_EQ(whole.terminal.wait(), 1 << 8) << whole.terminal.picture();
    const long all = whole.allocations();
    ASSERT_GT(all, 1000);
    // Shortly before its end it needs none.
    for (long last = 2; last < all * 9 / 10; last += all / 25) {
        Visit visit(last);
        EXPECT_NE(visit.terminal.wait(), -1) << last << " of " << all;
        const std::string output = visit.terminal.output();
        EXPECT_TRUE(output.ends_with("mrvutil: out of memory\r\n")) << last << " of " << all << "\n"
                                                                    << output;
        EXPECT_FALSE(visit.terminal.inAlternateScreen()) << last;
        // A screen that is left without having been entered looks to the emulator as if it hid it.
        EXPECT_TRUE(visit.terminal.cursorIsVisible() || output.find("\x1b[?25l") == output.npos)
            << last;
        EXPECT_TRUE(visit.terminal.modesAreAsBefore()) << last;
    }
}

TEST(Memory, ThatIsMissingCrossesTheBoundaryAsAResult)
{
    const Workspace workspace{RunOptions{}};
    const auto open = [&](long lastAllocation, const std::vector<std::string> &command) {
        auto environment = workspace.environment();
        environment["LD_PRELOAD"] = workspace.preloadable(SHORT_MEMORY);
        environment["YAT_LAST_ALLOCATION"] = std::to_string(lastAllocation);
        environment["YAT_ALLOCATIONS"] = (workspace.directory() / "allocations").string();
        return ::run(command, {.environment = environment});
    };
    const auto allocations = [&](const std::vector<std::string> &command) {
        EXPECT_EQ(open(0, command).status, 0);
        return atol(readFile(workspace.directory() / "allocations").c_str());
    };
    const long before = allocations({OPENING, "not"}), all = allocations({OPENING});
    ASSERT_GT(all, before + 50);
    // The loader ends the process by itself, and so does the first exception of a library for which
    // the loader had no memory any more.
    int failures = 0, lost = 0;
    for (long last = before + 1; last <= before + 50; ++last) { // the platform's own come later
        const Finished run = open(last, {OPENING});
        const bool isLost = run.status == 127 || run.status == -SIGABRT;
        EXPECT_TRUE(run.status == 0 || run.status == 1 || isLost) << run.status << " at " << last;
        EXPECT_TRUE(run.status == 0 || !run.errors.empty()) << last;
        failures += run.status == 1;
        lost += isLost;
    }
    EXPECT_GT(failures, 0);
    EXPECT_LE(lost, 2);
}
