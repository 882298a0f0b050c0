// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/files.h"
#include "yat/trace.h"
#include "yat/winshim.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

namespace {

unsigned short languageOf(const char *all, const char *messages, const char *lang)
{
    for (const auto &[name, value] :
         {std::pair{"LC_ALL", all}, {"LC_MESSAGES", messages}, {"LANG", lang}}) {
        if (value)
            setenv(name, value, 1);
        else
            unsetenv(name);
    }
    return GetSystemDefaultLangID();
}

} // namespace

TEST(Language, IsDecidedByTheFirstVariableThatIsSet)
{
    EXPECT_EQ(languageOf(nullptr, nullptr, nullptr), 1033);
    EXPECT_EQ(languageOf(nullptr, nullptr, "ja_JP.UTF-8"), 1041);
    EXPECT_EQ(languageOf(nullptr, "en_US.UTF-8", "ja_JP.UTF-8"), 1033);
    EXPECT_EQ(languageOf("ja_JP.eucJP", "en_US.UTF-8", "de_DE"), 1041);
    EXPECT_EQ(languageOf("", "", "ja_JP"), 1041);
    EXPECT_EQ(languageOf("C", nullptr, "ja_JP"), 1033);
    for (const char *japanese : {"ja", "ja_JP", "ja.UTF-8", "ja@x", "japanese", "japanese.euc"})
        EXPECT_EQ(languageOf(nullptr, nullptr, japanese), 1041) << japanese;
    for (const char *other : {"jav", "jam_JM", "C", "POSIX", "en_JA", "_ja", "j", "JA"})
        EXPECT_EQ(languageOf(nullptr, nullptr, other), 1033) << other;
}

TEST(Loader, LoadsFindsAndUnloads)
{
    void *module = LoadLibrary(STAGE "/lib/yatcore.dll");
    ASSERT_NE(module, nullptr) << dlerror();
    EXPECT_NE(GetProcAddress(module, "YatPlatform"), nullptr);
    EXPECT_EQ(FreeLibrary(module), 1);
    EXPECT_EQ(dlopen(STAGE "/lib/yatcore.dll", RTLD_NOLOAD | RTLD_NOW), nullptr); // really gone
}

TEST(Loader, LeavesTheReasonOfAFailureInDlerror)
{
    dlerror();
    for (const char *path : {"/no/such/object.dll", STAGE "/data/E_mrvutil.rc", "",
                             static_cast<const char *>(nullptr)}) {
        EXPECT_EQ(LoadLibrary(path), nullptr);
        EXPECT_NE(dlerror(), nullptr);
    }
    void *module = LoadLibrary(STAGE "/lib/yatcore.dll");
    EXPECT_EQ(GetProcAddress(module, "YATGetDeviceID"), nullptr);
    const char *reason = dlerror();
    ASSERT_NE(reason, nullptr);
    EXPECT_NE(strstr(reason, "YATGetDeviceID"), nullptr);
    for (const auto &[handle, name] :
         {std::pair<void *, const char *>{nullptr, "main"}, {module, nullptr}}) {
        EXPECT_EQ(GetProcAddress(handle, name), nullptr);
        EXPECT_NE(dlerror(), nullptr);
    }
    FreeLibrary(module);
    EXPECT_EQ(FreeLibrary(nullptr), 0);
}

namespace {

// Loads and unloads a library that traces in between, and ends the program.
void endAfter(const std::function<void(void *)> &work)
{
    TraceLog(YAT_TRACE_ERROR, "s", "f", 1, "of another time");
    initnewtlib();
    void *module = LoadLibrary(STAGE "/lib/yatcore.dll");
    work(module);
    FreeLibrary(module);
    exit(0);
}

// That work is done in a process of its own, which has not told anything yet.
struct Told : testing::Test {
    Told()
    {
        testing::GTEST_FLAG(death_test_style) = "threadsafe";
    }
};

} // namespace

