// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/files.h"
#include "support/privileges.h"
#include "system.h"
#include "yat/trace.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <regex>
#include <set>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

class Trace : public testing::Test {
protected:
    Trace()
    {
        setenv("YAT_STATE_DIR", directory.path.c_str(), 1);
    }
    ~Trace() override
    {
        unsetenv("YAT_STATE_DIR");
        TraceLogInit(0, "", 0, 0, 0); // closes the log
        EXPECT_EQ(countOpenFiles(), openFiles);
    }

    std::vector<std::string> lines(const std::string &name) const
    {
        return linesOf(readFile(directory.path / "log" / name));
    }

    // The text of the one record that was written.
    std::string escaped(const std::string &text)
    {
        EXPECT_EQ(TraceLogInit(0, "escape", 0, 0, 0), 1);
        fs::resize_file(directory.path / "log" / "escape.log", 0);
        EXPECT_EQ(TraceLog(0, "source", "function", 1, "%s", text.c_str()), 1);
        const std::vector<std::string> records = lines("escape.log");
        EXPECT_EQ(records.size(), 1u);
        return records.at(0).substr(records.at(0).find(" 1 ") + 3);
    }

    TemporaryDirectory directory;
    const size_t openFiles = countOpenFiles();
};

// Writes records from a process of its own.
pid_t writeInChild(const char *name, int count, int megabytes, int generations)
{
    const pid_t child = fork();
    if (child == 0) {
        TraceLogInit(0, name, 0, megabytes, generations);
        for (int i = 0; i < count; ++i)
            TraceLog(0, "source", "function", i, "%0200d", i);
        _exit(0);
    }
    return child;
}

} // namespace

TEST_F(Trace, RecordTellsTimeProcessLevelAndPlace)
{
    ASSERT_EQ(TraceLogInit(0, "YATmrvutil", 0, 5, 0), 1);
    EXPECT_EQ(TraceLog(1, "mrvmain", "mkTree", 42, "get an invalid device %s.", "X"), 1);
    EXPECT_EQ(TraceLog(2, "mrvmain", "main", 7, "<malloc error."), 1);
    const std::vector<std::string> records = lines("YATmrvutil.log");
    ASSERT_EQ(records.size(), 2u);
    const std::regex first(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} )" + std::to_string(getpid())
                           + R"( 1 mrvmain mkTree 42 get an invalid device X\.)");
    EXPECT_TRUE(std::regex_match(records[0], first)) << records[0];
    EXPECT_TRUE(records[1].ends_with(" 2 mrvmain main 7 <malloc error."));
}

TEST_F(Trace, TimeIsLocal)
{
    setenv("TZ", "XXX-11:30", 1);
    tzset();
    ASSERT_EQ(TraceLogInit(0, "zone", 0, 0, 0), 1);
    std::string told;
    for (const long long time : {1'000'000'000'907, 1'000'000'000'980, 1'000'000'001'000}) {
        stoppedAt = time;
        TraceLog(0, "s", "f", 1, "text");
        told += lines("zone.log").back().substr(0, 24);
    }
    stoppedAt = 0;
    unsetenv("TZ");
    tzset();
    EXPECT_EQ(told, "2001-09-09 13:16:40.907 2001-09-09 13:16:40.980 2001-09-09 13:16:41.000 ");
}

TEST_F(Trace, TextCannotForgeARecord)
{
    EXPECT_EQ(escaped("a\nb\tc\rd\\e"), R"(a\nb\tc\rd\\e)");
    EXPECT_EQ(escaped("\x01\x1b[31m\x7f"), R"(\x01\x1B[31m\x7F)");
    EXPECT_EQ(escaped("\xc2\x85\xc2\x9b\xc2\xa0"), "\\xC2\\x85\\xC2\\x9B\xc2\xa0"); // C1 controls
    EXPECT_EQ(escaped("\u202eabc"), "\\xE2\\x80\\xAEabc"); // would turn the line around
    EXPECT_EQ(escaped("漢字 é"), "漢字 é");
    EXPECT_EQ(escaped("\xb4\xc1 \xe3\x81 \xed\xa0\x80"), "\\xB4\\xC1 \\xE3\\x81 \\xED\\xA0\\x80");
    EXPECT_EQ(escaped(""), "");
}

