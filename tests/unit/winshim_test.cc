// SPDX-License-Identifier: GPL-2.0-or-later
#include "yat/winshim.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <string>

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
    EXPECT_EQ(GetYatRootPath(small, length + 1), 1);
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
