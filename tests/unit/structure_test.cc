// SPDX-License-Identifier: GPL-2.0-or-later
// How the sources are laid out: which folder stands on which, what a file is called, how long it
// is, and each function in it.
#include "support/files.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace fs = std::filesystem;

namespace {

struct Source {
    fs::path path; // from the project's root, as all here
    std::string text;
};

std::vector<Source> sourcesBelow(const std::vector<fs::path> &roots)
{
    const fs::path project = SOURCES;
    std::vector<Source> result;
    for (const fs::path &root : roots)
        for (const auto &entry : fs::recursive_directory_iterator(project / root)) {
            const std::string kind = entry.path().extension();
            if (kind == ".cc" || kind == ".c" || kind == ".h")
                result.push_back({.path = entry.path().lexically_relative(project),
                                  .text = readFile(entry.path())});
        }
    std::ranges::sort(result, {}, &Source::path);
    EXPECT_GT(result.size(), 5u);
    return result;
}

bool isThere(const fs::path &path)
{
    return fs::exists(SOURCES / path);
}

// Where an include line leads to: a neighbour first, then as the build says.
fs::path found(const fs::path &from, const std::string &included)
{
    const fs::path above = *from.begin();
    for (const fs::path &root : {from.parent_path(), above == "tools" ? fs::path("lib") : above,
                                 fs::path("include"), above, fs::path()})
        if (isThere(root / included))
            return (root / included).lexically_normal();
    return {};
}

std::vector<fs::path> includesOf(const Source &source)
{
    static const std::regex line("(?:^|\n)#include \"([^\"]+)\"");
    std::vector<fs::path> result;
    for (std::sregex_iterator it(source.text.begin(), source.text.end(), line), end; it != end;
         ++it)
        result.push_back(found(source.path, (*it)[1]));
    return result;
}

using Folders = std::map<fs::path, std::map<fs::path, std::string>>; // and a file that says so

Folders foldersIncluded()
{
    Folders result;
    for (const Source &source : sourcesBelow({"base", "src", "lib", "tools"}))
        for (const fs::path &included : includesOf(source)) {
            EXPECT_FALSE(included.empty()) << source.path << " includes what is not there";
            if (included.parent_path() != source.path.parent_path())
                result[source.path.parent_path()][included.parent_path()] =
                    source.path.string() + " includes " + included.string() + "\n";
        }
    return result;
}

// The include lines that lead from a folder back to it; empty when none do.
std::string wayBack(const Folders &folders, const fs::path &from, const fs::path &to,
                    std::set<fs::path> &seen)
{
    if (!seen.insert(from).second || !folders.contains(from))
        return "";
    for (const auto &[next, line] : folders.at(from)) {
        if (next == to)
            return line;
        if (const std::string rest = wayBack(folders, next, to, seen); !rest.empty())
            return line + rest;
    }
    return "";
}

// Files whose functions stand in a header of another name.
const std::map<std::string, std::string> declaredElsewhere = {
    // The boundary.
    {"lib/ft/ft.cc", "include/yat/ft.h"},
    {"lib/hwinfo/yathwinfo.cc", "include/yat/hwinfo.h"},
    {"lib/host/yathost.cc", "include/yat/platform.h"},
    {"lib/sim/yatcore.cc", "include/yat/platform.h"},
    {"lib/catalogue/catalogue.cc", "include/yat/text.h"},
    {"lib/trace/trace.cc", "include/yat/trace.h"},
    {"lib/winshim/winshim.cc", "include/yat/winshim.h"},
    {"src/tree/classnames.cc", "include/yat/device.h"},
    // The C++ library's.
    {"base/terminate.cc", "<exception>"},
    {"lib/common/exceptions.cc", "<cxxabi.h>"},
    // One question, from two that answer, and what becomes of the answers.
    {"lib/hwinfo/driver.cc", "lib/hwinfo/bmc.h"},
    {"lib/hwinfo/interpret.cc", "lib/hwinfo/bmc.h"},
    {"lib/hwinfo/simulated.cc", "lib/hwinfo/bmc.h"},
    // What the programs differ in, which the one main function asks them for.
    {"src/programs/mrvfirmware.cc", "src/shell/program.h"},
    {"src/programs/mrvgeneral.cc", "src/shell/program.h"},
    {"src/programs/mrvutil.cc", "src/shell/program.h"},
};

} // namespace