TEST_F(Trace, LongTextIsCut)
{
    EXPECT_EQ(escaped(std::string(10000, 'x')), std::string(4095, 'x'));
    std::string everyByteEscaped;
    for (int i = 0; i < 4095; ++i)
        everyByteEscaped += "\\x01";
    EXPECT_EQ(escaped(std::string(10000, '\1')), everyByteEscaped);
}

TEST_F(Trace, LongSourceLeavesTheLineWhole)
{
    ASSERT_EQ(TraceLogInit(0, "long", 0, 0, 0), 1);
    const std::string source(100000, 's');
    TraceLog(0, source.c_str(), "f", 1, "text");
    TraceLog(0, "s", "f", 1, "next");
    ASSERT_EQ(lines("long.log").size(), 2u);
    EXPECT_EQ(lines("long.log")[0].size(), 20480u);
    EXPECT_TRUE(lines("long.log")[1].ends_with("next"));
}

TEST_F(Trace, IsNoErrorWhenItCannotBeWritten)
{
    setenv("YAT_STATE_DIR", "/proc/nowhere", 1);
    setenv("XDG_STATE_HOME", "/proc/nowhere", 1);
    EXPECT_EQ(TraceLogInit(0, "YATmrvutil", 0, 5, 0), 0);
    errno = 17;
    EXPECT_EQ(TraceLog(0, "s", "f", 1, "text"), 0);
    EXPECT_EQ(errno, 17);
    unsetenv("XDG_STATE_HOME");
}

TEST_F(Trace, FallsBackToTheUsersStateDirectory)
{
    setenv("YAT_STATE_DIR", "/proc/nowhere", 1);
    setenv("XDG_STATE_HOME", (directory.path / "xdg").c_str(), 1);
    EXPECT_EQ(TraceLogInit(0, "own", 0, 0, 0), 1);
    EXPECT_TRUE(fs::exists(directory.path / "xdg/yatkit/log/own.log"));
    setenv("XDG_STATE_HOME", "relative", 1);
    setenv("HOME", (directory.path / "home").c_str(), 1);
    EXPECT_EQ(TraceLogInit(0, "own", 0, 0, 0), 1);
    EXPECT_TRUE(fs::exists(directory.path / "home/.local/state/yatkit/log/own.log"));
    unsetenv("XDG_STATE_HOME");
}

TEST_F(Trace, RefusesWhatIsNoLogName)
{
    EXPECT_EQ(TraceLogInit(0, std::string(63, 'x').c_str(), 0, 0, 0), 1);
    EXPECT_EQ(TraceLog(0, "s", "f", 1, "written"), 1);
    const char *none = nullptr;
    EXPECT_EQ(TraceLog(0, none, "f", 1, "text"), 0);
    EXPECT_EQ(TraceLog(0, "s", none, 1, "text"), 0);
    EXPECT_EQ(TraceLog(0, "s", "f", 1, none, 1), 0);
    for (const char *name : {"", ".hidden", "a/b", "../x", "a b"})
        EXPECT_EQ(TraceLogInit(0, name, 0, 0, 0), 0) << name;
    EXPECT_EQ(TraceLogInit(0, std::string(64, 'x').c_str(), 0, 0, 0), 0);
    EXPECT_EQ(TraceLogInit(0, nullptr, 0, 0, 0), 0);
    EXPECT_EQ(TraceLogInit(1, "x", 0, 0, 0), 0);
    EXPECT_EQ(TraceLogInit(0, "x", 1, 0, 0), 0);
    EXPECT_EQ(TraceLogInit(0, "x", 0, -1, 0), 0);
    EXPECT_EQ(TraceLogInit(0, "x", 0, 0, -1), 0);
    EXPECT_EQ(TraceLog(0, "s", "f", 1, "dropped"), 0);
}

