// SPDX-License-Identifier: GPL-2.0-or-later
// What the product makes for itself: who may read it, and which paths it doesn't take.
#include "common/file.h"
#include "common/library.h"
#include "common/lock.h"
#include "common/ownfiles.h"
#include "common/paths.h"
#include "common/problem.h"
#include "support/files.h"
#include "support/problem.h"
#include "system.h"

#include <cerrno>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

struct OwnFiles : testing::Test {
    ~OwnFiles() override
    {
        if (seteuid(0) == 0)
            umask(mask);
    }

    // Why a directory or file is refused; empty when it isn't.
    std::string refusalOfDirectory(const fs::path &path)
    {
        return refusalOf(path, [&] { yat::makeOwnDirectory(path); });
    }
    std::string refusalOfFile(const fs::path &path)
    {
        return refusalOf(path, [&] { close(yat::openOwnFile(path, O_WRONLY | O_APPEND)); });
    }
    template <class Work> std::string refusalOf(const fs::path &path, const Work &work)
    {
        try {
            work();
            return {};
        } catch (const yat::Problem &problem) {
            const std::string text = problem.what(), begin = path.string() + " can't be written: ";
            EXPECT_TRUE(text.starts_with(begin)) << text;
            return text.substr(begin.size());
        }
    }

    static int modeOf(const fs::path &path)
    {
        struct stat status;
        return stat(path.c_str(), &status) == 0 ? static_cast<int>(status.st_mode & 07777) : -1;
    }

    const TemporaryDirectory directory;
    const fs::path &top = directory.path;
    const mode_t mask = umask(022);
    const size_t openFiles = countOpenFiles();
};

} // namespace

TEST_F(OwnFiles, HaveTheirPermissionsWhateverTheUmaskIs)
{
    for (const mode_t wanted : {0u, 022u, 077u, 0777u}) {
        umask(wanted);
        const fs::path path = top / std::to_string(wanted);
        EXPECT_EQ(refusalOfDirectory(path / "b/c"), "");
        for (const fs::path &each : {path, path / "b", path / "b/c"})
            EXPECT_EQ(modeOf(each), 0750) << each;
        EXPECT_EQ(refusalOfFile(path / "file"), "");
        EXPECT_EQ(modeOf(path / "file"), 0640);
    }
}

TEST_F(OwnFiles, MayBeMadeByAnotherProgramMeanwhile)
{
    fs::create_directory(top / "made");
    nextErrors["lstat"] = ENOENT; // as if it had looked before that
    EXPECT_EQ(refusalOfDirectory(top / "made"), "");
    EXPECT_TRUE(nextErrors.empty());
}

TEST_F(OwnFiles, KeepWhatTheAdministratorGaveThem)
{
    fs::create_directory(top / "group");
    ASSERT_EQ(chmod((top / "group").c_str(), 02770), 0);
    EXPECT_EQ(refusalOfDirectory(top / "group/log"), "");
    EXPECT_EQ(modeOf(top / "group"), 02770);
    EXPECT_EQ(modeOf(top / "group/log"), 02750); // its files get the group as well
    writeFile(top / "group/log/file", "old\n");
    ASSERT_EQ(chmod((top / "group/log/file").c_str(), 0600), 0);
    EXPECT_EQ(refusalOfFile(top / "group/log/file"), "");
    EXPECT_EQ(modeOf(top / "group/log/file"), 0600);
    EXPECT_EQ(readFile(top / "group/log/file"), "old\n");
}

TEST_F(OwnFiles, AreNoLinks)
{
    writeFile(top / "file", "");
    fs::create_symlink(top / "file", top / "link");
    fs::create_symlink(top / "nowhere", top / "dangling");
    fs::create_hard_link(top / "file", top / "other");
    EXPECT_EQ(refusalOfFile(top / "link"), "it is a symbolic link");
    EXPECT_EQ(refusalOfFile(top / "dangling"), "it is a symbolic link");
    EXPECT_FALSE(fs::exists(top / "nowhere"));
    EXPECT_EQ(refusalOfFile(top / "file"), "it has a second name (a hard link)");
    fs::remove(top / "other");
    EXPECT_EQ(refusalOfFile(top / "file"), "");
}

