// Loading a platform: each object that is none is refused and leaves nothing behind.
#include "support/files.h"
#include "yat/ft.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

// A product root of its own, with a copy of the library that loads its platform from there.
class Root {
public:
    explicit Root(const std::string &platform)
    {
        fs::create_directories(directory.path / "lib");
        fs::copy_file(STAGE "/lib/libyat.so", directory.path / "lib/libyat.so");
        if (!platform.empty())
            fs::copy_file(platform, directory.path / "lib/yatcore.dll");
        setenv("YAT_STATE_DIR", (directory.path / "state").c_str(), 1);
        library = dlopen((directory.path / "lib/libyat.so").c_str(), RTLD_NOW | RTLD_LOCAL);
        call<int(int, const char *, int, int, int)>("TraceLogInit")(0, "trace", 0, 0, 0);
    }
    ~Root()
    {
        dlclose(library);
        unsetenv("YAT_STATE_DIR");
    }

    template <class Function> Function *call(const char *name)
    {
        return reinterpret_cast<Function *>(dlsym(library, name));
    }
    yat_ft_functions &functions() { return *call<yat_ft_functions>("yat_ft_func"); }
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
    {"version", "has the wrong version or size"},
    {"size", "has the wrong version or size"},
    {"gap", "lacks functions"},
    {"no_open", "lacks functions"},
    {"no_close", "lacks functions"},
    {"no_property", "lacks functions"},
    {"no_convert", "lacks functions"},
    {"refusing", "refuses to open"},
};

class EveryRefused : public testing::TestWithParam<Refused> {};

TEST_P(EveryRefused, LeavesNothingBehind)
{
    Root root(std::string(PLATFORMS "/platform_") + GetParam().name + ".dll");
    EXPECT_EQ(root.call<decltype(ft_FunctionInit)>("ft_FunctionInit")(), 0);
    EXPECT_TRUE(isEmpty(root.functions()));
    EXPECT_FALSE(root.isLoaded());
    EXPECT_NE(root.trace().find(GetParam().reason), std::string::npos) << root.trace();
    EXPECT_EQ(root.call<decltype(ft_FunctionRelease)>("ft_FunctionRelease")(), 0);
}

INSTANTIATE_TEST_SUITE_P(Platform, EveryRefused, testing::ValuesIn(refused),
                         [](const auto &info) { return std::string(info.param.name); });

} // namespace

TEST(Platform, ThatIsMissingIsACleanFailure)
{
    Root root("");
    EXPECT_EQ(root.call<decltype(ft_FunctionInit)>("ft_FunctionInit")(), 0);
    EXPECT_TRUE(isEmpty(root.functions()));
    EXPECT_NE(root.trace().find("can't be loaded"), std::string::npos);
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
}