TEST(Structure, NoFolderStandsOnItself)
{
    const Folders folders = foldersIncluded();
    EXPECT_GT(folders.size(), 10u);
    EXPECT_TRUE(folders.at("src/devices").contains("src/dialogs"));
    for (const auto &[folder, includes] : folders) {
        std::set<fs::path> seen;
        const std::string way = wayBack(folders, folder, folder, seen);
        EXPECT_EQ(way, "") << folder << " stands on itself";
    }
}

TEST(Structure, EveryFileHasItsHeader)
{
    std::set<std::string> others;
    for (const Source &source : sourcesBelow({"base", "src", "lib", "tools"})) {
        fs::path header = source.path;
        header.replace_extension(".h");
        const bool isMain = source.text.find("\nint main(") != std::string::npos;
        if (source.path.extension() == ".h" || isThere(header) || isMain)
            continue;
        others.insert(source.path);
        const auto other = declaredElsewhere.find(source.path);
        if (other == declaredElsewhere.end()) {
            ADD_FAILURE() << source.path << " has no header";
            continue;
        }
        const std::vector<fs::path> includes = includesOf(source);
        EXPECT_TRUE(std::ranges::find(includes, fs::path(other->second)) != includes.end()
                    || source.text.find("#include " + other->second) != source.text.npos)
            << source.path << " does not include " << other->second;
    }
    EXPECT_EQ(others.size(), declaredElsewhere.size())
        << "a file has its header by now, or is gone";
}

TEST(Structure, NoFileHasMoreThan400Lines)
{
    for (const Source &source : sourcesBelow({"base", "src", "lib", "tools"}))
        EXPECT_LE(std::ranges::count(source.text, '\n'), 400) << source.path;
}

// From the brace that begins a function at the left to the one that ends it.
TEST(Structure, NoFunctionHasMoreThan40Lines)
{
    size_t functions = 0;
    for (const Source &source : sourcesBelow({"base", "src", "lib", "tools"})) {
        std::istringstream text(source.text);
        int number = 0, begin = 0;
        for (std::string line; std::getline(text, line);) {
            ++number;
            if (line == "{" || (begin == 0 && line.starts_with("try")))
                begin = number;
            if (line != "}" || begin == 0)
                continue;
            EXPECT_LE(number - begin + 1, 40) << source.path << ":" << begin;
            begin = 0;
            ++functions;
        }
    }
    EXPECT_GT(functions, 1000u);
}

// Of a program with another one's rights, the environment is not to be trusted.
TEST(Structure, TheEnvironmentIsReadSecurely)
{
    static const std::regex call("[^_](getenv\\()");
    size_t count = 0;
    for (const Source &source : sourcesBelow({"base", "lib", "src", "tools"})) {
        EXPECT_FALSE(std::regex_search(source.text, call)) << source.path;
        count += source.text.find("secure_getenv(") != std::string::npos;
    }
    EXPECT_GT(count, 5u);
}

// What these throw has the C++ library's words, and not what to do.
TEST(Structure, FilesAreAskedForWithoutExceptions)
{
    static const std::regex call(R"((filesystem::(?!path)\w+|[^:\w.]exists)\((?!\))[^;]*;)");
    ptrdiff_t count = 0;
    for (const Source &source : sourcesBelow({"base", "lib", "src", "tools"}))
        for (std::sregex_iterator it(source.text.begin(), source.text.end(), call), end; it != end;
             ++it, ++count)
            EXPECT_NE(it->str().find("error)"), std::string::npos)
                << source.path << ": " << it->str();
    EXPECT_GT(count, 5);
}

TEST(Structure, TheBoundaryIsDeclaredInItsHeadersOnly)
{
    const auto declares = [](const Source &source) {
        return source.path.extension() == ".h" && source.text.find("YAT_API ") != std::string::npos;
    };
    for (const Source &source : sourcesBelow({"lib", "tools"}))
        EXPECT_FALSE(declares(source)) << source.path;
    EXPECT_GT(std::ranges::count_if(sourcesBelow({"include"}), declares), 3);
    for (const Source &source : sourcesBelow({"include"}))
        for (const fs::path &included : includesOf(source))
            EXPECT_EQ(included.parent_path(), "include/yat") << source.path;
}
