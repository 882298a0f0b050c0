// SPDX-License-Identifier: GPL-2.0-or-later
// Texts as the terminal shows them: columns, cutting, names in EUC.
#include "text/displaytext.h"

#include <clocale>
#include <gtest/gtest.h>

namespace {

class Display : public testing::Test {
protected:
    Display()
    {
        setlocale(LC_ALL, "C.UTF-8");
    }
    ~Display() override
    {
        setlocale(LC_ALL, "C");
    }
};

std::string inBuffer(const char *source, size_t size)
{
    std::string buffer(size, '#');
    copyText(buffer, source);
    const size_t end = buffer.find('\0');
    EXPECT_NE(end, std::string::npos);
    EXPECT_EQ(buffer.find_first_not_of('\0', end), std::string::npos) << "what follows is zero";
    return buffer.substr(0, end);
}

} // namespace

TEST_F(Display, CountsColumns)
{
    EXPECT_EQ(textWidth(""), 0);
    EXPECT_EQ(textWidth("CPU module 1"), 12);
    EXPECT_EQ(textWidth("é"), 1);
    EXPECT_EQ(textWidth("漢字"), 4);
    EXPECT_EQ(textWidth("e\u0301"), 1); // with an accent that takes no column
}

TEST_F(Display, CountsAByteThatIsNoCharacterAsOneColumn)
{
    EXPECT_EQ(textWidth("\xff"), 1);
    EXPECT_EQ(textWidth("a\xe6\xbc"), 3);
}

TEST_F(Display, CutsBetweenCharactersToColumns)
{
    EXPECT_EQ(cutText("CPU module 1", 12), "CPU module 1");
    EXPECT_EQ(cutText("CPU module 1", 3), "CPU");
    EXPECT_EQ(cutText("漢字", 3), "漢");
    EXPECT_EQ(cutText("e\u0301x", 1), "e\u0301");
    EXPECT_EQ(cutText("", 5), "");
    EXPECT_EQ(cutText("x", 0), "");
}

TEST_F(Display, WrapsAtBlanksAndBesideWideCharacters)
{
    using Lines = std::vector<std::string>;
    EXPECT_EQ(wrapText("", 5), Lines{""});
    EXPECT_EQ(wrapText("one two", 7), Lines{"one two"});
    EXPECT_EQ(wrapText("one two   ", 7), Lines{"one two"});
    EXPECT_EQ(wrapText("one two", 6), (Lines{"one", "two"}));
    EXPECT_EQ(wrapText("one  two three", 5), (Lines{"one", "two", "three"}));
    EXPECT_EQ(wrapText("a\n\nb c", 9), (Lines{"a", "", "b c"}));
    EXPECT_EQ(wrapText("abcdefgh ij", 3), (Lines{"abc", "def", "gh", "ij"}));
    EXPECT_EQ(wrapText("漢字漢字", 5), (Lines{"漢字", "漢字"}));
    EXPECT_EQ(wrapText("CPU漢字", 5), (Lines{"CPU漢", "字"}));
    EXPECT_EQ(wrapText("漢CPUx", 5), (Lines{"漢", "CPUx"}));
    // What closes a sentence does not begin a line.
    EXPECT_EQ(wrapText("漢字漢字。", 8), (Lines{"漢字漢", "字。"}));
    EXPECT_EQ(wrapText("漢", 1), Lines{"漢"});
    EXPECT_EQ(wrapText("\xff\xff", 1), (Lines{"\xff", "\xff"}));
}

TEST_F(Display, ShowsWhatTheTerminalCantShowAsQuestionMarks)
{
    EXPECT_EQ(showable("CPU module 1?"), "CPU module 1?");
    EXPECT_EQ(showable("é漢e\u0301"), "é漢e\u0301");
    EXPECT_EQ(showable("a\tb\nc\x1b[31m\x7f"), "a?b?c?[31m?");
    EXPECT_EQ(showable("\u0080\u009b31m\u009f\u00a0"), "??31m?\u00a0");
    EXPECT_EQ(showable("\xff\xe6\xbcz"), "???z");
    EXPECT_EQ(showable("\u2028"), "?"); // a line separator
    EXPECT_EQ(showable("\u202ecba\u202c \u2066\u2069\u200e\u200f\u061c"), "?cba? ?????");
    EXPECT_EQ(showable("\u200d\u202f"), "\u200d\u202f"); // these join and separate only
    EXPECT_EQ(showable(""), "");
    EXPECT_EQ(showableLines("\x01\n\ta\x1b\n\u009b"), "?\n\ta?\n?");
}

TEST_F(Display, CountsWhatIsShown)
{
    for (const char *text : {"a\tb", "\n", "\x01", "\u0085", "\xff\xe6\xbcz", "漢\x7f"}) {
        const int width = textWidth(text);
        EXPECT_EQ(width, textWidth(showable(text).c_str())) << text;
        EXPECT_GT(width, 0);
    }
}

TEST_F(Display, CutsBetweenCharacters)
{
    EXPECT_EQ(inBuffer("abc", 4), "abc");
    EXPECT_EQ(inBuffer("abc", 3), "ab");
    EXPECT_EQ(inBuffer("漢字", 7), "漢字");
    EXPECT_EQ(inBuffer("漢字", 6), "漢");
    EXPECT_EQ(inBuffer("漢字", 3), "");
    EXPECT_EQ(inBuffer("漢", 1), "");
}

TEST_F(Display, ClearsTheRestOfABuffer)
{
    EXPECT_EQ(inBuffer("a", 20), "a");
    EXPECT_EQ(inBuffer("", 20), "");
}

TEST_F(Display, TakesNamesInEucAndInTheLocalesEncoding)
{
    EXPECT_EQ(displayText("\xb4\xc1\xbb\xfa"), "漢字");
    EXPECT_EQ(displayText("漢字"), "漢字");
    EXPECT_EQ(displayText("\xb4\xc1\a"), "漢?");
    EXPECT_EQ(displayText(nullptr), "");
}

TEST_F(Display, TakesAsMuchOfANameAsFitsIntoABuffer)
{
    EXPECT_EQ(displayText(std::string(2000, 'x').c_str()), std::string(1023, 'x'));
}
