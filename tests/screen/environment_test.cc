// SPDX-License-Identifier: GPL-2.0-or-later
// What newt and S-Lang find in the environment by themselves.
#include "session.h"

#include <csignal>
#include <sys/stat.h>

namespace {

std::string fifoBelow(const std::filesystem::path &directory, const std::string &name)
{
    std::filesystem::create_directories((directory / name).parent_path());
    mkfifo((directory / name).c_str(), 0600);
    return directory / name;
}

std::string pictureWith(const std::string &variable, const std::string &value)
{
    Session session({.environment = {{variable, value}}});
    session.see("Exit");
    if (testing::Test::HasFailure())
        return "(not shown)";
    const std::string picture = session.stillPicture();
    session.send(keys::ctrlO);
    session.expectExit(1);
    return picture;
}

} // namespace

// newt opens the file of colours and waits when it is a FIFO.
TEST(Environment, OfColoursChangesNothing)
{
    const TemporaryDirectory directory;
    const std::string red = directory.path / "red";
    writeFile(red, "root=red,green\nwindow=,magenta\n");
    const std::string usual = pictureWith("TZ", "UTC");
    std::string garbage;
    for (int i = 0; i < 1000; ++i)
        garbage += "=,;\x01root=%s%n,;:\x1b[31m\xff";
    for (const auto &[variable, value] : std::vector<std::pair<std::string, std::string>>{
             {"NEWT_COLORS_FILE", fifoBelow(directory.path, "fifo")},
             {"NEWT_COLORS_FILE", red},
             {"NEWT_COLORS", "root=red,green"},
             {"NEWT_COLORS", garbage},
             {"COLORFGBG", garbage},
             {"COLORFGBG", "99999999999;-1"},
             {"COLORTERM", "truecolor"},
             {"COLORTERM_BCE", "1"}})
        ASSERT_EQ(pictureWith(variable, value), usual) << variable << "=" << value;
}

// A child of the program may be newt's as well.
TEST(Environment, OfColoursIsThereForChildren)
{
    using Variables = std::map<std::string, std::string>;
    for (const auto &[environment, seen] :
         {std::pair{Variables{{"NEWT_COLORS", "root=red,"}}, "<root=red,> <>"},
          {Variables{{"NO_COLOR", "1"}}, "<> <>"},
          {Variables{{"NO_COLOR", "1"}, {"NEWT_MONO", "yes"}}, "<> <yes>"}}) {
        Session session(
            {.program = "mrvfirmware",
             .script = "system 0 text=echo \"<$NEWT_COLORS> <$NEWT_MONO>\"; read answer",
             .environment = environment});
        session.see("04.17");
        session.send(keys::enter);
        session.see(seen);
        session.send("\r");
        session.see("04.17");
        session.send(keys::tab + keys::enter);
        session.expectExit(1);
    }
}

TEST(Environment, OfATerminalWithoutASizeIsTaken)
{
    Session session({.rows = 0, .columns = 0, .environment = {{"LINES", "20"}, {"COLUMNS", "70"}}});
    session.see("Exit");
    session.terminal().waitUntilIdle();
    EXPECT_NE(session.terminal().output().find("\x1b[20;"), std::string::npos); // the help line
    EXPECT_EQ(session.terminal().output().find("\x1b[24;"), std::string::npos);
    Session low({.rows = 0, .columns = 0, .environment = {{"LINES", "5"}}});
    low.see("the terminal has 80 columns and 5 rows");
    low.expectExit(0);
}

// A screen as large as it was asked for would take all memory there is.
TEST(Environment, OfAMonstrousSizeHasAnEnd)
{
    Session session(
        {.rows = 0, .columns = 0, .environment = {{"LINES", "3000"}, {"COLUMNS", "3000"}}});
    session.terminal().waitUntilIdle();
    const std::string output = session.terminal().output();
    EXPECT_NE(output.find("\x1b[500;"), std::string::npos); // where the window's middle is
    EXPECT_EQ(output.find("\x1b[1500;"), std::string::npos);
    session.send(keys::ctrlO);
    session.expectExit(1);
}

TEST(Environment, LetsCtrlSBeAKeyWhereAskedFor)
{
    for (const bool isAsked : {false, true}) {
        Session session({.environment = {{isAsked ? "NEWT_NOFLOWCTRL" : "UNUSED", "1"}}});
        session.see("Exit");
        EXPECT_EQ(session.terminal().modes().flowControl, !isAsked);
        session.send(keys::ctrlO);
        session.expectExit(1);
    }
}

TEST(Environment, OfWideAmbiguousCharactersHasFramesOfAscii)
{
    Session session({.environment = {{"WCWIDTH_CJK_LEGACY", "yes"}}});
    session.see("+ FT Server Utility +");
    session.see("Exit");
    session.send(keys::ctrlO);
    session.expectExit(1);
}

// S-Lang waits there, before the program has touched the terminal.
TEST(Environment, WhereATypeOfTerminalIsAFifoIsLeftByCtrlC)
{
    const TemporaryDirectory directory;
    fifoBelow(directory.path, "x/xterm-256color");
    Session session({.environment = {{"TERMINFO", directory.path.string()}}});
    Terminal &terminal = session.terminal();
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (terminal.wait(std::chrono::milliseconds(20)) == -1
           && std::chrono::steady_clock::now() < end)
        terminal.send("\x03");
    session.expectSignal(SIGINT);
    EXPECT_FALSE(terminal.inAlternateScreen());
}
