// SPDX-License-Identifier: GPL-2.0-or-later
// The main screen: what it shows on each machine, how it is left.
#include "frame.h"
#include "job.h"
#include "navigation.h"

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
    {"ALDER", "en_US.UTF-8", "Exit", 80, 24},  {"ALDER", "ja_JP.UTF-8", "終了", 80, 24},
    {"BIRCH", "en_US.UTF-8", "Exit", 80, 24},  {"BIRCH", "ja_JP.UTF-8", "終了", 80, 24},
    {"CEDAR", "en_US.UTF-8", "Exit", 80, 24},  {"CEDAR", "ja_JP.UTF-8", "終了", 80, 24},
    {"CEDAR", "en_US.UTF-8", "Exit", 100, 40}, {"CEDAR", "ja_JP.UTF-8", "終了", 100, 40},
};

INSTANTIATE_TEST_SUITE_P(MainScreen, EveryMachine, testing::ValuesIn(cases), [](const auto &info) {
    std::string result = name(info.param);
    std::ranges::replace(result, '-', '_');
    return result;
});

// What the row with the focus shows, without the lines of the tree. It is in the frame, which has a
// scroll bar with its thumb.
std::string currentRow(Session &session, const std::string &title)
{
    session.stillPicture();
    const std::optional<Frame> frame = findFrame(session.terminal(), title);
    const VTermPos cursor = session.terminal().cursor();
    if (!frame || !frame->encloses(cursor))
        throw std::runtime_error("the focus is out of sight\n" + session.terminal().picture());
    EXPECT_EQ(std::ranges::count_if(frame->rows,
                                    [](const std::string &row) { return row.ends_with("▮ "); }),
              1)
        << session.terminal().picture();
    const std::string &row = frame->rows.at(static_cast<size_t>(cursor.row - frame->top - 1));
    const size_t end = row.find_last_not_of(' ', row.find_last_of(' ', row.size() - 2));
    const size_t begin = row.find_first_not_of(" |`-");
    return row.substr(begin, end + 1 - begin);
}

// Opens whatever can be opened on the way down, and returns the rows that had the focus.
std::vector<std::string> walkDown(int columns, int rows, const std::string &language)
{
    Session session({.language = language, .rows = rows, .columns = columns});
    const bool isEnglish = language == "en_US.UTF-8";
    session.see(isEnglish ? "Exit" : "終了");
    const std::string title = isEnglish ? "FT Server Utility" : "FTサーバユーティリティ";
    std::vector<std::string> texts;
    for (std::string text = currentRow(session, title); texts.empty() || text != texts.back();
         text = currentRow(session, title)) {
        texts.push_back(text);
        session.send(text.find("[+]") != text.npos ? keys::space + keys::down : keys::down);
    }
    return texts;
}

} // namespace

TEST(MainScreen, IsNotShownOnAMachineThatIsNoFtServer)
{
    Session session({.machine = "PLAIN"});
    session.expectExit(1);
    EXPECT_EQ(session.terminal().output().find("FT Server Utility"), std::string::npos);
    EXPECT_TRUE(session.terminal().output().ends_with(
        "mrvutil: this machine is no fault-tolerant server; name another one in yatkit.toml or "
        "YAT_MACHINE\r\n"))
        << session.terminal().output();
    expectInOrder(session.trace(),
                  {"0 EditParameter this is not ft server.", "0 EditParameter <", "0 main <"});
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

TEST(MainScreen, HasOpenWhatItNeedsAndNoMoreAfterAWindow)
{
    Session session({.script = "StatusChange real held"});
    const std::vector<std::string> needed = {
        "CEDAR.db", "CEDAR.db-shm", "CEDAR.db-wal", "YATmrvutil.log", "pipe",
        "pipe",     "terminal",     "terminal",     "terminal",       "tty"};
    session.see("FT server");
    session.terminal().waitUntilIdle();
    EXPECT_EQ(openFilesOf(session.terminal().pid()), needed);
    session.send(pciModule.path + keys::enter);
    session.see("..."); // so long that it says so
    session.files().letGo();
    session.see("Close");
    session.send("\x1b");
    session.seeNot("┤ PCI module 1 --");
    session.terminal().waitUntilIdle();
    EXPECT_EQ(openFilesOf(session.terminal().pid()), needed);
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

TEST(MainScreen, LeadsToEveryDeviceWhereItScrolls)
{
    for (const std::string language : {"en_US.UTF-8", "ja_JP.UTF-8"}) {
        const std::vector<std::string> texts = walkDown(40, 12, language);
        EXPECT_EQ(texts.size(), 13u);
        EXPECT_EQ(texts, walkDown(132, 43, language));
    }
}

// newt would draw a wide character twice that ends with the screen.
TEST(MainScreen, EndsItsHelpLineWithAWholeCharacter)
{
    for (const auto &[columns, end] : {std::pair{40, "Enter:開  "}, {41, "Enter:開く "}}) {
        Session session({.language = "ja_JP.UTF-8", .rows = 12, .columns = columns});
        session.see("Esc");
        session.stillPicture();
        EXPECT_TRUE(session.terminal().rows().back().ends_with(end))
            << session.terminal().picture();
        const auto spots = session.terminal().spots().back();
        EXPECT_EQ(spots.back().style, spots.front().style);
    }
}
