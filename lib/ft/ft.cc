// SPDX-License-Identifier: GPL-2.0-or-later
// The platform behind its table: loading it, and the calls that go through it.
#include "yat/ft.h"

#include "base/tracing.h"
#include "common/complaints.h"
#include "common/configuration.h"
#include "common/library.h"
#include "common/paths.h"
#include "common/problem.h"
#include "text/encoding.h"
#include "trace/lasterror.h"
#include "winshim/telling.h"
#include "yat/platform.h"

#include <dlfcn.h>
#include <exception>
#include <memory>
#include <string>
#include <unistd.h>
#include <utility>

yat_ft_functions yat_ft_func;

namespace {

constexpr char traceSource[] = "ft";

const yat_platform *loadedPlatform;
decltype(yat_platform::get_facts) getFacts; // null where the platform has none
decltype(yat_platform::get_reason) getReason;

struct Unload {
    void operator()(void *handle) const
    {
        dlclose(handle);
    }
};
using Library = std::unique_ptr<void, Unload>;

// The library that answers for the configured machine.
std::string platformLibrary()
{
    const yat::ConfiguredMachine machine = yat::configuredMachine();
    return machine.isMakers ? yat::fileOfRoot(machine.platform) : machine.platform;
}

// What to do about a platform that can't be loaded. Each of ours is in a package of its own, which
// may be the one that was left out.
std::string advice(const std::string &path)
{
    const bool isMissing = access(path.c_str(), F_OK) != 0;
    for (const auto &[name, package] : {std::pair{"/yathost.dll", "mrvutil-host"},
                                        std::pair{"/yatcore.dll", "mrvutil-simulator"}})
        if (isMissing && path.ends_with(name))
            return std::string("install the package ") + package + ", or the product again";
    return "install the product again";
}

Library load(const std::string &path)
{
    Library library(yat::openLibrary(path.c_str()));
    if (!library)
        throw yat::Problem("the platform can't be loaded: " + yat::fromDisplay(dlerror()) + "; "
                           + advice(path));
    return library;
}

bool isComplete(const yat_ft_functions &functions)
{
    return functions.create_tree && functions.free_tree && functions.yat_ft_get_property
           && functions.is_ft && functions.status_change && functions.if_support
           && functions.clear_mtbf && functions.bring_up && functions.Linux_ConvertDataToInt
           && functions.bring_down && functions.set_mtbf_type && functions.burn_firmware
           && functions.get_setting && functions.put_setting;
}

yat::Problem unusable(const std::string &path, const std::string &why)
{
    return yat::Problem(yat::fromDisplay(path) + " is not a usable platform: " + why
                        + "; install one made for this product");
}

// The reason is what it traced last, if anything.
yat::Problem refusal(const std::string &path)
{
    const std::string why = yat::fromDisplay(yat::lastTracedError());
    return yat::Problem(
        why.empty() ? yat::fromDisplay(path) + " refuses to open and gives no reason" : why);
}

// Version 2 had no calls that a platform may lack, and ended where they begin.
bool isOfKnownVersion(const yat_platform &platform)
{
    return (platform.version == YAT_PLATFORM_VERSION && platform.size == sizeof(yat_platform))
           || (platform.version == 2 && platform.size == offsetof(yat_platform, get_facts));
}

// The table of the library from that path. Each of its fields is read only after the ones before
// have vouched for it.
const yat_platform &platformOf(const Library &library, const std::string &path)
{
    const auto *platform =
        static_cast<const yat_platform *>(dlsym(library.get(), YAT_PLATFORM_SYMBOL));
    if (!platform)
        throw unusable(path, "it has no symbol " YAT_PLATFORM_SYMBOL);
    if (platform->magic != YAT_PLATFORM_MAGIC)
        throw unusable(path, "its platform table has the wrong magic number");
    if (!isOfKnownVersion(*platform))
        throw unusable(path, "its platform table has the wrong version or size");
    if (!platform->open || !platform->close || !isComplete(platform->functions))
        throw unusable(path, "its platform table lacks functions");
    return *platform;
}

} // namespace

