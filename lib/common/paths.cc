#include "common/paths.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <link.h>
#include <pwd.h>
#include <string_view>
#include <unistd.h>

namespace yat {
namespace {

const char anchor = 0; // its address tells which object this code was loaded with

// A product installed as /opt/vendor/product keeps its configuration and state outside,
// as the file system hierarchy wants it, so that /opt can be read-only.
std::string companionDirectory(const char *system, const char *local)
{
    const std::string root = productRoot();
    if (root.empty())
        return {};
    return root.starts_with("/opt/") ? system + root : root + local;
}

std::string userStateDirectory()
{
    if (const char *xdg = secure_getenv("XDG_STATE_HOME"); xdg && xdg[0] == '/')
        return std::string(xdg) + "/yatkit";
    const char *home = secure_getenv("HOME");
    if (!home || home[0] != '/') {
        const passwd *user = getpwuid(geteuid());
        home = user ? user->pw_dir : nullptr;
    }
    return home ? std::string(home) + "/.local/state/yatkit" : std::string();
}

} // namespace

std::string productRoot()
{
    Dl_info info;
    link_map *map = nullptr;
    char path[PATH_MAX];
    if (!dladdr1(&anchor, &info, reinterpret_cast<void **>(&map), RTLD_DL_LINKMAP)
        || !info.dli_fname)
        return {};
    // The loader has no name for the program itself, and what it was called by may be relative.
    const bool isProgram = map && (!map->l_name || !*map->l_name);
    if (!realpath(isProgram ? "/proc/self/exe" : info.dli_fname, path))
        return {};
    return std::filesystem::path(path).parent_path().parent_path().string();
}

std::string configurationDirectory()
{
    return companionDirectory("/etc", "/etc");
}

bool makeWritableDirectory(const std::string &path)
{
    std::error_code error;
    std::filesystem::create_directories(path, error);
    const bool isWritable = !path.empty() && access(path.c_str(), W_OK | X_OK) == 0;
    if (!isWritable && error)
        errno = error.value(); // the directory that is missing says less
    return isWritable;
}

std::string stateDirectory()
{
    const char *wanted = secure_getenv("YAT_STATE_DIR");
    const std::string first = wanted && wanted[0] ? std::string(wanted)
                                                  : companionDirectory("/var", "/var");
    if (makeWritableDirectory(first))
        return first;
    const std::string second = userStateDirectory();
    return makeWritableDirectory(second) ? second : std::string();
}

} // namespace yat
