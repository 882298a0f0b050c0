// SPDX-License-Identifier: GPL-2.0-or-later
// Terminals that are low, narrow, without colours, without line drawing, or in another encoding.
#include "navigation.h"

#include <set>

using namespace keys;

namespace {

// The picture without its last line, which tells the cursor.
std::string withoutCursor(const Terminal &terminal)
{
    const std::string picture = terminal.picture();
    return picture.substr(0, picture.rfind('\n', picture.size() - 2) + 1);
}

// Goes through so many focus positions with Tab; each has to look different from all others, the
// cursor left aside.
void expectFocusToBeSeen(Session &session, int positions)
{
    std::set<std::string> pictures;
    for (int i = 0; i < positions; ++i) {
        std::string last;
        EXPECT_TRUE(session.terminal().waitUntil([&] {
            last = withoutCursor(session.terminal());
            return !pictures.contains(last);
        })) << "position "
            << i << " looks like an earlier one\n"
            << session.terminal().picture();
        pictures.insert(last);
        session.send(tab);
    }
}

// The same down a tree of so many rows.
void expectRowsToBeSeen(Session &session, int count)
{
    std::set<std::string> pictures;
    for (int i = 0; i < count; ++i) {
        EXPECT_TRUE(session.terminal().waitUntil([&] {
            return !pictures.contains(withoutCursor(session.terminal()));
        })) << session.terminal().picture();
        session.terminal().settle(std::chrono::milliseconds(20));
        pictures.insert(withoutCursor(session.terminal()));
        session.send(down);
    }
}

struct Kind {
    const char *name;
    const char *term;
    std::map<std::string, std::string> environment;
};

const Kind kinds[] = {
    {"Colours256", "xterm-256color", {}},
    {"Colours16", "test-16color", {{"TERMINFO_DIRS", TERMINFO ":"}, {"TERMINFO", TERMINFO}}},
    {"Colours8", "xterm", {}},
    {"Vt100", "vt100", {}},
    {"LinuxConsole", "linux", {}},
    {"Vt220", "vt220", {}},
    {"Screen", "screen", {}},
    {"Tmux", "tmux", {}},
    {"NewtMono", "xterm-256color", {{"NEWT_MONO", "1"}}},
    {"NoColor", "xterm-256color", {{"NO_COLOR", "1"}}},
};

class EveryTerminal : public testing::TestWithParam<Kind> {
protected:
    RunOptions options() const
    {
        return {.term = GetParam().term, .rows = 30, .environment = GetParam().environment};
    }
};

TEST_P(EveryTerminal, ShowsTheFocusInADeviceWindow)
{
    Session session(options());
    open(session, cpuModule);
    session.expectScreen(std::string("terminals/cpu-") + GetParam().name);
    expectFocusToBeSeen(session, 16);
}

TEST_P(EveryTerminal, ShowsTheFocusInTheTreeAndItsButton)
{
    Session session(options());
    session.see("Exit");
    session.send(space + down + space);
    session.see("CPU module 2");
    session.expectScreen(std::string("terminals/tree-") + GetParam().name);
    session.send(up);
    expectRowsToBeSeen(session, 5);
    expectFocusToBeSeen(session, 2);
}

TEST_P(EveryTerminal, ShowsTheFocusInABox)
{
    Session session(options());
    open(session, ethernetAdapter);
    session.send(enter);
    session.see("Clear the MTBF count of this device?");
    expectFocusToBeSeen(session, 2);
}

TEST_P(EveryTerminal, ShowsTheFocusInTheOtherWindows)
{
    RunOptions general = options();
    general.program = "mrvgeneral";
    Session settings(general);
    settings.see("Execute");
    expectFocusToBeSeen(settings, 4);
    Session update(options());
    open(update, cpuModule);
    press(update, 8);
    update.see("Update method:");
    expectFocusToBeSeen(update, 4);
}

TEST_P(EveryTerminal, IsLeftAsItWas)
{
    Session session(options());
    session.see("Exit");
    session.send(ctrlO);
    session.expectExit(1);
    EXPECT_TRUE(session.terminal().modes().canonical);
    EXPECT_FALSE(session.terminal().inAlternateScreen());
}

INSTANTIATE_TEST_SUITE_P(Terminals, EveryTerminal, testing::ValuesIn(kinds),
                         [](const auto &info) { return std::string(info.param.name); });

// The style of the screen's top left cell tells whether there are colours.
bool hasColours(Session &session)
{
    session.see("Exit");
    return session.terminal().picture().find(" on blue") != std::string::npos;
}

} // namespace

TEST(NoColor, CountsWhenItIsSetAndNotEmpty)
{
    for (const auto &[value, colours] : {std::pair{"1", false}, {"0", false}, {"", true}}) {
        Session session({.environment = {{"NO_COLOR", value}}});
        EXPECT_EQ(hasColours(session), colours);
    }
    Session session;
    EXPECT_TRUE(hasColours(session));
}

TEST(LineDrawing, FallsBackToAscii)
{
    // A terminal that has no line drawing of its own, in a locale without one either.
    Session ascii({.language = "C", .term = "sun"});
    ascii.see("Exit");
    ascii.expectScreen("terminals/ascii");
    // The terminal's own line drawing where the locale has none.
    Session own({.language = "C"});
    own.see("Exit");
    own.expectScreen("terminals/own-lines");
}

