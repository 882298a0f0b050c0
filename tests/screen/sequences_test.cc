// SPDX-License-Identifier: GPL-2.0-or-later
// What a terminal sends for a key in more than one byte, and what it sends that is no key.
#include "session.h"

#include <set>

using namespace keys;

namespace {

std::string csi(const std::string &rest)
{
    return "\x1b[" + rest;
}

// With Alt, the keys by which other sequences begin: what is typed next can belong to one.
const std::set<std::string> introducers = {"\x1b[", "\x1bO", "\x1bP", "\x1b]", "\x1b_"};

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
        "\x1b" + csi("200~") + " \r\x0f" + csi("201~"), // one soon after an Esc
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
    for (const char letter : std::string("abcdefgxyzABCDNQXZ0189.,:;<=>?!@#$%&'()*+-\\^"))
        result.push_back(std::string("\x1b") + letter);
    for (const std::string &letter : introducers)
        result.push_back(letter);
    return result;
}

// Longer than what is kept of a sequence, and a paste that is longer than what a terminal holds.
// The Space would act as a key of its own.
std::vector<std::string> longSequences()
{
    std::string paste;
    for (int i = 0; i < 1001; ++i)
        paste += "q\r \x0f\x1b[A\x01\t";
    std::vector<std::string> result = {csi("200~") + paste + csi("201~"),
                                       csi(std::string(300, '1') + " q")};
    for (const size_t length : {54ul, 55ul, 56ul, 57ul, 58ul, 300ul})
        for (const std::string end : {"\a", "\x1b\\"})
            for (const std::string begin : {"\x1b]52;c;", "\x1bP1+r", "\x1b_G"})
                result.push_back(begin + std::string(length, '7') + " " + end);
    return result;
}

// A key that follows acts, and one that undoes it as well.
void expectNextKey(Session &session, const std::string &sequence)
{
    Terminal &terminal = session.terminal();
    const std::string before = terminal.picture(), ctrlP = "\x10", ctrlN = "\x0e";
    for (const auto &[key, back] : {std::pair{down, up}, {ctrlN, ctrlP}, {space, space}}) {
        if (key == space && introducers.contains(sequence))
            continue;
        const std::string shown = testing::PrintToString(sequence + key);
        terminal.send(sequence + key);
        ASSERT_TRUE(terminal.waitUntil([&] { return terminal.picture() != before; })) << shown;
        terminal.waitUntilIdle();
        terminal.send(sequence + back);
        ASSERT_TRUE(terminal.waitUntil([&] { return terminal.picture() == before; })) << shown;
        terminal.waitUntilIdle();
    }
}

// Sends a sequence in two parts, divided at each place in turn, an odd number of times in all, and
// expects nothing of it.
void expectNothing(Session &session, const std::string &sequence)
{
    Terminal &terminal = session.terminal();
    const std::string before = terminal.picture();
    for (size_t split = 1; split <= sequence.size(); ++split) {
        terminal.sendPart(sequence.substr(0, split));
        terminal.sendPart(sequence.substr(split));
    }
    if (sequence.size() % 2 == 0) // an even number of times: a key that toggles would go unseen
        terminal.sendPart(sequence);
    terminal.waitUntilIdle();
    ASSERT_EQ(terminal.picture(), before) << testing::PrintToString(sequence);
    expectNextKey(session, sequence);
}

// A terminal takes no more at once than a program has room for.
void sendAll(Terminal &terminal, const std::string &bytes)
{
    constexpr size_t most = 1000;
    for (size_t at = 0; at < bytes.size(); at += most)
        terminal.sendPart(bytes.substr(at, most));
}

class EveryTerminalType : public testing::TestWithParam<const char *> {};

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

// The keys as the description of the terminal has them, and the arrows in both of their forms.
std::vector<std::string> knownKeys(const std::string &term)
{
    std::vector<std::string> result;
    for (const char letter : {'A', 'B', 'C', 'D'})
        for (const char *before : {"\x1b[", "\x1bO"})
            result.push_back(std::string(before) + letter);
    const std::set<std::string> names = {"kcuu1", "kcud1", "kcub1", "kcuf1", "khome", "kend",
                                         "kpp",   "knp",   "kcbt",  "kich1", "kdch1", "kf1",
                                         "kf2",   "kf3",   "kf4",   "kf5",   "kf6",   "kf7",
                                         "kf8",   "kf9",   "kf10",  "kf11",  "kf12"};
    for (const std::string &line : linesOf(::run({"/usr/bin/infocmp", "-1", term}).output)) {
        const size_t begin = line.find_first_not_of("\t "), is = line.find("=\\E");
        if (is == line.npos || !names.contains(line.substr(begin, is - begin)))
            continue;
        std::string key = "\x1b" + line.substr(is + 3, line.rfind(',') - is - 3);
        if (const size_t control = key.find("^I"); control != key.npos)
            key.replace(control, 2, "\t");
        result.push_back(key);
    }
    EXPECT_GE(result.size(), 20u) << term;
    return result;
}

