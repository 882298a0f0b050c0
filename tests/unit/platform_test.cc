// SPDX-License-Identifier: GPL-2.0-or-later
// Loading a platform: each object that is none is refused and leaves nothing behind.
#include "support/files.h"
#include "support/privileges.h"
#include "yat/facts.h"
#include "yat/ft.h"
#include "yat/platform.h"
#include "yat/text.h"
#include "yat/trace.h"
#include "yat/winshim.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;

namespace {

// A product root of its own, with a copy of the library that loads its platform from there.
class Root {
public:
    explicit Root(const std::string &platform, const std::string &name = "yatcore.dll")
    {
        fs::create_directories(directory.path / "lib");
        fs::copy_file(STAGE "/lib/libyat.so", directory.path / "lib/libyat.so");
        if (!platform.empty())
            fs::copy_file(platform, directory.path / "lib" / name);
        setenv("YAT_STATE_DIR", (directory.path / "state").c_str(), 1);
        library = dlopen((directory.path / "lib/libyat.so").c_str(), RTLD_NOW | RTLD_LOCAL);
        call<int(int, const char *, int, int, int)>("TraceLogInit")(0, "trace", 0, 0, 0);
    }
    ~Root()
    {
        dlclose(library);
        unsetenv("YAT_STATE_DIR");
    }

    void configure(const std::string &machine)
    {
        writeFile(directory.path / "etc/yatkit.toml", "machine = '" + machine + "'\n");
    }
    int init()
    {
        return call<decltype(ft_FunctionInit)>("ft_FunctionInit")();
    }
    template <class Function> Function *call(const char *name)
    {
        return reinterpret_cast<Function *>(dlsym(library, name));
    }
    yat_ft_functions &functions()
    {
        return *call<yat_ft_functions>("yat_ft_func");
    }
    std::string trace()
    {
        return readFile(directory.path / "state/log/trace.log");
    }
    bool isLoaded()
    {
        void *handle = dlopen((directory.path / "lib/yatcore.dll").c_str(), RTLD_NOLOAD | RTLD_NOW);
        if (handle)
            dlclose(handle);
        return handle != nullptr;
    }

