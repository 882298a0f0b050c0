// SPDX-License-Identifier: GPL-2.0-or-later
// The text catalogue: looking texts up, and the two catalogues that the product has.
#include "support/files.h"
#include "text/textkeys.h"
#include "yat/text.h"

#include <algorithm>
#include <clocale>
#include <cstring>
#include <cwchar>
#include <gtest/gtest.h>
#include <map>
#include <set>

namespace {

// A catalogue in memory as the program has it: garbage behind the file's bytes.
std::string inMemory(const std::string &file)
{
    return file + std::string("\nGARBAGE_ID \"garbage\"\n") + std::string(1000, '\xff');
}

std::string lookUp(const char *key, const std::string &file)
{
    std::string memory = inMemory(file);
    return CPGetText(key, &ReadString, memory.data());
}

class Catalogue : public testing::Test {
protected:
    Catalogue()
    {
        setlocale(LC_ALL, "C.UTF-8");
    }
    ~Catalogue() override
    {
        setlocale(LC_ALL, "C");
    }
};

int columns(const std::string &text)
{
    int width = 0;
    mbstate_t state{};
    wchar_t character;
    for (size_t at = 0; at < text.size();) {
        const size_t length = mbrtowc(&character, &text[at], text.size() - at, &state);
        EXPECT_LE(length, text.size());
        width += wcwidth(character);
        at += length;
    }
    return width;
}

} // namespace

TEST_F(Catalogue, FindsATextByItsKey)
{
    const std::string file = "# comment\n"
                             "FIRST_ID \"one\"\n"
                             "  SECOND_ID\t\"two  \"   # with blanks\r\n"
                             "\n"
                             "THIRD_ID \"\"\n"
                             "%end\n";
    EXPECT_EQ(lookUp("FIRST_ID", file), "one");
    EXPECT_EQ(lookUp("SECOND_ID", file), "two  ");
    EXPECT_EQ(lookUp("THIRD_ID", file), "");
    for (const char *unknown :
         {"FOURTH_ID", "FIRST", "IRST_ID", "FIRST_ID \"one\"", "", "#", "%end"})
        EXPECT_EQ(lookUp(unknown, file), "") << unknown;
}

TEST_F(Catalogue, ResolvesEscapes)
{
    const std::string file = "KEY_ID \"a\\nb\\tc\\\\d\\\"e\\%\\z\" ignored\n%end\n";
    EXPECT_EQ(lookUp("KEY_ID", file), "a\nb\tc\\d\"e%z");
}

TEST_F(Catalogue, EndsWithItsEndLine)
{
    EXPECT_EQ(lookUp("GARBAGE_ID", "KEY_ID \"x\"\n%end"), "");
    EXPECT_EQ(lookUp("GARBAGE_ID", "KEY_ID \"x\"\n  %end of the file\n"), "");
}

TEST_F(Catalogue, WithoutAnEndLineEndsWhereItsFileDid)
{
    // The size of the file that was opened last is the bound.
    TemporaryDirectory directory;
    int size = 0;
    FILE *file = OpenStrFile("/data/E_mrvutil.rc", &size);
    ASSERT_NE(file, nullptr);
    fclose(file);
    std::string cut(static_cast<size_t>(size), 'x');
    const std::string last = "\nKEY_ID \"te";
    std::copy(last.begin(), last.end(), cut.end() - static_cast<long>(last.size()));
    EXPECT_EQ(lookUp("KEY_ID", cut), "te");
    EXPECT_EQ(lookUp("GARBAGE_ID", cut), "");
    std::ranges::fill(cut, '\0');
    EXPECT_EQ(lookUp("GARBAGE_ID", cut), ""); // an empty file in its cleared buffer
}

