// SPDX-License-Identifier: GPL-2.0-or-later
// What a terminal sends for a key in more than one byte, and what it sends that is no key.
#include "session.h"

#include <thread>

using namespace keys;

namespace {

std::string csi(const std::string &rest)
{
    return "\x1b[" + rest;
}

// Keys that newt knows nothing of, and what terminals report.
std::vector<std::string> unknownSequences()
{
    std::vector<std::string> result = {
        csi("I"),
        csi("O"), // focus in and out
        csi("M !!"),
        csi("M#!!"),
        csi("M`~~"), // mouse, three bytes of any value
        csi("<0;12;7M"),
        csi("<0;12;7m"),
        csi("<64;200;100M"), // mouse
        csi("0;12;7M"),
        csi("35;12;7M"),                                      // mouse as urxvt has it
        csi("200~") + "q\r\n \x01\x0f\t:!sh\r" + csi("201~"), // a paste
        csi("200~") + "\x1b[A\x1b\x1b[200~" + csi("201~"),    // one with sequences in it
        csi("200~") + csi("201~"),
        csi("201~"),
        csi("24;80R"),
        csi("?24;80;1R"),
        csi("0n"),
        csi("?62;1;6c"),
        csi("?1;2c"),
        csi(">41;354;0c"),
        csi("?2004;2$y"),
        csi("8;24;80t"),
        csi("?997;1n"),
        csi("?1u"),
        "\x1b]11;rgb:0000/0000/0000\x1b\\",
        "\x1b]4;1;rgb:cdcd/0000/0000\a",
        "\x1b]52;c;cm0=\a",
        "\x1bP>|XTerm(379)\x1b\\",
        "\x1bP1+r436f=323536\x1b\\",
        "\x1bP!|00000000\x1b\\",
        "\x1b_Gi=1;OK\x1b\\",
        csi("27;5;9~"),
        csi("27;6;13~"),
        csi("97;5u"),
        csi("13;2u"),
        csi("57358;1u"),
        "\x1bOq",
        "\x1bOr",
        "\x1bOs",
        "\x1bOt",
        "\x1bOu",
        "\x1bOx",
        "\x1bOy",
        "\x1bOl",
        "\x1bOn",
        "\x1bO5A",
        "\x1bO2P",
        "\x1bO2q",
        "\x1b\x1b[A",
        "\x1b\x1bOP",
        "\x1b\x1b[5~",
        csi("a"),
        csi("b"),
        csi("c"),
        csi("d"),
        csi("G"),
        csi("E"),
        csi("3$"),
        csi("3^"),
        csi("11^"),
        "\x1bあ",
        "\x1b\r",
        "\x1b ",
        "\x1b\x7f",
        "\x1b\x01",
        "\x1b/",
    };
    for (const char *letter : {"A", "B", "C", "D", "F", "H", "P", "Q", "R", "S"})
        for (const char *modifier : {"2", "3", "5", "6", "8"})
            result.push_back(csi("1;" + std::string(modifier) + letter));
    for (const char *number : {"2", "3", "5", "6", "15", "24"})
        for (const char *modifier : {"2", "3", "5"})
            result.push_back(csi(std::string(number) + ";" + modifier + "~"));
    for (const char *number : {"25", "26", "28", "29", "31", "32", "33", "34", "42"})
        result.push_back(csi(std::string(number) + "~"));
    for (const char letter : std::string("abcdefgxyzABCDQZ0189.,:;<=>?!@#$%&'()*+-"))
        result.push_back(std::string("\x1b") + letter);
    return result;
}

// Sends a part and waits until the program has taken it, so that it gets the rest by itself.
void sendPart(Terminal &terminal, const std::string &part)
{
    terminal.send(part);
    while (terminal.unread() > 0)
        std::this_thread::yield();
}

// Sends a sequence in two parts, divided at each place in turn, an odd number of times in all, and
// expects nothing of it.
void expectNothing(Session &session, const std::string &sequence)
{
    Terminal &terminal = session.terminal();
    const std::string before = terminal.picture();
    for (size_t split = 1; split <= sequence.size(); ++split) {
        sendPart(terminal, sequence.substr(0, split));
        sendPart(terminal, sequence.substr(split));
    }
    if (sequence.size() % 2 == 1) // an even number of times: a key that toggles would go unseen
        sendPart(terminal, sequence);
    terminal.waitUntilIdle();
    ASSERT_EQ(terminal.picture(), before) << testing::PrintToString(sequence);
}

class EveryTerminalType : public testing::TestWithParam<const char *>
{
};

TEST_P(EveryTerminalType, HasUnknownSequencesDoNothingInTheTree)
{
    Session session({.term = GetParam()});
    session.see("FT server");
    session.send(space);
    session.see("CPU modules");
    session.terminal().waitUntilIdle();
    for (const std::string &sequence : unknownSequences())
        ASSERT_NO_FATAL_FAILURE(expectNothing(session, sequence));
    session.send("\x1b");
    session.expectExit(1);
}

TEST_P(EveryTerminalType, HasUnknownSequencesLoseNoChangedSetting)
{
    Session session({.program = "mrvgeneral", .term = GetParam()});
    session.see("[*] Update the firmware");
    session.send(space);
    session.see("[ ] Update the firmware");
    session.terminal().waitUntilIdle();
    for (const std::string &sequence : unknownSequences())
        ASSERT_NO_FATAL_FAILURE(expectNothing(session, sequence));
    session.send(space);
    session.see("[*] Update the firmware");
}

// Sends a key and expects another picture, which it returns.
std::string pictureAfter(Session &session, const std::string &key)
{
    Terminal &terminal = session.terminal();
    terminal.waitUntilIdle();
    const std::string before = terminal.picture();
    terminal.send(key);
    EXPECT_TRUE(terminal.waitUntil([&] { return terminal.picture() != before; }));
    terminal.settle(std::chrono::milliseconds(100));
    return terminal.picture();
}

// The forms in which terminals send the keys of the tree.
TEST_P(EveryTerminalType, HasTheKeysOfTheTreeInAllTheirForms)
{
    Session session({.term = GetParam()});
    session.see("FT server");
    session.send(space);
    session.see("CPU modules");
    const std::string above = pictureAfter(session, down), below = pictureAfter(session, down);
    Terminal &terminal = session.terminal();
    const auto isShown = [&](const std::string &picture) {
        return terminal.waitUntil([&] { return terminal.picture() == picture; });
    };
    for (const char *letterBefore : {"\x1b[", "\x1bO"})
        for (size_t split = 1; split <= 3; ++split)
            for (const auto &[letter, wanted] : {std::pair{"A", above}, {"B", below}}) {
                const std::string form = std::string(letterBefore) + letter;
                sendPart(terminal, form.substr(0, split));
                sendPart(terminal, form.substr(split));
                ASSERT_TRUE(isShown(wanted))
                    << testing::PrintToString(form) << " after byte " << split;
            }
}

INSTANTIATE_TEST_SUITE_P(Sequences, EveryTerminalType,
                         testing::Values("xterm", "screen", "tmux", "linux", "vt220"));

} // namespace