    TemporaryDirectory directory;
    void *library;
};

bool isEmpty(const yat_ft_functions &functions)
{
    const char zero[sizeof functions] = {};
    return memcmp(&functions, zero, sizeof functions) == 0;
}

struct Refused {
    const char *name; // of the platform
    const char *reason;
};

const Refused refused[] = {
    {"foreign", "has no symbol YatPlatform"},
    {"magic", "has the wrong magic number"},
    {"refusing", "refuses to open"},
};

class EveryRefused : public testing::TestWithParam<Refused> {};

void expectRefused(const Refused &platform)
{
    Root root(std::string(PLATFORMS "/platform_") + platform.name + ".dll");
    root.call<decltype(TraceLog)>("TraceLog")(YAT_TRACE_ERROR, "s", "f", 1, "of another time");
    EXPECT_EQ(root.init(), 0);
    EXPECT_TRUE(isEmpty(root.functions()));
    EXPECT_FALSE(root.isLoaded());
    EXPECT_NE(root.trace().find(platform.reason), std::string::npos) << root.trace();
    EXPECT_EQ(root.call<decltype(ft_FunctionRelease)>("ft_FunctionRelease")(), 0);
}

TEST_P(EveryRefused, LeavesNothingBehind)
{
    expectRefused(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Platform, EveryRefused, testing::ValuesIn(refused),
                         [](const auto &info) { return std::string(info.param.name); });

} // namespace

TEST(Platform, ThatLacksAnyOfItsFunctionsIsRefused)
{
    constexpr size_t slots = sizeof(yat_ft_functions) / sizeof(void *);
    for (size_t gap = 1; gap <= 2 + slots - 1; ++gap) { // open, close, and all but the handle
        SCOPED_TRACE(gap);
        setenv("YAT_GAP", std::to_string(gap).c_str(), 1);
        expectRefused({"good", "lacks functions"});
    }
    unsetenv("YAT_GAP");
}

TEST(Platform, OfAnotherVersionOrSizeIsRefused)
{
    constexpr size_t now = sizeof(yat_platform), before = offsetof(yat_platform, get_facts);
    for (const auto &[version, size] : {std::pair<int, size_t>{1, before},
                                        {2, before - 8},
                                        {2, now},
                                        {3, before},
                                        {3, now - 8},
                                        {3, now + 8},
                                        {4, before},
                                        {4, now}}) {
        SCOPED_TRACE(std::to_string(version) + ", " + std::to_string(size));
        setenv("YAT_VERSION", std::to_string(version).c_str(), 1);
        setenv("YAT_SIZE", std::to_string(size).c_str(), 1);
        expectRefused({"good", "has the wrong version or size"});
    }
    unsetenv("YAT_VERSION");
    unsetenv("YAT_SIZE");
}

TEST(Platform, ThatIsMissingIsACleanFailure)
{
    Root root("");
    EXPECT_EQ(root.call<decltype(ft_FunctionInit)>("ft_FunctionInit")(), 0);
    EXPECT_TRUE(isEmpty(root.functions()));
    EXPECT_NE(root.trace().find("can't be loaded"), std::string::npos);
}

TEST(Platform, OfAProductThatIsGoneIsNowhere)
{
    Root root("");
    fs::remove_all(root.directory.path / "lib");
    setenv("YAT_STATE_DIR", "", 1); // the product's own, and as that is gone, the user's
    setenv("XDG_STATE_HOME", root.directory.path.c_str(), 1);
    char text[4096];
    int size;
    EXPECT_EQ(root.call<decltype(GetYatRootPath)>("GetYatRootPath")(text, sizeof text), 0);
    EXPECT_EQ(root.call<decltype(OpenStrFile)>("OpenStrFile")("/etc/passwd", &size), nullptr);
    EXPECT_EQ(root.call<decltype(TraceLogInit)>("TraceLogInit")(0, "trace", 0, 0, 0), 1);
    EXPECT_TRUE(fs::exists(root.directory.path / "yatkit/log/trace.log"));
    unsetenv("XDG_STATE_HOME");
}

TEST(Texts, ThatCannotBeReadAreNone)
{
    Root root("");
    const auto open = root.call<decltype(OpenStrFile)>("OpenStrFile");
    const fs::path file = root.directory.path / "data/E_mrvutil.rc";
    writeFile(file, "KEY_ID \"text\"\n");
    int size = -7;
    {
        const WithoutPrivileges since;
        fs::permissions(file, fs::perms::none);
        EXPECT_EQ(open("/data/E_mrvutil.rc", &size), nullptr);
    }
    fs::permissions(file, fs::perms::owner_all);
    fs::resize_file(file, uintmax_t{3} << 30); // beyond what an int can tell
    EXPECT_EQ(open("/data/E_mrvutil.rc", &size), nullptr);
    EXPECT_EQ(size, -7);
}

TEST(Platform, ThatIsAFifoDoesNotHangTheStart)
{
    Root root("");
    ASSERT_EQ(mkfifo((root.directory.path / "lib/yatcore.dll").c_str(), 0600), 0);
    EXPECT_EQ(root.init(), 0);
    EXPECT_NE(root.trace().find("yatcore.dll (not a regular file): "), std::string::npos);
}

TEST(Platform, ThatIsNoSharedObjectIsACleanFailure)
{
    Root root(STAGE "/data/E_mrvutil.rc");
    EXPECT_EQ(root.call<decltype(ft_FunctionInit)>("ft_FunctionInit")(), 0);
    EXPECT_TRUE(isEmpty(root.functions()));
}

TEST(Platform, IsOpenedOnceAndReleasedOnce)
{
    Root root(PLATFORMS "/platform_good.dll");
    const auto init = root.call<decltype(ft_FunctionInit)>("ft_FunctionInit");
    const auto release = root.call<decltype(ft_FunctionRelease)>("ft_FunctionRelease");
    EXPECT_EQ(init(), 1);
    EXPECT_NE(root.functions().handle, nullptr);
    EXPECT_NE(root.functions().yat_ft_get_property, nullptr);
    EXPECT_NE(root.functions().Linux_ConvertDataToInt, nullptr);
    EXPECT_EQ(root.call<decltype(call_yat_is_ft)>("call_yat_is_ft")(0), 2);
    EXPECT_EQ(init(), 1);
    EXPECT_EQ(release(), 1);
    EXPECT_TRUE(isEmpty(root.functions()));
    EXPECT_FALSE(root.isLoaded());
    EXPECT_EQ(release(), 0);
    EXPECT_EQ(init(), 1); // and again
    EXPECT_EQ(release(), 1);
    EXPECT_EQ(init(), 1);
    void *const handle = std::exchange(root.functions().handle, nullptr); // whoever did that
    EXPECT_EQ(release(), 0);
    dlclose(handle);
}

TEST(Platform, ThatIsNotOpenOrGetsNothingToFillRefusesEachCall)
{
    Root root(PLATFORMS "/platform_good.dll");
    yat_device *tree = nullptr, device{};
    int value = 5;
    char text[1024] = "";
    const auto expectNoFilling = [&] {
        EXPECT_EQ(root.call<decltype(CreateTreeViewData)>("CreateTreeViewData")(nullptr), 0);
        EXPECT_EQ(root.call<decltype(FreeTreeViewData)>("FreeTreeViewData")(nullptr), 0);
        EXPECT_EQ(root.call<decltype(StatusChange)>("StatusChange")(2, 1, 9001, nullptr), -1);
        EXPECT_EQ(root.call<decltype(IfSupport)>("IfSupport")(nullptr, 1, &value), 0);
        EXPECT_EQ(root.call<decltype(GetBBDriverSettings)>("GetBBDriverSettings")(2, 3, 1, nullptr),
                  0);
    };
    expectNoFilling();
    EXPECT_EQ(root.call<decltype(CreateTreeViewData)>("CreateTreeViewData")(&tree), 0);
    EXPECT_EQ(root.call<decltype(FreeTreeViewData)>("FreeTreeViewData")(&tree), 0);
    EXPECT_EQ(root.call<decltype(call_yat_is_ft)>("call_yat_is_ft")(0), -1);
    EXPECT_EQ(root.call<decltype(StatusChange)>("StatusChange")(2, 1, 9001, text), -1);
    EXPECT_EQ(root.call<decltype(IfSupport)>("IfSupport")(&device, 1, &value), 0);
    EXPECT_EQ(root.call<decltype(ClearMTBF)>("ClearMTBF")(&device, 1), 0);
    EXPECT_EQ(root.call<decltype(InitBringUp)>("InitBringUp")(&device, 1), 0);
    EXPECT_EQ(root.call<decltype(InitBringDown)>("InitBringDown")(&device, 1), 0);
    EXPECT_EQ(root.call<decltype(SetMtbfType)>("SetMtbfType")(&device, 1, "1"), 0);
    EXPECT_EQ(root.call<decltype(BurnFirmware)>("BurnFirmware")(&device, 10, "FWCOPY"), 0);
    EXPECT_EQ(root.call<decltype(GetBBDriverSettings)>("GetBBDriverSettings")(2, 3, 1, &value), 0);
    EXPECT_EQ(root.call<decltype(PutBBDriverSettings)>("PutBBDriverSettings")(2, 3, 1, &value), 0);
    EXPECT_EQ(value, 5);
    EXPECT_STREQ(text, "");
    ASSERT_EQ(root.init(), 1);
    expectNoFilling();
}

TEST(Platform, OfTheHardwareIsAnother)
{
    Root root(PLATFORMS "/platform_good.dll", "yathost.dll");
    EXPECT_EQ(root.init(), 0);
    root.configure("hardware");
    EXPECT_EQ(root.init(), 1);
}

TEST(Platform, OfTheHardwareIsNotSimulated)
{
    Root root(STAGE "/lib/yatcore.dll", "yathost.dll");
    root.configure("hardware");
    EXPECT_EQ(root.init(), 0);
    EXPECT_NE(root.trace().find("yatcore.dll only simulates machines"), std::string::npos);
}

TEST(Platform, OfAMakerIsNamedByItsPath)
{
    Root root(PLATFORMS "/platform_good.dll");
    const auto refusalOf = [&](const fs::path &path) {
        root.configure(path);
        EXPECT_EQ(root.init(), 0);
        EXPECT_TRUE(isEmpty(root.functions()));
        return linesOf(root.trace()).back();
    };
    const auto expectRefusal = [&](const fs::path &path, const std::string &why) {
        const std::string line = refusalOf(path);
        EXPECT_TRUE(line.ends_with(" " + path.string() + " can't be used: " + why)) << line;
    };
    expectRefusal("platform.so", "its path must begin with '/'");
    expectRefusal("/no/such/platform.so", "No such file or directory");

    const fs::path own = root.directory.path / "own.so";
    fs::copy_file(PLATFORMS "/platform_good.dll", own);
    fs::permissions(own, fs::perms::others_write, fs::perm_options::add);
    expectRefusal(own, "users other than root can write to " + own.string());

    // A library of the system lies where nobody but root writes, and so is looked at.
    Dl_info system;
    ASSERT_NE(dladdr(reinterpret_cast<void *>(getenv), &system), 0);
    const fs::path link = root.directory.path / "link.so";
    fs::create_symlink(system.dli_fname, link);
    const std::string line = refusalOf(link);
    EXPECT_NE(line.find("is not a usable platform: it has no symbol YatPlatform"), line.npos)
        << line;
}

TEST(Platform, OfAMakerIsLoadedWhenRootAloneCanChangeIt)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can make files of root's";
    TemporaryDirectory of("/var/lib"); // root's, unlike the usual place for such directories
    const fs::path own = of.path / "maker/own.so";
    fs::create_directory(own.parent_path());
    fs::copy_file(PLATFORMS "/platform_good.dll", own);
    Root root("");
    const auto release = root.call<decltype(ft_FunctionRelease)>("ft_FunctionRelease");
    root.configure(own);
    EXPECT_EQ(root.init(), 1) << root.trace();
    EXPECT_EQ(root.call<decltype(call_yat_is_ft)>("call_yat_is_ft")(0), 2);
    EXPECT_EQ(release(), 1);

