// SPDX-License-Identifier: GPL-2.0-or-later
#include "yat/text.h"

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