TEST_F(Trace, DoesNotFollowLinksNorWaitForAFifo)
{
    fs::create_directories(directory.path / "log");
    writeFile(directory.path / "victim", "");
    fs::create_symlink(directory.path / "victim", directory.path / "log/link.log");
    EXPECT_EQ(TraceLogInit(0, "link", 0, 0, 0), 0);
    fs::remove(directory.path / "log/link.log");
    EXPECT_EQ(TraceLog(0, "s", "f", 1, "dropped"), 0); // until a log is named again
    ASSERT_EQ(mkfifo((directory.path / "log/fifo.log").c_str(), 0600), 0);
    EXPECT_EQ(TraceLogInit(0, "fifo", 0, 0, 0), 0);
    fs::create_hard_link(directory.path / "victim", directory.path / "log/hard.log");
    EXPECT_EQ(TraceLogInit(0, "hard", 0, 0, 0), 0);
    EXPECT_EQ(readFile(directory.path / "victim"), "");
}

TEST_F(Trace, RotatesBySizeAndKeepsSoManyFiles)
{
    ASSERT_EQ(TraceLogInit(0, "rotated", 0, 1, 3), 1);
    const std::string text(3000, 'x');
    for (int i = 0; i < 2000; ++i) // six files' worth
        ASSERT_EQ(TraceLog(0, "s", "f", i, "%s", text.c_str()), 1);
    std::set<std::string> files;
    for (const auto &file : fs::directory_iterator(directory.path / "log")) {
        files.insert(file.path().filename());
        EXPECT_LE(file.file_size(), 1024u * 1024 + 4096);
    }
    EXPECT_EQ(files, (std::set<std::string>{"rotated.log", "rotated.log.1", "rotated.log.2",
                                            "rotated.log.3"}));
    // The generations follow one another without a gap, the youngest in .1.
    int expected = -1;
    for (const char *name : {"rotated.log.3", "rotated.log.2", "rotated.log.1", "rotated.log"})
        for (const std::string &line : lines(name)) {
            const int number = std::stoi(line.substr(line.find(" f ") + 3));
            if (expected >= 0) {
                EXPECT_EQ(number, expected);
            }
            expected = number + 1;
        }
    EXPECT_EQ(expected, 2000);
}

TEST_F(Trace, RotatesAFileThatIsAsLargeAsItMayBe)
{
    const fs::path log = directory.path / "log/full.log";
    const auto rotated = [&](int number) { return log.string() + "." + std::to_string(number); };
    stoppedAt = 1'000'000'000'000;
    for (const auto &[megabytes, generations, limit, most] :
         {std::tuple{0, 0, 5u << 20, 5}, {2, 1000, 2u << 20, 99}}) {
        ASSERT_EQ(TraceLogInit(0, "full", 0, megabytes, generations), 1);
        writeFile(rotated(most), "the oldest");
        writeFile(rotated(most - 1), "the last but one");
        fs::resize_file(log, 0);
        ASSERT_EQ(TraceLog(0, "s", "f", 1, "text"), 1);
        const auto length = fs::file_size(log);
        fs::resize_file(log, limit - length);
        ++stoppedAt;
        ASSERT_EQ(TraceLog(0, "s", "f", 2, "text"), 1);
        EXPECT_EQ(fs::file_size(log), limit);
        ASSERT_EQ(TraceLog(0, "s", "f", 3, "text"), 1);
        EXPECT_EQ(fs::file_size(rotated(1)), limit);
        EXPECT_EQ(fs::file_size(log), length);
        EXPECT_EQ(readFile(rotated(most)), "the last but one");
        EXPECT_FALSE(fs::exists(rotated(most + 1)));
        ++stoppedAt;
    }
    stoppedAt = 0;
}

TEST_F(Trace, GoesOnInANewFileWhenTheOldOneIsTakenAway)
{
    ASSERT_EQ(TraceLogInit(0, "moved", 0, 0, 0), 1);
    ASSERT_EQ(TraceLog(0, "s", "f", 0, "before"), 1);
    fs::rename(directory.path / "log/moved.log", directory.path / "log/elsewhere");
    int after = 0;
    while (!fs::exists(directory.path / "log/moved.log") && after < 1'000'000)
        ASSERT_EQ(TraceLog(0, "s", "f", ++after, "after"), 1);
    EXPECT_EQ(lines("moved.log").size(), 1u);
    EXPECT_EQ(lines("elsewhere").size(), static_cast<size_t>(after)); // "before" is one of them
    fs::rename(directory.path / "log/elsewhere", directory.path / "log/moved.log");
    stoppedAt = 1'000'000'000'000;
    EXPECT_EQ(TraceLog(0, "s", "f", ++after, "back"), 1);
    stoppedAt = 0;
    EXPECT_EQ(lines("moved.log").size(), static_cast<size_t>(after));
}