    for (const fs::path &part : {own, own.parent_path()}) {
        const auto expectRefusal = [&] {
            EXPECT_EQ(root.init(), 0) << part;
            EXPECT_EQ(release(), 0);
            EXPECT_TRUE(root.trace().ends_with(" " + part.string() + "\n")) << root.trace();
        };
        const auto mode = fs::status(part).permissions();
        for (const fs::perms others : {fs::perms::group_write, fs::perms::others_write}) {
            fs::permissions(part, mode | others);
            expectRefusal();
        }
        fs::permissions(part, mode);
        ASSERT_EQ(chown(part.c_str(), 65534, 0), 0);
        expectRefusal();
        ASSERT_EQ(chown(part.c_str(), 0, 65534), 0); // who can't write
        EXPECT_EQ(root.init(), 1) << root.trace();
        EXPECT_EQ(release(), 1);
    }
}

namespace {

// What the platform tells by the optional calls; "" for nothing.
std::string toldBy(const char *platform)
{
    Root root(std::string(PLATFORMS "/platform_") + platform + ".dll");
    const auto getFacts = root.call<decltype(GetDeviceFacts)>("GetDeviceFacts");
    const auto getReason = root.call<decltype(GetSupportReason)>("GetSupportReason");
    yat_device device{};
    yat_facts facts{};
    facts.size = sizeof facts;
    char text[1024] = "";
    EXPECT_EQ(root.call<decltype(ft_FunctionInit)>("ft_FunctionInit")(), 1);
    const int told = getFacts(&device, &facts), explained = getReason(&device, 'c', 'd', text);
    EXPECT_EQ(told, explained);
    EXPECT_EQ(getFacts(nullptr, &facts), 0);
    EXPECT_EQ(getFacts(&device, nullptr), 0);
    EXPECT_EQ(getReason(nullptr, 'c', 'd', text), 0);
    EXPECT_EQ(getReason(&device, 'c', 'd', nullptr), 0);
    facts.size = sizeof facts - 1;
    EXPECT_EQ(getFacts(&device, &facts), 0);
    EXPECT_EQ(root.call<decltype(ft_FunctionRelease)>("ft_FunctionRelease")(), 1);
    facts.size = sizeof facts;
    EXPECT_EQ(getFacts(&device, &facts), 0);
    EXPECT_EQ(getReason(&device, 'c', 'd', text), 0);
    return told == 1 ? std::to_string(facts.failures) + text : text;
}

} // namespace

TEST(Platform, NeedNotTellFacts)
{
    EXPECT_EQ(toldBy("good"), "");
    EXPECT_EQ(toldBy("telling"), "7cd");
}

TEST(Platform, OfVersion2IsTakenAndTellsNoFacts)
{
    setenv("YAT_VERSION", "2", 1);
    setenv("YAT_SIZE", std::to_string(offsetof(yat_platform, get_facts)).c_str(), 1);
    EXPECT_EQ(toldBy("old"), "");
    unsetenv("YAT_VERSION");
    unsetenv("YAT_SIZE");
}
