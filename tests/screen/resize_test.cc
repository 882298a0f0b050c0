// SPDX-License-Identifier: GPL-2.0-or-later
// What a change of the terminal's size does to the windows that are open.
#include "navigation.h"
#include "session.h"

namespace {

void openEthernet(Session &session)
{
    session.see("Exit");
    session.send(keys::space + keys::down + keys::down + keys::space + keys::down + keys::space
                 + keys::down + keys::down + keys::enter);
    session.see("Close");
}

} // namespace

TEST(Resize, GrowingPaintsAllAndCentresAnew)
{
    Session session;
    openEthernet(session);
    session.terminal().resize(40, 120);
    session.expectScreen("resize/grown");
    session.send(keys::enter);
    session.see("Clear the MTBF count");
    session.expectScreen("resize/grown-question");
    session.send(keys::ctrlA);
    session.seeNot("Clear the MTBF count of");
    session.expectScreen("resize/grown");
}

TEST(Resize, ShrinkingKeepsTheWindowsUsable)
{
    Session session;
    openEthernet(session);
    session.terminal().resize(13, 60);
    session.expectScreen("resize/shrunk");
    session.send(keys::tab + keys::enter);
    session.seeNot("MTBF");
    session.expectScreen("resize/shrunk-tree");
    session.send(keys::tab);
    session.see("Exit");
    session.expectScreen("resize/shrunk-exit");
    session.terminal().resize(24, 80);
    session.expectScreen("resize/as-before");
}

TEST(Resize, ThereAndBackLeavesTheScreenAsItWas)
{
    Session session;
    openEthernet(session);
    session.expectScreen("resize/ethernet");
    for (const auto &[rows, columns] : {std::pair{50, 132}, {12, 40}, {5, 20}, {1, 1}, {30, 50}}) {
        session.terminal().resize(rows, columns);
        session.terminal().settle(std::chrono::milliseconds(50));
    }
    session.terminal().resize(24, 80);
    session.expectScreen("resize/ethernet");
}

// A title that is wider than its window moves the contents to the right.
TEST(Resize, ThereAndBackLeavesAWindowBelowALongTitleAsItWas)
{
    const std::string name(70, 'n');
    Session session({.tree = "0 1 2 1 0 CPU\n0 1 3 1 0 PCI\n1 2 13 1 0 " + name + "\n"});
    Terminal &terminal = session.terminal();
    session.see("Exit");
    session.send(keys::space + keys::down + keys::down + keys::space + keys::down + keys::space
                 + keys::down + keys::enter);
    session.see("┤ " + name);
    terminal.settle(std::chrono::milliseconds(50));
    const std::string before = terminal.picture();
    terminal.resize(40, 120);
    EXPECT_TRUE(terminal.waitUntil([&] { return terminal.picture() != before; }));
    terminal.settle(std::chrono::milliseconds(50));
    terminal.resize(24, 80);
    EXPECT_TRUE(terminal.waitUntil([&] { return terminal.picture() == before; }))
        << before << terminal.picture();
}

// It has room for two lines of 19 columns, which are two more than the button below has.
TEST(Resize, ShrinkingLeavesALongStateInItsPlace)
{
    Session session({.script = "StatusChange 0 text=the first of lines the second of lines "
                               "a third line of all\n"});
    session.see("Exit");
    session.send(cpuModule.path + keys::enter);
    session.send(keys::backTab); // to the button below it
    for (const int rows : {24, 15}) {
        session.terminal().resize(rows, 80);
        session.terminal().settle(std::chrono::milliseconds(50));
        session.see("the first of lines");
        session.see("the second of lines");
        session.see("┐  │");
    }
}

TEST(Resize, KeepsTheKeysThatAreTypedMeanwhile)
{
    Session session({.script = "newtCls real held at=2"});
    session.see("Exit");
    session.terminal().resize(30, 90);
    session.seeNot("Exit");
    session.terminal().send(keys::space);
    session.files().letGo();
    session.see("CPU modules");
}

// Where a program has no descriptor left that could wake it.
TEST(Resize, ThatCannotBeToldLeavesTheWindowsUsable)
{
    Session session({.script = "pipe2 -1"});
    openEthernet(session);
    session.terminal().resize(40, 120);
    session.send(keys::enter);
    session.see("Clear the MTBF count");
    session.send(keys::ctrlA);
    session.seeNot("Clear the MTBF count of");
    session.send(keys::tab + keys::enter);
    session.seeNot("MTBF");
    session.send(keys::ctrlO);
    session.expectExit(1);
}

TEST(Resize, TheTreeFollowsTheHeight)
{
    Session session({.rows = 40});
    session.see("Exit");
    session.send(keys::space + keys::down + keys::space + keys::down + keys::down + keys::down
                 + keys::space + keys::down + keys::space + keys::pageDown);
    session.see("PCI module 2");
    session.terminal().resize(14, 80);
    session.expectScreen("resize/low-tree");
    session.send(keys::up + keys::up + keys::up + keys::up + keys::up + keys::up + keys::up);
    session.expectScreen("resize/low-tree-above");
}