TEST_F(OwnFiles, AreRegular)
{
    ASSERT_EQ(mkfifo((top / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(refusalOfFile(top / "fifo"), "it is not a regular file");
    EXPECT_EQ(refusalOfFile(top), "it is not a regular file");
}

TEST_F(OwnFiles, AreStillWhatTheyWereOnceTheyAreOpen)
{
    const fs::path file = top / "file", victim = top / "victim";
    writeFile(victim, "precious");
    const auto refusalAfter = [&](const std::function<void()> &swap) {
        fs::remove(file);
        writeFile(file, "");
        beforeOpening = [&](const std::string &name) {
            if (name == file)
                swap();
        };
        const std::string refusal = refusalOfFile(file);
        beforeOpening = {};
        return refusal;
    };
    EXPECT_EQ(refusalAfter([] {}), "");
    EXPECT_EQ(refusalAfter([&] {
                  fs::remove(file);
                  fs::create_hard_link(victim, file);
              }),
              "it has been replaced meanwhile");
    EXPECT_EQ(refusalAfter([&] {
                  fs::remove(file);
                  fs::create_symlink(victim, file);
              }),
              "Too many levels of symbolic links");
    EXPECT_EQ(refusalAfter([&] {
                  fs::remove(file);
                  fs::create_directory(file);
              }),
              "Is a directory");
    EXPECT_EQ(countOpenFiles(), openFiles);
    EXPECT_EQ(readFile(victim), "precious");
}

TEST_F(OwnFiles, MayBeMadeByOthersMeanwhile)
{
    const fs::path file = top / "file";
    for (const int madeAt : {1, 2}) {
        fs::remove(file);
        int openings = 0;
        beforeOpening = [&](const std::string &name) {
            if (name == file && ++openings == madeAt)
                writeFile(file, "theirs");
        };
        const int descriptor = yat::openOwnFile(file, O_RDWR);
        beforeOpening = {};
        EXPECT_EQ(write(descriptor, "ours", 4), 4) << madeAt;
        EXPECT_EQ(readFile(file), "oursrs");
        close(descriptor);
    }
}

TEST_F(OwnFiles, SayWhyTheyCantBeMade)
{
    writeFile(top / "file", "");
    EXPECT_EQ(refusalOfDirectory(top / "file"), "Not a directory");
    EXPECT_EQ(refusalOfDirectory(top / "file/below"), "Not a directory");
    EXPECT_EQ(refusalOfDirectory(""), "No such file or directory");
    EXPECT_EQ(refusalOfFile(top / "none/file"), "No such file or directory");
}

TEST_F(OwnFiles, AreReplacedOrLeftAsTheyWere)
{
    const fs::path file = top / "file";
    yat::replaceFile(file, "old\n", 0644);
    EXPECT_EQ(modeOf(file), 0644);
    const auto refusal = [&] {
        return refusalOf(file, [&] { yat::replaceFile(file, "new\n", 0600); });
    };
    const auto expectNothingDone = [&](const char *call) {
        EXPECT_EQ(readFile(file), "old\n") << call;
        EXPECT_EQ(modeOf(file), 0644) << call;
        EXPECT_EQ(std::distance(fs::directory_iterator(top), {}), 1) << call;
        EXPECT_EQ(countOpenFiles(), openFiles) << call;
    };
    for (const char *call : {"fchmod", "write", "fsync", "rename"}) {
        nextErrors = {{call, EIO}};
        EXPECT_EQ(refusal(), "Input/output error") << call;
        expectNothingDone(call);
    }
    duringShortWrite = [] {};
    EXPECT_EQ(refusal(), "No space left on device");
    expectNothingDone("short write");
    EXPECT_EQ(refusal(), "");
    EXPECT_EQ(readFile(file), "new\n");
    EXPECT_EQ(modeOf(file), 0600);
}

TEST_F(OwnFiles, AreAddedToInWholeLines)
{
    const fs::path file = top / "file";
    const auto refusalOfLine = [&](const char *line) {
        return refusalOf(file, [&] { yat::appendToFile(file, line); });
    };
    EXPECT_EQ(refusalOfLine("first\n"), "");
    for (const char *call : {"write", "fsync"}) {
        nextErrors = {{call, EIO}};
        EXPECT_EQ(refusalOfLine("second\n"), "Input/output error") << call;
    }
    duringShortWrite = [] {};
    EXPECT_EQ(refusalOfLine("torn..\n"), "No space left on device");
    EXPECT_EQ(refusalOfLine("third\n"), "");
    EXPECT_EQ(refusalOfLine("fourth\n"), "");
    EXPECT_EQ(readFile(file), "first\nsecond\ntor\nthird\nfourth\n");
    EXPECT_EQ(countOpenFiles(), openFiles);
}

TEST_F(OwnFiles, MayBeToldByARelativePath)
{
    const fs::path before = fs::current_path();
    fs::current_path(top);
    EXPECT_EQ(refusalOfDirectory("a/../b"), "");
    EXPECT_TRUE(fs::is_directory(top / "b"));
    fs::create_directory(top / "gone");
    fs::current_path(top / "gone");
    fs::remove(top / "gone");
    EXPECT_EQ(refusalOfDirectory("a"), "No such file or directory");
    fs::current_path(before);
}

TEST_F(OwnFiles, OfRootLieWhereNobodyElseHasASay)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root has others to be afraid of";
    constexpr uid_t nobody = 65534;
    const fs::path path = top / "a";
    fs::create_directory(path);
    const auto refusal = [&](const fs::path &which, const std::string &why) {
        EXPECT_EQ(refusalOfDirectory(which / "b/c"), path.string() + why);
        EXPECT_FALSE(fs::exists(path / "b"));
    };
    ASSERT_EQ(chown(path.c_str(), nobody, 0), 0);
    refusal(path, " belongs to another user");
    ASSERT_EQ(chown(path.c_str(), 0, nobody), 0);
    EXPECT_EQ(chmod(path.c_str(), 0775), 0);
    refusal(path, " can be changed by others"); // by the group
    ASSERT_EQ(chown(path.c_str(), 0, 0), 0);
    EXPECT_EQ(refusalOfDirectory(path), "");
    EXPECT_EQ(chmod(path.c_str(), 0777), 0);
    refusal(path, " can be changed by others");
    EXPECT_EQ(chmod(path.c_str(), 01777), 0);
    EXPECT_EQ(refusalOfDirectory(path), "");
    fs::rename(path, top / "there");
    fs::create_directory_symlink(top / "there", path);
    refusal(path, " is a symbolic link");

    writeFile(top / "file", "");
    ASSERT_EQ(chown((top / "file").c_str(), nobody, 0), 0);
    EXPECT_EQ(refusalOfFile(top / "file"), "it belongs to another user");
}

TEST_F(OwnFiles, OfAUserMayLieBehindLinks)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "it needs another user to be";
    constexpr uid_t nobody = 65534;
    ASSERT_EQ(chown(top.c_str(), nobody, 0), 0);
    fs::create_directory_symlink(top, top / "link");
    ASSERT_EQ(seteuid(nobody), 0);
    EXPECT_EQ(refusalOfDirectory(top / "link/b"), "");
    EXPECT_EQ(refusalOfFile(top / "link/b/file"), "");
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_EQ(modeOf(top / "b/file"), 0640);
}

TEST_F(OwnFiles, OfAUserWithoutAHomeAreNowhere)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "it needs other users to be";
    const std::string home = getenv("HOME");
    setenv("YAT_STATE_DIR", "/proc/nowhere", 1);
    setenv("HOME", "relative", 1);
    for (const uid_t user : {65534u, 54321u}) { // whose home is none, and who has no name
        ASSERT_EQ(seteuid(user), 0);
        const std::string problem = problemOf([] { yat::stateDirectory(); });
        ASSERT_EQ(seteuid(0), 0);
        EXPECT_EQ(problem, "/proc/nowhere can't be written: No such file or directory; set "
                           "YAT_STATE_DIR to a directory that can be written");
        unsetenv("HOME");
    }
    unsetenv("YAT_STATE_DIR");
    setenv("HOME", home.c_str(), 1);
}

TEST_F(OwnFiles, AreLockedWhateverSignalsComeIn)
{
    nextErrors = {{"flock", EINTR}};
    EXPECT_TRUE(yat::Lock(open(top.c_str(), O_RDONLY), true).isHeld);
    nextErrors = {{"flock", ENOLCK}};
    EXPECT_FALSE(yat::Lock(open(top.c_str(), O_RDONLY), true).isHeld);
    EXPECT_FALSE(yat::Lock(-1, true).isHeld);
    EXPECT_EQ(countOpenFiles(), openFiles);
}

TEST_F(OwnFiles, LibrariesAreRegularFilesToo)
{
    ASSERT_EQ(mkfifo((top / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(yat::openLibrary((top / "fifo").c_str()), nullptr);
    EXPECT_NE(std::string(dlerror()).find("not a regular file"), std::string::npos);
    EXPECT_EQ(yat::openLibrary((top / "none").c_str()), nullptr);
    EXPECT_NE(std::string(dlerror()).find("/none: cannot open"), std::string::npos);
}
