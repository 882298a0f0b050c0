// SPDX-License-Identifier: GPL-2.0-or-later
// What there is no machine behind: descriptions with mistakes, and state files that are not taken.
// The platform opens, each call fails by its convention, and nothing is written.
#include "scenario.h"
#include "yat/trace.h"

#include <algorithm>
#include <cerrno>
#include <fstream>

namespace fs = std::filesystem;

namespace {

class Refused : public Scenario {
protected:
    // Expects that the platform tells this, a line each, once, however many calls fail; and that
    // yatsim does.
    void expectRefused(const std::vector<std::string> &problems);

    std::string log() const
    {
        return readFile(sandbox->directory() / "log" / "scenario.log");
    }
};

class Mistakes : public Refused {
protected:
    std::string descriptionFile() const
    {
        return (sandbox->directory() / "CEDAR.toml").string();
    }

    // The place in the description with that number.
    std::string at(size_t line) const
    {
        return descriptionFile() + ":" + std::to_string(line) + ": ";
    }
};

// What reading a state leaves beside it: a log with nothing in it, and its index.
bool isEmptyLog(const fs::path &file)
{
    return file.extension() == ".db-shm"
           || (file.extension() == ".db-wal" && readFile(file).empty());
}

// Each file below a directory with what is in it, except what the programs log.
std::map<std::string, std::string> everythingIn(const fs::path &directory)
{
    std::map<std::string, std::string> result;
    for (const auto &entry : fs::recursive_directory_iterator(directory))
        if (const fs::path &path = entry.path();
            path.filename() != "log" && path.extension() != ".log" && !isEmptyLog(path))
            result[path] = entry.is_regular_file() ? readFile(path) : "";
    return result;
}

// The line that a text stands in.
size_t lineOf(const std::string &description, const std::string &text)
{
    const size_t where = description.find(text);
    if (where == std::string::npos)
        throw std::runtime_error("no " + text);
    const std::string before = description.substr(0, where);
    return 1 + static_cast<size_t>(std::ranges::count(before, '\n'));
}

void Refused::expectRefused(const std::vector<std::string> &problems)
{
    ASSERT_EQ(TraceLogInit(0, "scenario", 0, 0, 0), 1);
    std::string fromPlatform, fromYatsim;
    for (const std::string &problem : problems) {
        fromPlatform += std::string(program_invocation_short_name) + ": " + problem + "\n";
        fromYatsim += "yatsim: " + problem + "\n";
    }
    const auto before = everythingIn(sandbox->directory());
    testing::internal::CaptureStderr();
    EXPECT_EQ(ft_FunctionInit(), 1);
    EXPECT_NE(yat_ft_func.handle, nullptr);
    expectEveryCallToFail();
    EXPECT_EQ(ft_FunctionRelease(), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), fromPlatform);
    for (const std::string &problem : problems)
        EXPECT_NE(log().find(problem), std::string::npos) << log();
    for (const char *command : {"init", "list", "fail cpu1", "journal", "export"}) {
        const Finished result = yatsim(command);
        EXPECT_EQ(result.status, 1) << command;
        EXPECT_EQ(result.output, "") << command;
        EXPECT_EQ(result.errors, fromYatsim) << command;
    }
    EXPECT_TRUE(everythingIn(sandbox->directory()) == before); // too much to be printed
}

} // namespace

// ---- Descriptions

TEST_P(Mistakes, AreToldAllOfThem)
{
    prepare("CEDAR", "threshold = 24 ", "threshold = -1 ");
    std::string text = readFile(descriptionFile());
    text.replace(text.find("stop = 10"), 9, "stop = \"soon\"");
    std::ofstream(descriptionFile()) << text;
    expectRefused({at(lineOf(text, "threshold = -1"))
                       + "wrong value for 'threshold', expected a number from 0 to 876000",
                   at(lineOf(text, "stop = \"soon\""))
                       + "wrong value for 'stop', expected a number from 0 to 86400"});
}

TEST_P(Mistakes, AreADescriptionThatThereIsNot)
{
    prepare();
    const std::string file = (sandbox->directory() / "missing.toml").string();
    sandbox->set("YAT_MACHINE", file);
    expectRefused({file + " can't be read: No such file or directory"});
}

// What was wrong keeps nothing that would be in the way later.
TEST_P(Mistakes, AreForgottenWhenTheyAreCorrected)
{
    prepare("CEDAR", "threshold = 24 ", "threshold = \"often\" ");
    const std::string text = readFile(descriptionFile());
    testing::internal::CaptureStderr();
    ASSERT_EQ(ft_FunctionInit(), 1);
    EXPECT_EQ(cpuState(1), "(fails)");
    std::ofstream(descriptionFile()) << shipped("CEDAR");
    EXPECT_EQ(cpuState(1), "Running, duplex"); // also while it is open
    EXPECT_EQ(ft_FunctionRelease(), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string(program_invocation_short_name) + ": " + at(lineOf(text, "threshold"))
                  + "wrong value for 'threshold', expected a number from 0 to 876000\n");
    open();
    EXPECT_EQ(stop("CPU module 2"), 1);
}

// ---- State files

TEST_P(Refused, IsADamagedStateWhichIsLeftAlone)
{
    prepare();
    steer("init");
    std::ofstream(sandbox->stateFile()) << "my letter to grandmother";
    expectRefused({sandbox->stateFile().string()
                   + " is damaged or belongs to another program and was left alone; move it away "
                     "to start afresh"});
    EXPECT_EQ(readFile(sandbox->stateFile()), "my letter to grandmother");
}

PLAY_ALONE(Mistakes);
PLAY_ALONE(Refused);
