// SPDX-License-Identifier: GPL-2.0-or-later
#include "common/library.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <sys/stat.h>

namespace yat {

void *openLibrary(const char *path)
{
    char name[PATH_MAX + 32];
    struct stat status;
    if (stat(path, &status) == 0 && !S_ISREG(status.st_mode)) {
        snprintf(name, sizeof name, "%s (not a regular file)", path);
        path = name;
    }
    // libnl, should it come along, would print across the screen, some of it while it is loaded,
    // and would read a file in any directory, also one that keeps it waiting.
    unsetenv("NLCB");
    unsetenv("NLDBG");
    unsetenv("NLSYSCONFDIR");
    return dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

} // namespace yat
