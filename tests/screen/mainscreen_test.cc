// SPDX-License-Identifier: GPL-2.0-or-later
// The main screen: what it shows on each machine, how it is left.
#include "session.h"

#include <algorithm>

namespace {

void waitForTree(Session &session)
{
    session.see("Exit");
}

struct Case {
    const char *machine;
    const char *language;
    const char *exitText;
    int columns, rows;
};

std::string name(const Case &shown)
{
    return std::string(shown.machine) + "-" + std::string(shown.language).substr(0, 2) + "-"
           + std::to_string(shown.columns) + "x" + std::to_string(shown.rows);
}

// Opens the root, the CPU modules, the PCI modules and the first of these.
const std::string expand = keys::space + keys::down + keys::space + keys::down + keys::down
                           + keys::down + keys::space + keys::down + keys::space;

class EveryMachine : public testing::TestWithParam<Case> {};

TEST_P(EveryMachine, ShowsItsDevices)
{
    Session session({.machine = GetParam().machine,
                     .language = GetParam().language,
                     .rows = GetParam().rows,
                     .columns = GetParam().columns});
    session.see(GetParam().exitText);
    session.expectScreen("main/" + name(GetParam()) + "-collapsed");
    session.send(expand);
    session.expectScreen("main/" + name(GetParam()) + "-expanded");
    session.send(keys::tab + keys::enter);
    session.expectExit(1);
}

const Case cases[] = {
    {"ALDER", "en_US.UTF-8", "Exit", 80, 24}, {"ALDER", "ja_JP.UTF-8", "終了", 80, 24},
    {"BIRCH", "en_US.UTF-8", "Exit", 80, 24}, {"BIRCH", "ja_JP.UTF-8", "終了", 80, 24},
    {"CEDAR", "en_US.UTF-8", "Exit", 80, 24}, {"CEDAR", "ja_JP.UTF-8", "終了", 80, 24},
    {"CEDAR", "en_US.UTF-8", "Exit", 100, 40}, {"CEDAR", "ja_JP.UTF-8", "終了", 100, 40},
};

INSTANTIATE_TEST_SUITE_P(MainScreen, EveryMachine, testing::ValuesIn(cases), [](const auto &info) {
    std::string result = name(info.param);
    std::ranges::replace(result, '-', '_');
    return result;
});

} // namespace

TEST(MainScreen, IsNotShownOnAMachineThatIsNoFtServer)
{
    Session session({.machine = "PLAIN"});
    session.expectExit(1);
    EXPECT_EQ(session.terminal().output().find("FT Server Utility"), std::string::npos);
    expectInOrder(session.trace(), {"0 EditParameter this is not ft server.", "0 EditParameter <",
                                    "0 main <"});
}

TEST(MainScreen, EndsWithTheHotKeys)
{
    for (const std::string &key : {keys::ctrlA, keys::ctrlO}) {
        Session session;
        waitForTree(session);
        session.send(key);
        session.expectExit(1);
    }
}

TEST(MainScreen, KeepsHomeAndF12FromEndingIt)
{
    Session session;
    waitForTree(session);
    session.send(keys::home + keys::f12 + keys::ctrlZ + keys::space);
    session.see("[-] FT server");
    session.send(keys::ctrlA);
    session.expectExit(1);
}

TEST(MainScreen, LeavesTheTreeWithTabAndComesBack)
{
    Session session;
    waitForTree(session);
    session.send(keys::tab);
    session.expectScreen("main/exit-focused");
    session.send(keys::tab + keys::space);
    session.see("[-] FT server");
}