TEST(Encoding, OfALocaleThatTheMachineLacksIsUtf8UnlessItsNameSaysOtherwise)
{
    for (const char *language : {"ja_XX.UTF-8", "ja_XX.utf8", "ja_XX"}) {
        Session session({.language = language});
        session.see("終了");
    }
    Session session({.language = "ja_XX.SJIS"});
    session.see("[+] FT???");
}

// ---- Low terminals

namespace {

struct Low {
    const char *name;
    const Device *device;
    int rows;
    int positions;
    const char *machine = "CEDAR";
    const char *language = "en_US.UTF-8";
};

const Low lows[] = {
    {"cpu", &cpuModule, 23, 16},
    {"cpu", &cpuModule, 20, 16},
    {"cpu", &cpuModule, 15, 16},
    {"pci", &pciModule, 17, 10},
    {"pci", &pciModule, 15, 10},
    {"ethernet", &ethernetAdapter, 15, 2},
    {"cpu", &cpuModule, 12, 16},
    {"cpu-ALDER-", &cpuModule, 15, 12, "ALDER"},
    {"cpu-BIRCH-", &cpuModule, 12, 12, "BIRCH"},
    {"scsi", &scsiAdapter, 12, 3},
    {"cpu-ja-", &cpuModule, 15, 16, "CEDAR", "ja_JP.UTF-8"},
    {"pci-ja-", &pciModule, 12, 10, "CEDAR", "ja_JP.UTF-8"},
};

class EveryLowTerminal : public testing::TestWithParam<Low> {};

// Neither the exit button nor the close button need be in sight.
void openLow(Session &session, const Device &device)
{
    session.see("[+] FT");
    session.send(device.path + enter);
    session.see("MTBF");
}

std::string lowName(const Low &low)
{
    return std::string(low.name) + std::to_string(low.rows);
}

TEST_P(EveryLowTerminal, ReachesAndShowsEveryComponent)
{
    const Low &low = GetParam();
    Session session({.machine = low.machine, .language = low.language, .rows = low.rows});
    openLow(session, *low.device);
    session.expectScreen("low/" + lowName(low) + "-top");
    session.see(std::string("┤ ") + low.device->name);
    session.see("└");
    expectFocusToBeSeen(session, low.positions);
    // Back on top after the last one.
    session.expectScreen("low/" + lowName(low) + "-around");
    session.send(backTab);
    session.expectScreen("low/" + lowName(low) + "-bottom");
}

INSTANTIATE_TEST_SUITE_P(Low, EveryLowTerminal, testing::ValuesIn(lows),
                         [](const auto &info) { return inTestName(lowName(info.param)); });

} // namespace

TEST(Low, WindowsWorkAsHighOnesDo)
{
    Session session({.rows = 15});
    openLow(session, cpuModule);
    press(session, 5);
    session.see("Stop this CPU module?");
    session.send(enter);
    session.see("The operation was successful.");
    session.send(enter);
    session.seeNot("successful");
    session.expectScreen("low/after-operation");
    press(session, 9); // refresh
    session.see("Stopping 0 %");
}

TEST(Low, WindowsTellThatThereIsMoreInEachEncoding)
{
    for (const auto &[language, above, below] :
         {std::tuple{"en_US.UTF-8", "↑", "↓"}, {"C", "^", "v"}}) {
        Session session({.language = language, .rows = 15});
        openLow(session, cpuModule);
        constexpr size_t frame = 62, top = 1, bottom = 12;
        const auto seeAtFrame = [&](size_t row, const std::string &mark) {
            EXPECT_TRUE(session.terminal().waitUntil([&] {
                return session.terminal().spots().at(row).at(frame).text == mark;
            })) << mark
                << session.terminal().picture();
        };
        seeAtFrame(bottom, below);
        session.send(backTab); // to the button at the end
        seeAtFrame(top, above);
    }
}

// newt would centre it with its frame cut off.
TEST(Low, WindowsThatJustFitHaveTheirFrame)
{
    for (const int rows : {28, 29, 30, 31}) {
        SCOPED_TRACE(rows);
        Session session({.rows = rows});
        openLow(session, cpuModule);
        session.see("┤ CPU module 1 --FT Server Utility ├");
        session.see("└─────────────────────────────────────────────┘");
        EXPECT_NE(session.terminal().rows().back().find("Esc: leave"), std::string::npos);
    }
}

TEST(Low, TheBiosViewFits)
{
    Session session({.rows = 15});
    openLow(session, cpuModule);
    press(session, 9);
    session.see("BIOS version:");
    session.expectScreen("low/bios");
    session.send(enter);
    session.seeNot("BIOS version:");
}

TEST(Low, TheFirmwareUpdateFits)
{
    Session session({.rows = 15});
    openLow(session, cpuModule);
    press(session, 8);
    session.see("Update method:");
    session.expectScreen("low/firmware-update");
    session.send(backTab);
    session.expectScreen("low/firmware-update-bottom");
}