// Sends each key whole and divided at each place, from the same picture on, to which other keys
// lead back; expects the same picture each time.
void expectOneKey(Session &session, const std::function<void()> &goBack)
{
    Terminal &terminal = session.terminal();
    const auto picture = [&] {
        terminal.waitUntilIdle();
        return terminal.picture();
    };
    goBack();
    const std::string start = picture();
    std::set<std::string> pictures;
    for (const std::string &key : knownKeys(session.files().environment().at("TERM"))) {
        std::string whole;
        for (size_t split = key.size(); split > 0; --split) {
            ASSERT_EQ(picture(), start);
            terminal.sendPart(key.substr(0, split));
            if (split < key.size())
                terminal.sendPart(key.substr(split));
            if (split == key.size())
                whole = picture();
            ASSERT_EQ(picture(), whole) << testing::PrintToString(key) << " after byte " << split;
            goBack();
        }
        pictures.insert(whole);
    }
    EXPECT_GE(pictures.size(), 3u); // some of them do something
}

TEST_P(EveryTerminalType, HasItsOwnKeysActAsOneInTheTree)
{
    Session session({.term = GetParam(), .rows = 12});
    session.see("FT server");
    session.send(space + down + space); // more than there is room for
    session.see("CPU module 1");
    expectOneKey(session, [&] {
        session.send(pageUp);
        session.send(up + up + down);
    });
}

TEST_P(EveryTerminalType, HasItsOwnKeysActAsOneAndLoseNoChangedSetting)
{
    Session session({.program = "mrvgeneral", .term = GetParam()});
    session.see("[*] Update the firmware");
    session.send(space);
    session.see("[ ] Update the firmware");
    expectOneKey(session, [&] {
        session.send("\x1b[A\x1b[A\x1b[A\x1b[A\x1b[A"); // as far as it goes
    });
    EXPECT_TRUE(session.terminal().contains("[ ] Update the firmware"));
}

INSTANTIATE_TEST_SUITE_P(Sequences, EveryTerminalType, testing::ValuesIn(terminalTypes));

} // namespace

TEST(Sequences, ThatHaveNoEndGiveWayToAControlKey)
{
    for (const std::string &sequence : introducers)
        for (const std::string &key : {ctrlA, ctrlO}) {
            Session session;
            session.see("FT server");
            session.send(sequence + key);
            session.expectExit(1);
        }
}

TEST(Sequences, DoNothingHoweverLongTheyAre)
{
    Session session({.program = "mrvgeneral"});
    session.see("[*] Update the firmware");
    const std::string before = session.stillPicture();
    for (const std::string &sequence : longSequences()) {
        sendAll(session.terminal(), sequence);
        session.terminal().waitUntilIdle();
        ASSERT_EQ(session.terminal().picture(), before)
            << testing::PrintToString(sequence.substr(0, 20));
        expectNextKey(session, "");
    }
}

TEST(Sequences, LetAPasteThatGetsStuckBeOver)
{
    Session session;
    session.see("FT server");
    EXPECT_NE(session.terminal().output().find("\x1b[?2004h"), std::string::npos); // are asked for
    session.send("\x1b[200~one" + ctrlO);
    EXPECT_TRUE(session.terminal().asksForKeyWithin(deadline));
    session.send(space);
    session.see("[-] FT server");
}

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

TEST(Sequences, WaitASecondWhereTheEnvironmentSaysNothingOfUse)
{
    for (const char *delay : {"abc", "-1", "5x", "", "99999999999"}) {
        Session session({.environment = {{"ESCDELAY", delay}}});
        session.see("FT server");
        session.send(space);
        session.see("[-]");
        session.terminal().waitUntilIdle();
        const std::string before = session.terminal().picture();
        session.terminal().sendPart("\x1b");
        session.terminal().settle(std::chrono::milliseconds(50));
        session.terminal().send("[1;5A");
        EXPECT_EQ(session.stillPicture(), before) << delay;
        session.send("\x1b");
        session.expectExit(1);
    }
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

// What comes before the delay is over belongs to the Esc, and what comes after that does not.
TEST(Sequences, AreOneKeyWithinTheDelayAndTwoBeyondIt)
{
    for (const bool isWithin : {true, false}) {
        Session session({.environment = {{"ESCDELAY", isWithin ? "10000" : "0"}}});
        session.see("Exit");
        session.send(space + down + down + space + down + enter);
        session.see("┤ PCI module 1 --");
        session.terminal().waitUntilIdle();
        const std::string before = session.stillPicture();
        session.terminal().sendPart("\x1b");
        if (!isWithin)
            session.seeNot("┤ PCI module 1 --");
        const std::string after = session.stillPicture();
        session.send("[B");
        if (isWithin) {
            EXPECT_TRUE(session.terminal().waitUntil(
                [&] { return session.terminal().picture() != before; }));
        } else {
            EXPECT_EQ(session.stillPicture(), after);
        }
        EXPECT_EQ(session.terminal().contains("┤ PCI module 1 --"), isWithin);
    }
}
