// SPDX-License-Identifier: GPL-2.0-or-later
// The manual pages say all that the code takes: every subcommand, option, call, variable and key,
// with its limits and its allowed values; in Japanese as in English.
#include "sim/description.h"
#include "support.h"
#include "support/problem.h"

#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <sstream>

namespace {

using Words = std::vector<std::string>;

std::string page(const std::string &name)
{
    std::string text = readFile(std::filesystem::path(SOURCES) / "man" / name);
    for (size_t at; (at = text.find("\\(dq")) != std::string::npos;)
        text.replace(at, 4, "\"");
    return text;
}

Words linesOf(const std::string &text)
{
    Words lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

// What every match of a pattern has in its first group.
Words matches(const std::string &text, const std::string &pattern)
{
    Words found;
    const std::regex regex(pattern, std::regex::ECMAScript | std::regex::multiline);
    for (auto match = std::sregex_iterator(text.begin(), text.end(), regex);
         match != std::sregex_iterator(); ++match)
        found.push_back((*match)[1]);
    return found;
}

bool hasWord(const std::string &text, const std::string &word)
{
    const auto isPart = [](char byte) {
        return isalnum(static_cast<unsigned char>(byte)) || byte == '_';
    };
    for (size_t at = 0; (at = text.find(word, at)) != std::string::npos; ++at) {
        const size_t end = at + word.size();
        if ((at == 0 || !isPart(text[at - 1])) && (end == text.size() || !isPart(text[end])))
            return true;
    }
    return false;
}

// A part of a page, from the line that begins it to the one that begins the next of its kind.
std::string section(const std::string &text, const std::string &heading)
{
    const size_t begin = text.find("\n" + heading + "\n");
    if (begin == std::string::npos)
        return {};
    const std::string kind = heading.substr(0, 4);
    const size_t next = std::min(text.find("\n" + kind, begin + 1), text.find("\n.Sh ", begin + 1));
    return text.substr(begin, next - begin);
}

// What the synopsis has of a subcommand.
std::string synopsisOf(const std::string &text, const std::string &subcommand)
{
    const std::string synopsis = section(text, ".Sh SYNOPSIS") + "\n.Nm\n";
    for (size_t at = 0, next; (next = synopsis.find("\n.Nm\n", at + 1)) != std::string::npos;
         at = next) {
        const std::string one = synopsis.substr(at, next - at);
        for (const std::string &line : linesOf(one))
            if (line.starts_with(".Cm ") && hasWord(line, subcommand))
                return one;
    }
    return {};
}

Words subcommandsOfHelp()
{
    const std::string help = steer("--help");
    return matches(help.substr(help.find("\nSubcommands:\n")), "^  ([a-z]+) {2,}");
}

std::set<std::string> optionsOf(const std::string &text, const std::string &pattern)
{
    const Words found = matches(text, pattern);
    return {found.begin(), found.end()};
}

class Manual : public testing::Test {
protected:
    Sandbox sandbox;
};

} // namespace

// ---- yatsim.1

TEST_F(Manual, OfYatsimDescribesEverySubcommand)
{
    const std::string text = page("yatsim.1");
    const Words subcommands = subcommandsOfHelp();
    ASSERT_GE(subcommands.size(), 13u);
    for (const std::string &subcommand : subcommands) {
        EXPECT_NE(synopsisOf(text, subcommand), "") << subcommand;
        EXPECT_TRUE(std::regex_search(text, std::regex("\n\\.It Cm " + subcommand + "[ \n]")))
            << subcommand;
    }
}

TEST_F(Manual, OfYatsimDescribesEveryOption)
{
    const std::string text = page("yatsim.1"), description = section(text, ".Sh DESCRIPTION");
    for (const std::string &subcommand : subcommandsOfHelp()) {
        std::set<std::string> taken =
            optionsOf(steer(subcommand + " --help"), "^  (?:-h,)?--([a-z]+)[ ]");
        EXPECT_EQ(taken.erase("help"), 1u);
        EXPECT_EQ(taken.count("machine"), 1u) << subcommand;
        EXPECT_EQ(optionsOf(synopsisOf(text, subcommand), "Fl -([a-z]+)"), taken) << subcommand;
        for (const std::string &option : taken)
            EXPECT_NE(description.find("Fl -" + option), std::string::npos) << option;
    }
    const std::set<std::string> general = optionsOf(steer("--help"), "^  (?:-h,)?--([a-z]+)[ ]");
    EXPECT_EQ(general, (std::set<std::string>{"help", "machine", "version"}));
    for (const std::string &option : general)
        EXPECT_TRUE(std::regex_search(description, std::regex("\n\\.It .*Fl -" + option)))
            << option;
}

TEST_F(Manual, OfYatsimNamesEveryCallAndEveryKey)
{
    const std::string text = page("yatsim.1");
    const std::string calls = steer("inject --help"), keys = steer("set --help");
    const Words callNames = matches(calls.substr(calls.find("\nCalls:\n")), "^  (\\w+)$");
    EXPECT_EQ(callNames.size(), 19u);
    for (const std::string &call : callNames)
        EXPECT_TRUE(hasWord(text, call)) << call;
    const Words keyNames = matches(keys.substr(keys.find("\nKeys ")), "^  (?:DEVICE\\.)?(\\w+)$");
    EXPECT_EQ(keyNames.size(), 8u);
    for (const std::string &key : keyNames)
        EXPECT_TRUE(std::regex_search(text, std::regex("\n\\.It .*\\b" + key + "\\b"))) << key;
}

TEST_F(Manual, OfYatsimHasExamplesThatWork)
{
    const Words examples = matches(section(page("yatsim.1"), ".Sh EXAMPLES"), "^\\.Dl \\$ (.*)$");
    EXPECT_GE(examples.size(), 9u);
    const std::string programs = std::filesystem::path(YATSIM).parent_path().string();
    for (std::string example : examples) {
        example = example.substr(0, example.find(" | jq")); // which need not be there
        const auto result = run({"/bin/sh", "-c", "cd \"$1\" && PATH=$2:$PATH && " + example, "sh",
                                 sandbox.directory().string(), programs});
        EXPECT_EQ(result.status, 0) << example;
        EXPECT_EQ(result.errors, "") << example;
    }
}

// ---- The environment

namespace {

// The variables that the code below a directory of the sources asks for by name.
std::set<std::string> variablesReadIn(const std::string &directory)
{
    std::set<std::string> found;
    for (const auto &file : std::filesystem::recursive_directory_iterator(
             std::filesystem::path(SOURCES) / directory)) {
        const std::string text = file.is_directory() ? "" : readFile(file);
        for (const std::string &name : matches(text, "getenv\\((.*?)\\)")) {
            const Words literal = name == "name" ? matches(text, "\"([A-Z_]+)\"[,}]")
                                                 : matches(name, "^\"([A-Z_]+)\"$");
            EXPECT_FALSE(literal.empty()) << file << " asks for " << name;
            found.insert(literal.begin(), literal.end());
        }
    }
    return found;
}

void expectToldOf(const std::string &name, const Words &directories, const Words &others)
{
    const char *heading = name.starts_with("ja/") ? ".Sh 環境変数" : ".Sh ENVIRONMENT";
    const Words lines = matches(section(page(name), heading), "^\\.It Ev (.*)$");
    std::set<std::string> told, read(others.begin(), others.end());
    for (const std::string &line : lines)
        for (const std::string &variable : matches(line, "([A-Z_]+)"))
            told.insert(variable);
    for (const std::string &directory : directories)
        read.merge(variablesReadIn(directory));
    EXPECT_EQ(told, read) << name;
}

} // namespace

TEST_F(Manual, TellsTheEnvironmentThatIsRead)
{
    // The locale and the time zone are read by the C library, and the rest by newt and S-Lang.
    for (const char *name : {"mrvutil.1", "ja/mrvutil.1"})
        expectToldOf(name, {"src", "lib"},
                     {"LC_ALL", "LC_CTYPE", "LC_MESSAGES", "LANG", "TZ", "NEWT_MONO",
                      "NEWT_NOFLOWCTRL", "COLORFGBG", "COLORTERM", "COLORTERM_BCE", "LINES",
                      "COLUMNS", "TERMINFO", "TERMINFO_DIRS", "TERMCAP", "WCWIDTH_CJK_LEGACY"});
    expectToldOf("yatsim.1", {"tools/yatsim", "lib/common", "lib/sim"},
                 {"LC_ALL", "LC_CTYPE", "LANG", "TZ"});
    expectToldOf("yatctl.1", {"tools/yatctl", "lib"},
                 {"LC_ALL", "LC_CTYPE", "LC_MESSAGES", "LANG", "TZ"});
}

// ---- The configuration

TEST_F(Manual, OfTheConfigurationDescribesEverySetting)
{
    const Words lines = matches(section(page("yatkit.toml.5"), ".Ss Keys"), "^\\.It Li (\\w+)$");
    const std::set<std::string> told(lines.begin(), lines.end());
    const auto source = std::filesystem::path(SOURCES) / "lib/common/configuration.cc";
    const Words read = matches(readFile(source), "configuration\\.get\\(\"(\\w+)\"\\)");
    EXPECT_EQ(told, std::set<std::string>(read.begin(), read.end()));
    const Words shipped =
        matches(readFile(std::filesystem::path(SOURCES) / "etc/yatkit.toml"), "^(\\w+) = ");
    EXPECT_EQ(told, std::set<std::string>(shipped.begin(), shipped.end()));
    EXPECT_EQ(told.size(), 2u);
}

// ---- The languages

namespace {

// What a part of a page has of the macros that name something to be typed or looked up.
std::set<std::string> namesIn(const std::string &part)
{
    const Words lines = matches(part, "^\\.((?:It|Ev|Fl|Ic|Li|Nm|Pa|Xr|Dl)\\b.*?)[ ,.:;)]*$");
    return {lines.begin(), lines.end()};
}

} // namespace

TEST_F(Manual, InJapaneseHasWhatTheEnglishOneHas)
{
    const std::string english = page("mrvutil.1"), japanese = page("ja/mrvutil.1");
    const std::pair<const char *, const char *> sections[] = {
        {"NAME", "NAME"},        {"SYNOPSIS", "SYNOPSIS"},          {"DESCRIPTION", "説明"},
        {"KEYS", "キー"},        {"THE MACHINE", "管理するサーバ"}, {"ENVIRONMENT", "環境変数"},
        {"FILES", "ファイル"},   {"EXIT STATUS", "終了ステータス"}, {"DIAGNOSTICS", "診断"},
        {"SEE ALSO", "関連項目"}};
    Words inEnglish, inJapanese;
    for (const auto &[one, other] : sections) {
        inEnglish.emplace_back(one);
        inJapanese.emplace_back(other);
        const std::string part = section(english, std::string(".Sh ") + one),
                          translated = section(japanese, std::string(".Sh ") + other);
        for (const char *list : {"^(\\.It .*)$", "^(\\.Bd.*)$"})
            EXPECT_EQ(matches(translated, list), matches(part, list)) << one;
        EXPECT_EQ(matches(translated, "^(\\.Ss)").size(), matches(part, "^(\\.Ss)").size()) << one;
        EXPECT_EQ(namesIn(translated), namesIn(part)) << one;
    }
    EXPECT_EQ(matches(english, "^\\.Sh (.*)$"), inEnglish);
    EXPECT_EQ(matches(japanese, "^\\.Sh (.*)$"), inJapanese);
}

// ---- yat-machine.5

namespace {

struct Complaint {
    std::string where, expected;
};

// What the reader of descriptions says of a key that it does not know.
Complaint ofUnknownKey(const std::string &toml)
{
    const std::string problem = problemOf([&] { sim::parseDescription(toml, "F"); });
    std::smatch parts;
    if (std::regex_search(problem, parts, std::regex("unknown key 'zzz' in (.*), expected (.*)")))
        return {.where = parts[1], .expected = parts[2]};
    return {};
}

// What it says of a value that no key has, which is a date.
std::string ofWrongValue(const std::string &table, const std::string &key)
{
    const std::string toml = table + key + " = 1979-05-27\n";
    const std::string problem = problemOf([&] { sim::parseDescription(toml, "F"); });
    const Words found = matches(problem, "wrong value for '" + key + "', expected (.*)$");
    return found.empty() ? "" : found[0];
}

struct Table {
    std::string beginning; // in a description
    std::string heading;   // of the part of the page about it
    Words keys;
};

std::string headingWith(const std::string &name)
{
    for (const std::string &heading : matches(page("yat-machine.5"), "^(\\.Ss .*)$"))
        if (heading.find("[" + name + "]") != std::string::npos)
            return heading;
    return {};
}

Words split(const std::string &list)
{
    return matches(list, "([^, ]+)");
}

// Adds the table of that name, however it is written, and those below it.
void addTables(std::vector<Table> &tables, const std::string &above, const std::string &name)
{
    for (const std::string &written : {"[" + name + "]\n", "[[" + name + "]]\n"}) {
        const Complaint complaint = ofUnknownKey(above + written + "zzz = 1\n");
        if (complaint.where.empty() || complaint.where == "the description"
            || (!tables.empty() && complaint.expected.empty()))
            continue;
        tables.push_back({above + written, headingWith(name), split(complaint.expected)});
        if (written.starts_with("[[") && name.find('.') == std::string::npos)
            for (const std::string &key : Words(tables.back().keys))
                addTables(tables, above + written, name + "." + key);
        return;
    }
}

std::vector<Table> allTables()
{
    std::vector<Table> tables;
    const Words keys = split(ofUnknownKey("zzz = 1\n").expected);
    for (const std::string &key : keys)
        addTables(tables, "", key);
    tables.push_back({"", ".Ss The machine", {}});
    for (const std::string &key : keys)
        if (headingWith(key).empty())
            tables.back().keys.push_back(key);
    return tables;
}

} // namespace

TEST_F(Manual, OfDescriptionsDescribesEveryKey)
{
    const std::string text = page("yat-machine.5");
    const std::vector<Table> tables = allTables();
    EXPECT_EQ(tables.size(), 10u);
    size_t keys = 0;
    for (const Table &table : tables) {
        const std::string about = section(text, table.heading);
        ASSERT_NE(about, "") << table.beginning;
        for (const std::string &key : table.keys) {
            ++keys;
            EXPECT_TRUE(std::regex_search(about, std::regex("\n\\.It Li .*\\b" + key + "\\b")))
                << table.heading << ": " << key;
        }
    }
    EXPECT_EQ(keys, 48u);
}

TEST_F(Manual, OfDescriptionsTellsLimitsAndAllowedValues)
{
    const std::string text = page("yat-machine.5");
    size_t told = 0;
    for (const Table &table : allTables())
        for (const std::string &key : table.keys) {
            const std::string expected = ofWrongValue(table.beginning, key);
            ASSERT_NE(expected, "") << table.heading << ": " << key;
            const std::string about = section(text, table.heading);
            for (const char *pattern : {"(\"[^\"]+\")", "\\b([0-9]{2,})\\b"})
                for (const std::string &value : matches(expected, pattern)) {
                    ++told;
                    EXPECT_NE(about.find(value), std::string::npos)
                        << table.heading << ": " << key << ": " << value;
                }
        }
    EXPECT_GE(told, 60u);
}

TEST_F(Manual, OfDescriptionsTellsTheUsualTimes)
{
    const sim::Timing usual;
    Words expected;
    for (const sim::Time time : {usual.start, usual.synchronise, usual.stop, usual.firmwareUpdate})
        expected.push_back(std::to_string(time / sim::second));
    EXPECT_EQ(matches(section(page("yat-machine.5"), ".Ss [timing]\\&"), "; ([0-9]+) by default"),
              expected);
}

TEST_F(Manual, OfDescriptionsHasAnExampleThatWorks)
{
    const std::string examples = section(page("yat-machine.5"), ".Sh EXAMPLES");
    const size_t begin = examples.find(".Bd -literal");
    ASSERT_NE(begin, std::string::npos);
    const size_t first = examples.find('\n', begin) + 1;
    const std::string file = (sandbox.directory() / "example.toml").string();
    std::ofstream(file) << examples.substr(first, examples.find("\n.Ed", first) + 1 - first);
    sandbox.set("YAT_MACHINE", file);
    steer("init");
    EXPECT_NE(steer("list").find("CPU module 2        Broken"), std::string::npos);
    EXPECT_NE(steer("show").find("Small server"), std::string::npos);
}
