// SPDX-License-Identifier: GPL-2.0-or-later
// The sources of the windows: what they share stands once.
#include "support/files.h"

#include <gtest/gtest.h>
#include <map>
#include <sstream>
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
                const auto [place, isNew] = places.emplace(block, entry.path().filename().string());
                EXPECT_TRUE(isNew)
                    << entry.path().filename() << " has what stands in " << place->second << ":\n"
                    << block;
            }
        }
    EXPECT_GT(files, 20);
    EXPECT_GT(places.size(), 500u);
}
