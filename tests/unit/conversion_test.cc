// SPDX-License-Identifier: GPL-2.0-or-later
#include "system.h"
#include "text/encoding.h"
#include "text/utf8.h"
#include "yat/text.h"

#include <cerrno>
#include <clocale>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace {

class Conversion : public testing::Test {
protected:
    Conversion()
    {
        setlocale(LC_ALL, "C.UTF-8");
    }
    ~Conversion() override
    {
        setlocale(LC_ALL, "C");
    }

    static std::string convert(const std::string &source, int size = 1024)
    {
        std::string buffer(static_cast<size_t>(size) + 8, '#');
        const int length = CodeConvertFromEUC(source.c_str(), buffer.data(), size);
        EXPECT_EQ(length, static_cast<int>(strlen(buffer.c_str())));
        EXPECT_EQ(buffer.substr(static_cast<size_t>(size)), "########"); // nothing beyond it
        return buffer.c_str();
    }
};

} // namespace

TEST_F(Conversion, LeavesWhatIsValidUnchanged)
{
    for (const char *text : {"", "CPU module 1", "漢字", "é", "\x01\x7f"})
        EXPECT_EQ(convert(text), text);
}

TEST_F(Conversion, TakesEuc)
{
    EXPECT_EQ(convert("\xb4\xc1\xbb\xfa 1"), "漢字 1");
    EXPECT_EQ(convert("\x8e\xb6\x8e\xc5"), "ｶﾅ");   // half-width kana
    EXPECT_EQ(convert("\x8f\xb0\xa1"), "丂");       // the supplementary set
    EXPECT_EQ(convert("\xa1\xc1"), "\xe3\x80\x9c"); // wave dash, not full-width tilde
    EXPECT_EQ(convert("\xad\xa1"), "①");            // a vendor's character
}

TEST_F(Conversion, ReplacesWhatIsNeither)
{
    const std::string replaced = "\xef\xbf\xbd";
    EXPECT_EQ(convert("a\xff"
                      "b"),
              "a" + replaced + "b");
    EXPECT_EQ(convert("\xb4"), replaced); // cut in the middle
    EXPECT_EQ(convert("\xb4\xc1\xbb"), "漢" + replaced);
    EXPECT_EQ(convert("\x8f\xb0"), replaced + replaced);
    EXPECT_EQ(convert("\xb4 x"), replaced + " x"); // the second byte is its own character
    EXPECT_EQ(convert("\x80\x8e\x20"), replaced + replaced + " ");
    EXPECT_EQ(convert("\xf8\x88\x80\x80\x80"), replaced + "\u0088\u0080\u0080\u0080"); // no UTF-8
}

TEST_F(Conversion, CutsBetweenCharacters)
{
    EXPECT_EQ(convert("漢字", 7), "漢字");
    EXPECT_EQ(convert("漢字", 6), "漢");
    EXPECT_EQ(convert("漢字", 4), "漢");
    EXPECT_EQ(convert("漢字", 3), "");
    EXPECT_EQ(convert("abc", 1), "");
    EXPECT_EQ(convert("\xb4\xc1\xbb\xfa", 5), "漢");
}

TEST_F(Conversion, RefusesWhatItCannotWriteTo)
{
    char buffer[8] = "as was";
    EXPECT_EQ(CodeConvertFromEUC("x", buffer, 0), -1);
    EXPECT_EQ(CodeConvertFromEUC("x", buffer, -5), -1);
    EXPECT_EQ(CodeConvertFromEUC(nullptr, buffer, 8), -1);
    EXPECT_EQ(CodeConvertFromEUC("x", nullptr, 8), -1);
    EXPECT_STREQ(buffer, "as was");
}

TEST_F(Conversion, ForALocaleWithoutTheCharactersWritesQuestionMarks)
{
    setlocale(LC_ALL, "C");
    EXPECT_EQ(convert("plain"), "plain");
    EXPECT_EQ(convert("\xb4\xc1 1"), "? 1");
    EXPECT_EQ(convert("\xff"), "?");
}