TEST_F(Catalogue, SurvivesWhatIsNoCatalogue)
{
    for (const std::string &file :
         {std::string("KEY_ID\n%end"), std::string("KEY_ID text\n%end"),
          std::string("KEY_ID\"text\"\n%end"), std::string("\"\n%end"), std::string("\\\n%end")})
        EXPECT_EQ(lookUp("KEY_ID", file), "");
    EXPECT_EQ(lookUp("KEY_ID", "KEY_ID \"open\n%end"), "open");
    EXPECT_EQ(lookUp("KEY_ID", "KEY_ID \"open\r\n%end"), "open");
    EXPECT_EQ(lookUp("KEY_ID", "KEY_ID \"end\\\n%end"), "end\\");
    EXPECT_EQ(lookUp("KEY_ID", "KEY_ID \"a\xff\xc3(b\"\n%end"), "a\xef\xbf\xbd\xef\xbf\xbd(b");
}

TEST_F(Catalogue, TakesNullsWithoutHarm)
{
    char catalogue[] = "KEY_ID \"x\"\n%end\n";
    EXPECT_STREQ(CPGetText(nullptr, &ReadString, catalogue), "");
    EXPECT_STREQ(CPGetText("KEY_ID", &ReadString, nullptr), "");
    EXPECT_EQ(CPGetText("KEY_ID", nullptr, catalogue), nullptr);
}

TEST_F(Catalogue, CutsALongTextBetweenCharacters)
{
    std::string text = "a";
    for (int i = 0; i < 400; ++i)
        text += "漢";
    EXPECT_EQ(lookUp("KEY_ID", "KEY_ID \"" + text + "\"\n%end"), text.substr(0, 1 + 3 * 340));
    EXPECT_EQ(lookUp("KEY_ID", "KEY_ID \"" + std::string(5000, 'x') + "\"\n%end"),
              std::string(1023, 'x'));
}

TEST_F(Catalogue, IsShownInTheLocalesEncoding)
{
    setlocale(LC_ALL, "C");
    EXPECT_EQ(lookUp("KEY_ID", "KEY_ID \"x漢y\"\n%end"), "x?y");
}

TEST(CatalogueFile, IsOpenedBelowTheRoot)
{
    int size = -7;
    FILE *file = OpenStrFile("/data/J_mrvutil.rc", &size);
    ASSERT_NE(file, nullptr);
    fclose(file);
    EXPECT_EQ(static_cast<size_t>(size), readFile(STAGE "/data/J_mrvutil.rc").size());
}

TEST(CatalogueFile, IsNothingElse)
{
    int size = -7;
    for (const char *path : {"/data/none.rc", "data/E_mrvutil.rc", "/data", "/data/../../x", "",
                             "/lib/../data/E_mrvutil.rc"})
        EXPECT_EQ(OpenStrFile(path, &size), nullptr) << path;
    EXPECT_EQ(OpenStrFile(nullptr, &size), nullptr);
    EXPECT_EQ(OpenStrFile("/data/E_mrvutil.rc", nullptr), nullptr);
    EXPECT_EQ(size, -7);
}

TEST(CatalogueFile, IsToldOfOnce)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe"; // a process that has told nothing yet
    const auto open = [] {
        int size;
        for (const char *path : {"/data/none.rc", "/data"})
            OpenStrFile(path, &size);
        exit(0);
    };
    EXPECT_EXIT(open(), testing::ExitedWithCode(0),
                "^unit_test: [^\n]*/data/none.rc can't be read: No such file or directory; install "
                "the product again\n$");
}

// ---- The product's own catalogues

namespace {

class ProductCatalogue : public testing::TestWithParam<const char *> {
protected:
    ProductCatalogue()
    {
        setlocale(LC_ALL, "C.UTF-8");
        const std::string file = readFile(std::string(STAGE "/data/") + GetParam() + "_mrvutil.rc");
        std::string memory = inMemory(file);
        for (const std::string_view key : textKeys)
            texts[std::string(key)] =
                CPGetText(std::string(key).c_str(), &ReadString, memory.data());
        std::istringstream stream(file);
        for (std::string line; std::getline(stream, line);)
            if (!line.empty() && line[0] != '#' && line[0] != '%')
                keysInFile.push_back(line.substr(0, line.find(' ')));
    }