TEST(Sequences, AreOneKeyOnASlowLineToo)
{
    Session session;
    session.see("FT server");
    session.terminal().waitUntilIdle();
    const std::string before = session.terminal().picture();
    for (const char byte : csi("1;5A")) {
        session.terminal().send(std::string(1, byte));
        session.terminal().settle(std::chrono::milliseconds(700));
    }
    EXPECT_EQ(session.terminal().picture(), before);
}

TEST(Sequences, WaitForTheirRestAsLongAsTheEnvironmentSays)
{
    Session session({.environment = {{"ESCDELAY", "60000"}}}); // ten seconds are the most
    session.see("FT server");
    session.send("\x1b");
    session.terminal().settle(std::chrono::milliseconds(1500));
    session.send("[1;5A");
    session.terminal().waitUntilIdle();
    EXPECT_TRUE(session.terminal().contains("FT server"));
    session.send(ctrlO);
    session.expectExit(1);
}

TEST(Sequences, EndTheWaitingForTheirRestWithTheTerminal)
{
    Session session({.environment = {{"ESCDELAY", "10000"}}});
    session.see("FT server");
    session.send("\x1b]11;rgb");
    session.terminal().hangUp();
    session.expectSignal(SIGHUP);
}

TEST(Sequences, LeaveALoneEscToCloseAWindow)
{
    Session session({.program = "mrvgeneral", .environment = {{"ESCDELAY", "50"}}});
    session.see("Execute");
    session.send("\x1b");
    session.expectExit(1);
}
