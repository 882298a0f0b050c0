// SPDX-License-Identifier: GPL-2.0-or-later
#include "common/paths.h"

#include "common/ownfiles.h"
#include "common/problem.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <dlfcn.h>
#include <link.h>
#include <pwd.h>
#include <sys/stat.h>
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

std::string parent(const std::string &path)
{
    return path.substr(0, std::max<size_t>(path.rfind('/'), 1));
}

// Where this object's product is, which does not change while it is loaded.
std::string findProductRoot()
{
    Dl_info info;
    link_map *map = nullptr;
    char path[PATH_MAX];
    dladdr1(&anchor, &info, reinterpret_cast<void **>(&map), RTLD_DL_LINKMAP);
    // The loader has no name for the program itself, and what it was called by may be relative.
    if (!realpath(*map->l_name ? map->l_name : "/proc/self/exe", path))
        return {};
    return parent(parent(path));
}

} // namespace

std::string productRoot()
{
    static const std::string root = findProductRoot();
    return root;
}

std::string configurationDirectory()
{
    return companionDirectory("/etc", "/etc");
}

std::string fileOfRoot(const std::string &file)
{
    const auto refuse = [&](const std::string &why) {
        throw Problem(file + " can't be used: " + why);
    };
    char path[PATH_MAX];
    if (!file.starts_with('/'))
        refuse("its path must begin with '/'");
    if (!realpath(file.c_str(), path))
        refuse(reason(errno));
    for (std::string part = path;; part = parent(part)) {
        struct stat status;
        if (stat(part.c_str(), &status) != 0)
            refuse(reason(errno));
        if (status.st_uid != 0 || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
            refuse("users other than root can write to " + part);
        if (part == "/")
            return path;
    }
}

std::string stateDirectory()
{
    const char *wanted = secure_getenv("YAT_STATE_DIR");
    const std::string first =
        wanted && *wanted ? std::string(wanted) : companionDirectory("/var", "/var");
    try {
        makeOwnDirectory(first);
        return first;
    } catch (const Problem &problem) {
        const std::string second = userStateDirectory();
        try {
            makeOwnDirectory(second);
        } catch (const Problem &) {
            throw Problem(std::string(problem.what())
                          + "; set YAT_STATE_DIR to a directory that can be written");
        }
        return second;
    }
}

} // namespace yat