TEST_F(Told, IsTheFirstErrorThatALibraryTraced)
{
    const auto trace = [](void *) {
        TraceLog(YAT_TRACE_PROGRESS, "s", "f", 1, ">");
        TraceLog(YAT_TRACE_MEMORY, "s", "f", 1, "memory");
        TraceLog(YAT_TRACE_ERROR, "s", "f", 1, "%s", std::string(1500, 'x').c_str());
        TraceLog(YAT_TRACE_ERROR, "s", "f", 1, "last");
    };
    EXPECT_EXIT(endAfter(trace), testing::ExitedWithCode(0), "^unit_test: x{1023}\n$");
    EXPECT_EXIT(endAfter([](void *) {}), testing::ExitedWithCode(0), "^$");
}

TEST_F(Told, IsOnceThatTheLogCannotBeWritten)
{
    const auto lose = [](void *) {
        for (const char *nowhere : {"/proc/nowhere", "/dev/null"}) {
            setenv("YAT_STATE_DIR", nowhere, 1);
            setenv("XDG_STATE_HOME", nowhere, 1);
            TraceLogInit(0, "lost", 0, 0, 0);
        }
    };
    EXPECT_EXIT(endAfter(lose), testing::ExitedWithCode(0),
                "^unit_test: /proc/nowhere can't be written: [^\n]* is not in the trace log\n$");
}

TEST_F(Told, IsOnceWhatIsWrongWithALibrary)
{
    const auto look = [](void *module) {
        GetProcAddress(module, "Nothing");
        TraceLog(YAT_TRACE_ERROR, "s", "f", 1, "what follows from it");
    };
    EXPECT_EXIT(endAfter(look), testing::ExitedWithCode(0),
                "^unit_test: [^\n]*undefined symbol: Nothing; install the product again\n$");
    const auto load = [](void *) { LoadLibrary("/none.dll"); };
    EXPECT_EXIT(endAfter(load), testing::ExitedWithCode(0),
                "^unit_test: /none.dll: cannot open [^\n]*; install the product again\n$");
}

// As when the program was first run with sudo.
TEST_F(Told, IsThatRootMadeTheLogsOfAnotherUser)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can make files of root's";
    const auto lose = [](void *) {
        const TemporaryDirectory directory;
        std::filesystem::create_directory(directory.path / "log");
        EXPECT_EQ(chown(directory.path.c_str(), 65534, 0), 0);
        setenv("YAT_STATE_DIR", directory.path.c_str(), 1);
        EXPECT_EQ(setresuid(65534, 65534, 0), 0);
        TraceLogInit(0, "lost", 0, 0, 0);
        EXPECT_EQ(setresuid(0, 0, 0), 0);
    };
    EXPECT_EXIT(endAfter(lose), testing::ExitedWithCode(0),
                "^unit_test: [^\n]*/log can't be written: Permission denied; what the program did "
                "is not in the trace log\n$");
}

TEST(Root, IsAboveTheLibrary)
{
    char stage[PATH_MAX], buffer[4096];
    ASSERT_NE(realpath(STAGE, stage), nullptr);
    ASSERT_EQ(GetYatRootPath(buffer, sizeof buffer), 1);
    EXPECT_STREQ(buffer, stage);
}

TEST(Root, NeedsRoomForAllOfIt)
{
    char buffer[4096];
    ASSERT_EQ(GetYatRootPath(buffer, sizeof buffer), 1);
    const int length = static_cast<int>(strlen(buffer));
    char small[4096] = "untouched";
    EXPECT_EQ(GetYatRootPath(small, length), 0);
    EXPECT_STREQ(small, "untouched");
    memset(small, 'x', sizeof small);
    EXPECT_EQ(GetYatRootPath(small, length + 1), 1);
    EXPECT_EQ(small[length + 1], 'x');
    EXPECT_EQ(GetYatRootPath(small, 0), 0);
    EXPECT_EQ(GetYatRootPath(small, -1), 0);
    EXPECT_EQ(GetYatRootPath(nullptr, 4096), 0);
}

TEST(ScreenLibraries, AreThere)
{
    EXPECT_EQ(initnewtlib(), 0);
    EXPECT_EQ(initslanglib(), 0);
    freenewtlib();
    freeslanglib();
}
