// SPDX-License-Identifier: GPL-2.0-or-later
#include "terminal/sequences.h"

#include <clocale>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

struct Expected {
    std::string bytes;
    std::string_view key; // empty: none that newt knows
};

const std::vector<Expected> sequences = {
    {"\x1b[A", "\x1b[A"},
    {"\x1bOA", "\x1b[A"},
    {"\x1bOF", "\x1b[4~"},
    {"\x1b[F", "\x1b[4~"},
    {"\x1b[8~", "\x1b[4~"},
    {"\x1b[H", "\x1b[1~"},
    {"\x1b[7~", "\x1b[1~"},
    {"\x1b[Z", "\x1b[Z"},
    {"\x1b[3~", "\x1b[3~"},
    {"\x1b[24~", "\x1b[24~"},
    {"\x1bOS", "\x1bOS"},
    {"\x1b[[E", "\x1b[[E"},
    {"\x1bOM", "\r"},
    {"\x1bv", "\x1bv"},
    {"\x1b\t", "\x1b\t"},
    {"\x1bOZ", "\x1bOZ"},
    {"\x1bOw", "\x1bOw"},
    {"\x1b[R", "\x1b[R"},
    {"\x1b[a", ""},
    {"\x1bOa", ""},
    {"\x1b[25~", ""},
    {"\x1b[34~", ""},
    {"\x1b[1;5A", ""},
    {"\x1b[1;2D", ""},
    {"\x1b[3;5~", ""},
    {"\x1bO5A", ""},
    {"\x1bOq", ""},
    {"\x1b\x1b[A", ""},
    {"\x1b\x1bOA", ""},
    {"\x1bx", ""},
    {"\x1b/", ""},
    {"\x1b ", ""},
    {"\x1b\r", ""},
    {"\x1b\x7f", ""},
    {"\x1bあ", ""},
    {"\x1bN", ""},
    {"\x1b^", ""},
    {"\x1bX", ""},
    {"\x1b\\", ""},
    {"\x1b[3$", ""},
    {"\x1b[ $p", ""},
    {"\x1b[20$", ""},
    {"\x1b[2;0$y", ""},
    {"\x1b[2;$y", ""},
    {"\x1b[I", ""},
    {"\x1b[O", ""},
    {"\x1b[M !!", ""},
    {"\x1b[M\x20\xe0\xff", ""},
    {"\x1b[<0;12;7M", ""},
    {"\x1b[<0;12;7m", ""},
    {"\x1b[200~", ""},
    {"\x1b[201~", ""},
    {"\x1b[24;80R", ""},
    {"\x1b[?62;1;6c", ""},
    {"\x1b[>0;276;0c", ""},
    {"\x1b[?2004;2$y", ""},
    {"\x1b[27;5;9~", ""},
    {"\x1b[97;5u", ""},
    {"\x1b]11;rgb:0000/0000/0000\a", ""},
    {"\x1b]52;c;cm0gLXJmIC8K\a", ""},
    {"\x1bP1+r436f=323536\a", ""},
    {"\x1b_Gi=1;OK\a", ""},
};

struct Utf8 {
    Utf8()
    {
        setlocale(LC_CTYPE, "C.UTF-8");
    }
    ~Utf8()
    {
        setlocale(LC_CTYPE, "C");
    }
};

TEST(Sequences, AreWholeWithTheirLastByteAndNotBefore)
{
    const Utf8 locale;
    for (const auto &[bytes, key] : sequences)
        for (size_t length = 1; length <= bytes.size(); ++length)
            EXPECT_EQ(isWhole(bytes.substr(0, length)), length == bytes.size())
                << testing::PrintToString(bytes) << " after " << length << " bytes";
}

TEST(Sequences, AreKnownToNewtByTheBytesOfAllTerminals)
{
    for (const auto &[bytes, key] : sequences)
        EXPECT_EQ(keyOf(bytes), key) << testing::PrintToString(bytes);
}

TEST(Sequences, AreKnownAsThisTerminalSendsThem)
{
    EXPECT_EQ(keyOf("\x1bXup"), "");
    addKey("\x1bXup", "\x1b[A");
    addKey("\x7f", "\x1b[3~"); // is no sequence
    addKey("\x1b", "\x1b[3~");
    addKey("", "\x1b[3~");
    addKey(nullptr, "\x1b[3~");
    EXPECT_EQ(keyOf("\x1bXup"), "\x1b[A");
    EXPECT_EQ(keyOf("\x7f"), "");
    EXPECT_EQ(keyOf("\x1b"), "");
    EXPECT_EQ(keyOf(""), "");
}

// Esc may have been held down before.
TEST(Sequences, AreKeptAsFarAsTheyCount)
{
    const std::string escapes(100, escape), parameters(100, '1');
    for (const std::string &bytes : {"\x1b]" + parameters + "\a", "\x1b[" + parameters + "A",
                                     escapes + "[" + parameters + "A"}) {
        std::string kept;
        for (const char byte : bytes) {
            EXPECT_FALSE(isWhole(kept)) << testing::PrintToString(kept);
            addByte(kept, byte);
            EXPECT_LE(kept.size(), 64u);
        }
        EXPECT_TRUE(isWhole(kept));
    }
}

TEST(Sequences, AreBrokenOffByAControlCharacterThatIsNotTheirs)
{
    for (const char byte : {escape, '\r', '\t', '\a', '\x0f'}) {
        EXPECT_TRUE(takesControl("\x1b", byte));
        EXPECT_TRUE(takesControl("\x1b\x1b", byte));
        EXPECT_EQ(takesControl("\x1b[M ", byte), byte != escape);
        for (const char *string : {"\x1b]11;rgb", "\x1bP", "\x1b_G"})
            EXPECT_EQ(takesControl(string, byte), byte == '\a');
        for (const char *other : {"\x1b[", "\x1b[1;", "\x1bO", "\x1b[<0;M"})
            EXPECT_FALSE(takesControl(other, byte));
    }
    EXPECT_TRUE(isControl('\0') && isControl('\x1f'));
    EXPECT_FALSE(isControl(' ') || isControl('\xe3'));
}

} // namespace
