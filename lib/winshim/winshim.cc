// SPDX-License-Identifier: GPL-2.0-or-later
#include "yat/winshim.h"

#include "common/library.h"
#include "common/paths.h"

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <exception>
#include <string_view>

int debug_flag;

unsigned short GetSystemDefaultLangID(void)
{
    for (const char *name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char *value = secure_getenv(name);
        if (!value || !*value)
            continue;
        const std::string_view locale(value);
        const std::string_view language = locale.substr(0, locale.find_first_of("_.@"));
        return language == "ja" || language == "japanese" ? YAT_LANGUAGE_JAPANESE
                                                          : YAT_LANGUAGE_ENGLISH;
    }
    return YAT_LANGUAGE_ENGLISH;
}

// A null argument would mean the program itself to the loader. These names make it fail, and say
// so in dlerror().
void *LoadLibrary(const char *path)
{
    return yat::openLibrary(path && *path ? path : "(no library)");
}

void *GetProcAddress(void *module, const char *name)
{
    if (!module || !name)
        return dlopen("(no module)", RTLD_NOW);
    return dlsym(module, name);
}

int FreeLibrary(void *module)
{
    return module && dlclose(module) == 0 ? 1 : 0;
}

int GetYatRootPath(char *buffer, int size)
try {
    const std::string root = yat::productRoot();
    if (!buffer || root.empty() || size < 0 || root.size() >= static_cast<size_t>(size))
        return 0;
    memcpy(buffer, root.c_str(), root.size() + 1);
    return 1;
} catch (const std::exception &) {
    return 0;
}

int initnewtlib(void)
{
    return 0;
}

void freenewtlib(void) {}

int initslanglib(void)
{
    return 0;
}

void freeslanglib(void) {}
