// The sources of the windows: what they share stands once.
#include "support/files.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <vector>

namespace fs = std::filesystem;

namespace {

// The lines that say something: white space folded, comments, blank lines, includes and lone
// brackets left out.
std::vector<std::string> tellingLines(const fs::path &path)
{
    std::vector<std::string> result;
    std::istringstream text(readFile(path));
    for (std::string line; std::getline(text, line);) {
        std::istringstream words(line);
        std::string folded;
        for (std::string word; words >> word;)
            folded += (folded.empty() ? "" : " ") + word;
        if (folded.size() > 2 && !folded.starts_with("//") && !folded.starts_with("#include")
            && folded.find_first_not_of("{}();, ") != std::string::npos)
            result.push_back(folded);
    }
    return result;
}

constexpr size_t tooMuch = 20;

} // namespace

TEST(Sources, OfTwoWindowsShareNoTwentyLines)
{
    std::map<std::string, std::string> places; // twenty lines, and the file they stand in
    int files = 0;
    for (const char *folder : {"devices", "system", "dialogs", "shell"})
        for (const auto &entry : fs::directory_iterator(fs::path(SOURCES "/src") / folder)) {
            ++files;
            const std::vector<std::string> lines = tellingLines(entry.path());
            for (size_t i = 0; i + tooMuch <= lines.size(); ++i) {
                std::string block;
                for (size_t j = i; j < i + tooMuch; ++j)
                    block += lines[j] + "\n";
                const auto [place, isNew] =
                    places.emplace(block, entry.path().filename().string());
                EXPECT_TRUE(isNew) << entry.path().filename() << " has what stands in "
                                   << place->second << ":\n"
                                   << block;
            }
        }
    EXPECT_GT(files, 20);
    EXPECT_GT(places.size(), 500u);
}

// Takes the folders away that include none of those left, again and again: in a ring, some stay.
TEST(Sources, OfTheProgramsPointOneWay)
{
    std::map<std::string, std::set<std::string>> includes;
    for (const auto &entry : fs::recursive_directory_iterator(SOURCES "/src")) {
        if (!entry.is_regular_file() || entry.path().parent_path() == SOURCES "/src")
            continue;
        const std::string folder = entry.path().parent_path().filename().string();
        std::set<std::string> &others = includes[folder];
        std::istringstream text(readFile(entry.path()));
        const std::string beginning = "#include \"";
        for (std::string line; std::getline(text, line);)
            if (line.starts_with(beginning) && line.find('/') != std::string::npos)
                others.insert(line.substr(beginning.size(), line.find('/') - beginning.size()));
        others.erase(folder);
    }
    EXPECT_GT(includes.size(), 8u);
    EXPECT_TRUE(includes["devices"].contains("dialogs"));
    const auto needsNone = [&](const auto &folder) {
        return std::ranges::none_of(folder.second,
                                    [&](const auto &other) { return includes.contains(other); });
    };
    while (std::erase_if(includes, needsNone) > 0)
        continue;
    for (const auto &[folder, others] : includes)
        for (const std::string &other : others)
            EXPECT_FALSE(includes.contains(other)) << folder << " includes " << other;
}