TEST_F(Trace, IsNotRotatedWhileAnotherProcessIsAtIt)
{
    ASSERT_EQ(TraceLogInit(0, "full", 0, 1, 0), 1);
    const std::string log = directory.path / "log/full.log";
    fs::resize_file(log, 1 << 20);
    const int other = open(log.c_str(), O_RDONLY);
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    EXPECT_EQ(TraceLog(0, "s", "f", 1, "text"), 1);
    EXPECT_FALSE(fs::exists(log + ".1"));
    close(other);
    EXPECT_EQ(TraceLog(0, "s", "f", 2, "text"), 1);
    EXPECT_TRUE(fs::exists(log + ".1"));
}

TEST_F(Trace, TriesAFileThatCannotBeOpenedOnceAMillisecond)
{
    ASSERT_EQ(TraceLogInit(0, "lost", 0, 0, 0), 1);
    int openings = 0;
    beforeOpening = [&](const std::string &file) { openings += file.ends_with("/lost.log"); };
    fs::rename(directory.path / "log", directory.path / "elsewhere");
    stoppedAt = 1'000'000'000'001;
    EXPECT_EQ(TraceLog(0, "s", "f", 1, "dropped"), 0);
    const int once = openings;
    EXPECT_GT(once, 0);
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(TraceLog(0, "s", "f", 1, "dropped"), 0);
    EXPECT_EQ(openings, once);
    ++stoppedAt;
    EXPECT_EQ(TraceLog(0, "s", "f", 1, "dropped"), 0);
    EXPECT_EQ(openings, 2 * once);
    fs::rename(directory.path / "elsewhere", directory.path / "log");
    ++stoppedAt;
    EXPECT_EQ(TraceLog(0, "s", "f", 1, "written"), 1);
    stoppedAt = 0;
    beforeOpening = {};
    EXPECT_EQ(lines("lost.log").size(), 1u);
}

// As where root's run was the first one.
TEST_F(Trace, TellsWhoMayNotWriteWhatSomebodyElseMade)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "takes two users";
    ASSERT_EQ(TraceLogInit(0, "first", 0, 0, 0), 1);
    ASSERT_EQ(chown(directory.path.c_str(), 65534, 65534), 0);
    const auto begin = [] {
        std::optional<AsSomebodyElse> now(std::in_place);
        const int result = TraceLogInit(0, "second", 0, 0, 0);
        now.reset(); // or this user would look for leaks and write counts
        exit(result);
    };
    testing::GTEST_FLAG(death_test_style) = "threadsafe"; // it is told once in a process
    EXPECT_EXIT(begin(), testing::ExitedWithCode(0),
                "^unit_test: .*/log can't be written: Permission denied; what the program did is "
                "not in the trace log\n$");
}

TEST_F(Trace, TellsTheProcessThatWrites)
{
    ASSERT_EQ(TraceLogInit(0, "forked", 0, 0, 0), 1);
    TraceLog(0, "s", "f", 1, "text");
    const pid_t child = fork();
    if (child == 0)
        _exit(TraceLog(0, "s", "f", 1, "text"));
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_EQ(WEXITSTATUS(status), 1);
    const std::vector<std::string> records = lines("forked.log");
    ASSERT_EQ(records.size(), 2u);
    EXPECT_NE(records[0].find(' ' + std::to_string(getpid()) + " 0 s"), std::string::npos);
    EXPECT_NE(records[1].find(' ' + std::to_string(child) + " 0 s"), std::string::npos);
}