    int width(const char *key) const
    {
        return columns(texts.at(key));
    }
    int compact(const char *key) const
    {
        return width(key) + 3;
    } // as newt draws a compact button
    int button(const char *key) const
    {
        return width(key) + 5;
    }
    int radio(const char *key) const
    {
        return width(key) + 4;
    }
    int row(const char *label, const char *key) const
    {
        return width(label) + compact(key);
    }

    std::map<std::string, std::string> texts;
    std::vector<std::string> keysInFile;
};

TEST_P(ProductCatalogue, HasEveryKeyOnceAndNoOther)
{
    std::vector<std::string> sorted(keysInFile);
    std::ranges::sort(sorted);
    std::vector<std::string> wanted(std::begin(textKeys), std::end(textKeys));
    std::ranges::sort(wanted);
    EXPECT_EQ(sorted, wanted);
}

TEST_P(ProductCatalogue, HasATextForEveryKey)
{
    for (const auto &[key, text] : texts) {
        EXPECT_GT(columns(text), 0) << key;
        EXPECT_EQ(text.find(key), std::string::npos) << key;
        EXPECT_EQ(text.find("TODO"), std::string::npos) << key;
        EXPECT_LE(columns(text), 80) << key;
    }
}

TEST_P(ProductCatalogue, FitsTheBuffersThatItIsCopiedInto)
{
    for (const auto &[key, text] : texts)
        if (key.starts_with("QUERYWIN_") || key.starts_with("WINDOW_TITLE_")
            || key == "LABEL_ONLINETOOFFLINE_ID" || key == "BBDRV_NOSET_ID"
            || key == "BBDRV_SETTING_ID" || key == "UPDATE_ERROR_ID"
            || key == "UPDATE_NOTFOUND_ID") {
            EXPECT_LT(text.size(), 80u) << key;
        }
    EXPECT_LT(("[*] " + texts.at("QUERYWIN_QUICKDUMP_ID")).size(), 80u);
    // The shortest title buffer has room for a device name of 40 bytes and the utility's.
    EXPECT_LT(40 + std::strlen(" --") + texts.at("WINDOW_TITLE_MRV_ID").size(), 80u);
}

TEST_P(ProductCatalogue, MakesTheRowsOfAWindowEquallyWide)
{
    const int rowWidth = row("LABEL_MTBF_ID", "COMBUTTON_CLEAR_ID");
    // CPU module
    EXPECT_EQ(row("LABEL_MTBFTYPE_ID", "COMBUTTON_SETMTBFTYPE_ID"), rowWidth);
    EXPECT_EQ(row("LABEL_CPUSTART_ID", "COMBUTTON_START_ID"), rowWidth);
    EXPECT_EQ(row("LABEL_CPUDIAG_ID", "COMBUTTON_DIAGNOSE_ID"), rowWidth);
    EXPECT_EQ(row("LABEL_FIRMWARE_UP_ID", "VERSION_INFO"), rowWidth);
    EXPECT_EQ(row("LABEL_BOARD_ID", "COMBUTTON_CHANGE_ID"), rowWidth);
    EXPECT_EQ(row("LABEL_DUMP_ID", "COMBUTTON_EXCUTE_ID"), rowWidth);
    EXPECT_EQ(width("LABEL_CPUSTATE_ID") + 19, rowWidth);
    EXPECT_EQ(button("COMBUTTON_REFRESH_ID") + 3 + button("BUTTON_CLOSE_ID"), rowWidth);
    for (const char *key : {"LABEL_DUMPTIME_ID", "LABEL_DUMPTIME2_ID", "LABEL_SETMTBFTYPE1_ID",
                            "LABEL_SETMTBFTYPE2_ID", "LABEL_SETMTBFTYPE3_ID"})
        EXPECT_EQ(1 + radio(key), rowWidth) << key;
    // The two-line rows: the button below the label must not widen them.
    EXPECT_LE(compact("COMBUTTON_STOP_ID"), width("LABEL_CPUSTART_ID"));
    EXPECT_LE(compact("COMBUTTON_STOP_ID"), width("LABEL_PCISTART_ID"));
    EXPECT_LE(compact("COMBUTTON_UPDATE_ID"), width("LABEL_FIRMWARE_UP_ID"));
    // PCI module; its buttons are the CPU module's, without the gap of three columns
    EXPECT_EQ(row("LABEL_PCISTART_ID", "COMBUTTON_START_ID"), rowWidth);
    EXPECT_EQ(row("LABEL_PCIDIAG_ID", "COMBUTTON_DIAGNOSE_ID"), rowWidth);
    EXPECT_EQ(width("LABEL_PCISTATE_ID") + 19, rowWidth);
    // SCSI adapter
    EXPECT_EQ(row("LABEL_ADAPTERDIAG_ID", "COMBUTTON_DIAGNOSE_ID"), rowWidth + 1);
    // BMC firmware
    EXPECT_EQ(row("LABEL_FIRMUPDATE_ID", "COMBUTTON_UPDATE_ID") + 15,
              2 + width("FIRMWARE_REVISION") + 1 + 30);
    // Firmware update
    EXPECT_EQ(radio("TITTLE_FILEPATHUP_ID"), radio("TITTLE_UPDATECOPY_ID"));
    EXPECT_LE(width("TITTLE_UPMETHOD_ID"), 1 + radio("TITTLE_UPDATECOPY_ID"));
    EXPECT_LE(5 + width("BURN_FILE_DEFAULT"), 1 + radio("TITTLE_FILEPATHUP_ID"));
    // and all of it on 80 columns, with the frame and its margins
    EXPECT_LE(rowWidth + 1, 76);
}

TEST_P(ProductCatalogue, LeavesAGapBetweenALabelAndTheValueBesideIt)
{
    for (const char *key : {"LABEL_CPUSTATE_ID", "LABEL_PCISTATE_ID", "LABEL_MTBF_ID",
                            "LABEL_MTBFTYPE_ID", "LABEL_CPUDIAG_ID", "LABEL_PCIDIAG_ID",
                            "LABEL_ADAPTERDIAG_ID", "LABEL_BOARD_ID", "LABEL_DUMP_ID"})
        EXPECT_TRUE(texts.at(key).ends_with(' ')) << key;
}

TEST_P(ProductCatalogue, FitsBoxesOntoEightyColumns)
{
    for (const auto &[key, text] : texts)
        if (key.starts_with("QUERYWIN_") || key.ends_with("ERR_ID") || key.ends_with("FAIL")) {
            EXPECT_LE(columns(text), 74) << key;
        }
}

TEST_P(ProductCatalogue, AsksQuestionsThatAreOnes)
{
    for (const auto &[key, text] : texts)
        if ((key.starts_with("QUERYWIN_") && key != "QUERYWIN_QUICKDUMP_ID"
             && key != "QUERYWIN_AUTOUPDATE_ID" && key != "QUERYWIN_MODULESTART_ID")
            || key == "LABEL_ONLINETOOFFLINE_ID") {
            EXPECT_TRUE(text.ends_with('?')) << key;
        }
}

INSTANTIATE_TEST_SUITE_P(Product, ProductCatalogue, testing::Values("E", "J"));

TEST(ProductCatalogues, AreInTheirLanguages)
{
    const std::string english = readFile(STAGE "/data/E_mrvutil.rc");
    EXPECT_TRUE(
        std::ranges::all_of(english, [](char c) { return static_cast<signed char>(c) > 0; }));
    // Every Japanese text has Japanese in it, but for what is no language.
    const std::set<std::string> neutral = {"BUTTON_OK_ID", "BURN_FILE_DEFAULT"};
    std::istringstream japanese(readFile(STAGE "/data/J_mrvutil.rc"));
    for (std::string line; std::getline(japanese, line);) {
        const std::string key = line.substr(0, line.find(' '));
        if (line.empty() || line[0] == '#' || line[0] == '%' || neutral.contains(key))
            continue;
        EXPECT_TRUE(std::ranges::any_of(line, [](char c) {
            return static_cast<signed char>(c) < 0;
        })) << line;
    }
}

} // namespace