int ft_FunctionInit(void)
try {
    if (loadedPlatform)
        return 1;
    const std::string path = platformLibrary();
    Library library = load(path);
    const yat_platform &platform = platformOf(library, path);
    yat::forgetTracedErrors();
    const int opened = platform.open();
    if (opened == 0)
        throw refusal(path);
    loadedPlatform = &platform;
    if (platform.version >= 3) {
        getFacts = platform.get_facts;
        getReason = platform.get_reason;
    }
    yat_ft_func = platform.functions;
    yat_ft_func.handle = library.release();
    return opened;
} catch (const std::exception &problem) {
    TRACE_ERROR("%s", problem.what());
    yat::complainOf(problem);
    return 0;
}

int ft_FunctionRelease(void)
{
    if (!loadedPlatform)
        return 0;
    void *handle = yat_ft_func.handle;
    const int closed = loadedPlatform->close();
    loadedPlatform = nullptr;
    getFacts = nullptr;
    getReason = nullptr;
    yat_ft_func = {};
    return handle && dlclose(handle) == 0 ? closed : 0;
}

int CreateTreeViewData(yat_device **root)
{
    return root && yat_ft_func.create_tree ? yat_ft_func.create_tree(root) : 0;
}

int FreeTreeViewData(yat_device **root)
{
    return root && yat_ft_func.free_tree ? yat_ft_func.free_tree(root) : 0;
}

int call_yat_is_ft(int reserved)
{
    const int type = yat_ft_func.is_ft ? yat_ft_func.is_ft(reserved) : YAT_MACHINE_QUERY_FAILED;
    if (type == YAT_MACHINE_PLAIN)
        yat::complainForScreen("this machine is no fault-tolerant server; name another one in "
                               "yatkit.toml or YAT_MACHINE");
    else if (type == YAT_MACHINE_QUERY_FAILED)
        yat::complainForScreen("the machine does not say whether it is a fault-tolerant server; "
                               "the trace log may say why");
    return type;
}

int StatusChange(int kind, int number, int code, char *text)
{
    return text && yat_ft_func.status_change ? yat_ft_func.status_change(kind, number, code, text)
                                             : -1;
}

int IfSupport(yat_device *device, int code, int *detail)
{
    return device && yat_ft_func.if_support ? yat_ft_func.if_support(device, code, detail) : 0;
}

int ClearMTBF(yat_device *device, int code)
{
    return yat_ft_func.clear_mtbf ? yat_ft_func.clear_mtbf(device, code) : 0;
}

int InitBringUp(yat_device *device, int code)
{
    return yat_ft_func.bring_up ? yat_ft_func.bring_up(device, code) : 0;
}

int InitBringDown(yat_device *device, int code)
{
    return yat_ft_func.bring_down ? yat_ft_func.bring_down(device, code) : 0;
}

int SetMtbfType(yat_device *device, int code, const char *type)
{
    return yat_ft_func.set_mtbf_type ? yat_ft_func.set_mtbf_type(device, code, type) : 0;
}

int BurnFirmware(yat_device *device, int code, const char *mode)
{
    return yat_ft_func.burn_firmware ? yat_ft_func.burn_firmware(device, code, mode) : 0;
}

int GetBBDriverSettings(int kind, int object, int index, int *value)
{
    return value && yat_ft_func.get_setting ? yat_ft_func.get_setting(kind, object, index, value)
                                            : 0;
}

int PutBBDriverSettings(int kind, int object, int index, int *value)
{
    return yat_ft_func.put_setting ? yat_ft_func.put_setting(kind, object, index, value) : 0;
}

int GetDeviceFacts(yat_device *device, yat_facts *facts)
{
    constexpr size_t leastSize = offsetof(yat_facts, bios) + sizeof facts->bios;
    const bool canBeTold = getFacts && device && facts && facts->size >= leastSize;
    return canBeTold ? getFacts(device, facts) : 0;
}

int GetSupportReason(yat_device *device, int code, int detail, char *text)
{
    return getReason && device && text ? getReason(device, code, detail, text) : 0;
}