TEST_F(Conversion, FromTheLocaleReplacesWhatIsNoCharacter)
{
    EXPECT_EQ(yat::fromDisplay("a漢é"), "a漢é");
    EXPECT_EQ(yat::fromDisplay("a\xff漢\xe6\xbc"), "a\uFFFD漢\uFFFD\uFFFD");
    EXPECT_EQ(yat::fromDisplay(std::string_view("a\0漢", 5)), "a\uFFFD漢");
    EXPECT_EQ(yat::toDisplay("a\xff漢\xe6\xbc"), "a\uFFFD漢\uFFFD\uFFFD");
    EXPECT_EQ(yat::printable("a\xff漢\xe6\xbc\x7F\u202E"), "a?漢????");
}

TEST_F(Conversion, GoesOnWithoutAConverter)
{
    nextErrors = {{"iconv_open", EINVAL}}; // of the first of two
    EXPECT_EQ(yat::fromEuc("\xb4\xc1 \xa1\xc1"), "漢 ～");
    setlocale(LC_ALL, "C");
    nextErrors = {{"iconv_open", EINVAL}};
    EXPECT_EQ(yat::toDisplay("a漢"), "a?");
    nextErrors = {{"iconv_open", EINVAL}};
    EXPECT_EQ(yat::fromDisplay("a\xff"), "\uFFFD\uFFFD");
}

TEST(Utf8, HasSequencesUpToItsBorders)
{
    for (const auto &[sequence, character] : {std::pair<std::string_view, char32_t>{"\x7F", 0x7F},
                                              {"\xC2\x80", 0x80},
                                              {"\xDF\xBF", 0x7FF},
                                              {"\xE0\xA0\x80", 0x800},
                                              {"\xED\x9F\xBF", 0xD7FF},
                                              {"\xEE\x80\x80", 0xE000},
                                              {"\xEF\xBF\xBF", 0xFFFF},
                                              {"\xF0\x90\x80\x80", 0x10000},
                                              {"\xF4\x8F\xBF\xBF", 0x10FFFF}}) {
        const std::string text = std::string(sequence) + "\x80";
        EXPECT_EQ(yat::utf8Length(text), sequence.size()) << std::hex << +character;
        EXPECT_EQ(yat::utf8Length(sequence.substr(0, sequence.size() - 1)), 0u);
        EXPECT_EQ(yat::utf8Character(sequence), character);
        const std::string shown = yat::printable(text);
        EXPECT_TRUE(shown == "??" || shown == std::string(sequence) + "?") << shown;
    }
    for (const std::string_view none :
         {"", "\x80\x80", "\xBF\x80", "\xC1\xBF", "\xC2\x7F", "\xC2\xC0", "\xE0\x9F\xBF",
          "\xE1\x80\x7F", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF", "\xF1\x80\x80\xC0",
          "\xF4\x90\x80\x80", "\xF5\x80\x80\x80"}) {
        EXPECT_EQ(yat::utf8Length(none), 0u) << none;
        EXPECT_EQ(yat::printable(none), std::string(none.size(), '?')) << none;
    }
}

TEST_F(Conversion, HasNothingRawThatATerminalObeysInJson)
{
    EXPECT_EQ(yat::escapedJson("{\"a\": \"~\x7F\u0080\u009F\u00A0\u202E漢\"}\n"),
              "{\"a\": \"~\\u007F\\u0080\\u009F\u00A0\\u202E漢\"}\n");
    EXPECT_EQ(yat::escapedJson("\xff~"), "\xff~"); // which no JSON has in it
    setlocale(LC_ALL, "C");
    EXPECT_EQ(yat::escapedJson("~é漢\uFFFF\U00010000😀\U0010FFFF"),
              "~\\u00E9\\u6F22\\uFFFF\\uD800\\uDC00\\uD83D\\uDE00\\uDBFF\\uDFFF");
    EXPECT_EQ(yat::escapedJson("\uFFFF\U00010000😀\U0010FFFF", yat::Escapes::ofToml),
              "\\uFFFF\\U00010000\\U0001F600\\U0010FFFF");
}