TEST_F(Trace, TakesBackARecordThatTheDiskTookAPartOf)
{
    ASSERT_EQ(TraceLogInit(0, "torn", 0, 0, 0), 1);
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    const auto ignored = signal(SIGXFSZ, SIG_IGN); // so that a write above the limit fails
    const rlimit narrow{.rlim_cur = 50, .rlim_max = before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &narrow);
    EXPECT_EQ(TraceLog(0, "s", "f", 1, "%060d", 1), 0);
    EXPECT_EQ(TraceLog(0, "s", "f", 2, "%060d", 2), 0);
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, ignored);
    EXPECT_EQ(TraceLog(0, "s", "f", 3, "whole"), 1);
    EXPECT_EQ(TraceLog(0, "s", "f", 4, "whole"), 1);
    const std::vector<std::string> records = lines("torn.log");
    ASSERT_EQ(records.size(), 2u);
    EXPECT_TRUE(records[0].ends_with(" s f 3 whole"));
    EXPECT_TRUE(records[1].ends_with(" s f 4 whole"));
}

TEST_F(Trace, EndsAPartOfARecordThatOthersWroteBehind)
{
    ASSERT_EQ(TraceLogInit(0, "torn", 0, 0, 0), 1);
    const auto others = [&] {
        std::ofstream(directory.path / "log/torn.log", std::ios::app) << "of others\n";
    };
    duringShortWrite = others;
    EXPECT_EQ(TraceLog(0, "s", "f", 1, "torn"), 0);
    EXPECT_EQ(TraceLog(0, "s", "f", 2, "whole"), 1);
    const std::vector<std::string> records = lines("torn.log");
    ASSERT_EQ(records.size(), 2u);
    EXPECT_TRUE(records[0].ends_with("of others")); // behind the half of a record
    EXPECT_TRUE(records[1].ends_with(" s f 2 whole"));
}

TEST_F(Trace, EndsAPartOfARecordThatCannotBeTakenBack)
{
    ASSERT_EQ(TraceLogInit(0, "torn", 0, 0, 0), 1);
    nextErrors = {{"ftruncate", EIO}};
    duringShortWrite = [] {};
    EXPECT_EQ(TraceLog(0, "s", "f", 1, "torn"), 0);
    duringShortWrite = [] { duringShortWrite = [] {}; }; // taken back twice; the torn one is left
    EXPECT_EQ(TraceLog(0, "s", "f", 2, "dropped"), 0);
    EXPECT_EQ(TraceLog(0, "s", "f", 3, "whole"), 1);
    const std::vector<std::string> records = lines("torn.log");
    ASSERT_EQ(records.size(), 2u);
    EXPECT_TRUE(records[1].ends_with(" s f 3 whole"));
}

TEST_F(Trace, WritesARecordAnewThatWasWrittenShort)
{
    ASSERT_EQ(TraceLogInit(0, "short", 0, 0, 0), 1);
    duringShortWrite = [] {};
    EXPECT_EQ(TraceLog(0, "s", "f", 1, "whole"), 1);
    nextErrors = {{"write", EINTR}};
    EXPECT_EQ(TraceLog(0, "s", "f", 2, "whole"), 1);
    nextErrors = {{"write", EIO}};
    EXPECT_EQ(TraceLog(0, "s", "f", 3, "lost"), 0);
    const std::vector<std::string> records = lines("short.log");
    ASSERT_EQ(records.size(), 2u);
    EXPECT_TRUE(records[0].ends_with(" s f 1 whole"));
    EXPECT_TRUE(records[1].ends_with(" s f 2 whole"));
}

TEST_F(Trace, TwoProcessesTearNoLineAndLoseNone)
{
    constexpr int count = 8000;
    const pid_t children[] = {writeInChild("shared", count, 1, 20),
                              writeInChild("shared", count, 1, 20)};
    for (const pid_t child : children)
        waitpid(child, nullptr, 0);
    const std::regex record(R"([-0-9]+ [:.0-9]+ (\d+) 0 source function (\d+) (\d{200}))");
    std::map<std::string, std::set<int>> seen;
    for (const auto &file : fs::directory_iterator(directory.path / "log"))
        for (const std::string &line : lines(file.path().filename())) {
            std::smatch parts;
            ASSERT_TRUE(std::regex_match(line, parts, record)) << line;
            ASSERT_EQ(std::stoi(parts[2]), std::stoi(parts[3]));
            seen[parts[1]].insert(std::stoi(parts[2]));
        }
    ASSERT_EQ(seen.size(), 2u);
    for (const auto &[process, numbers] : seen)
        EXPECT_EQ(numbers.size(), static_cast<size_t>(count));
}
