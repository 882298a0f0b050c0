// SPDX-License-Identifier: GPL-2.0-or-later
// Which machine the configuration names.
#include "common/configuration.h"
#include "support/files.h"
#include "support/problem.h"

#include <gtest/gtest.h>

namespace {

struct Configuration {
    const char *name, *text;
    const char *machine, *mistake; // behind the file's name
};

void PrintTo(const Configuration &configuration, std::ostream *stream)
{
    *stream << configuration.name;
}

const char wanted[] = "machine must be a name or a path in quotes; see yatkit.toml(5)";

const Configuration configurations[] = {
    {"Name", "# a comment\nmachine = \"BIRCH\"\n", "BIRCH", ""},
    {"Path", "machine = '/srv/mine.toml'", "/srv/mine.toml", ""},
    {"Empty", "", "", ""},
    {"OtherKeys", "other = 3\n", "", ""},
    {"EmptyName", "\nmachine = \"\"\n", "", wanted},
    {"Number", "\nmachine = 3\n", "", wanted},
    {"WithoutQuotes", "\nmachine = CEDAR\n", "", nullptr},
    {"NoToml", "\nmachine\n", "", nullptr},
    {"Bytes", "\nmachine = \"\xff\xfe\"\n", "", nullptr},
    {"Letters", "# \u3042\nmachine = '\u3042'\n", "\u3042", ""},
    {"LettersInLists", "a = [[1, 2], [{b = \"\u3042]\"}], 1.5e3]\nmachine = 'ALDER'", "ALDER", ""},
    {"QuotesInQuotes", "machine = \"\"\"\u3042\"\"\"\"\"\n[other]\n", "\u3042\"\"", ""},
    {"QuoteFirst", "machine = \"\\\"\u3042\"", "\"\u3042", ""},
    {"LetterBehindEmptyQuotes", "\nmachine = \"\" \u3042\n", "",
     "a non-ASCII character must be in quotes"},
    {"LetterBehindALetterInQuotes", "\nmachine = \"x\" \u3042\n", "",
     "a non-ASCII character must be in quotes"},
    {"LetterBehindABackslashInQuotes", "\nmachine = 'x\\' \u3042\n", "",
     "a non-ASCII character must be in quotes"},
    {"LetterOutsideQuotes", "\nmachine = \u3042\n", "", "a non-ASCII character must be in quotes"},
    {"LetterBehindJoinedLines", "machine = \"\"\"\\\n  \u3042\"\"\"\n", "",
     "the line after a backslash can't begin with a non-ASCII character"},
    {"HeaderWithoutName", "\n[=\n", "", "expected the name of a table after '['"},
    {"HeadersWithBlanks", " [ other ]\n [[ more ]]\n", "", ""},
    {"BraceInAList", "\na = [}\n", "", "expected a value or ']', saw '}'"},
    {"TimeThatIsNone", "\na = 1979-05-27T9\n", "",
     "Error while parsing value: could not determine value type"},
    {"DateWithoutTime", "\na = 1979-05-27T\n", "", "expected a time of day after the date"},
    {"DateBeforeASign", "\na = 1979-05-27T-1\n", "", "expected a time of day after the date"},
    {"DateBeforeALetter", "\na = 1979-05-27tx\n", "", "expected a time of day after the date"},
    {"DateBeforeADigit", "\na = [1979-05-27 7]\n", "", "expected a time of day after the date"},
    {"DateInPieces", "\na = 19_79-05-27 7\n", "", "expected a time of day after the date"},
    {"DateBeforeABlank", "a = 1979-05-27 \nmachine = 'ALDER'", "ALDER", ""},
    {"DateAtTheEnd", "machine = 'ALDER'\na = 1979-05-27", "ALDER", ""},
    {"TimeBehindABlank", "a = 1979-05-27 07:32:00\nmachine = 'ALDER'", "ALDER", ""},
    {"Times", "a = [1979-05-27t07:32:00, 12345678901]\nmachine = 'ALDER'", "ALDER", ""},
    {"DateAsAKey", "a = {b = 1, 1979-05-27Tx = 2}\nmachine = 'ALDER'", "ALDER", ""},
    {"DateWithMore", "\na = 1979-05-27x\n", "", nullptr},
    {"HeaderAtTheEnd", "\n[", "", nullptr},
    {"QuoteAtTheEnd", "\nmachine = \"ALDER", "", nullptr},
    {"QuoteOpenInItsLine", "\nmachine = \"ALDER\n", "", nullptr},
    {"BackslashInSingleQuotes", "machine = 'a\\b'", "a\\b", ""},
    {"JoinedLines", "machine = \"\"\"\\\n  AL\\u0044ER\"\"\"\n", "ALDER", ""},
    {"ListOfSeveralLines", "a = [\n1,\n{b = 1, c = 2}\n]\nmachine = 'ALDER'", "ALDER", ""},
    {"BracketWithoutAList", "\na = ]\n", "", nullptr},
    {"BracketForAKey", "\n]\n", "", nullptr},
    {"MarkOfTheEncoding", "\xEF\xBB\xBFmachine = 'ALDER'", "ALDER", ""},
};

class EveryConfiguration : public testing::TestWithParam<Configuration> {};

TEST_P(EveryConfiguration, NamesAMachineOrHasAMistakeInALine)
{
    const Configuration &configuration = GetParam();
    TemporaryDirectory directory;
    const std::string file = directory.path / "yatkit.toml";
    writeFile(file, configuration.text);
    std::string machine;
    const std::string mistake = problemOf([&] { machine = yat::machineNamedIn(file); });
    EXPECT_EQ(machine, configuration.machine);
    const std::string place = file + ":2: ";
    if (!configuration.mistake) // the library's own words
        EXPECT_TRUE(mistake.starts_with(place) && mistake.size() > place.size()) << mistake;
    else
        EXPECT_EQ(mistake, *configuration.mistake ? place + configuration.mistake : "");
}

INSTANTIATE_TEST_SUITE_P(Machine, EveryConfiguration, testing::ValuesIn(configurations),
                         [](const auto &info) { return info.param.name; });

} // namespace

TEST(Configuration, AllowsOperationsOnlyWhereItSaysSo)
{
    TemporaryDirectory directory;
    const std::string file = directory.path / "yatkit.toml";
    EXPECT_FALSE(yat::areOperationsAllowedIn(file));
    for (const auto &[text, isAllowed] :
         {std::pair("machine = 'hardware'", false), std::pair("operations = false", false),
          std::pair("operations = true", true)}) {
        writeFile(file, text);
        EXPECT_EQ(yat::areOperationsAllowedIn(file), isAllowed) << text;
    }
    for (const char *text : {"operations = 1", "operations = 'true'", "operations = []"}) {
        writeFile(file, text);
        EXPECT_EQ(problemOf([&] { yat::areOperationsAllowedIn(file); }),
                  file + ":1: operations must be true or false");
    }
}

TEST(Configuration, ThatIsNotThereNamesNoMachine)
{
    EXPECT_EQ(yat::machineNamedIn("/no/such/file"), "");
}
