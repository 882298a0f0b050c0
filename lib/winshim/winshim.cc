// SPDX-License-Identifier: GPL-2.0-or-later
#include "yat/winshim.h"

#include "common/complaints.h"
#include "common/library.h"
#include "common/paths.h"
#include "text/encoding.h"
#include "trace/lasterror.h"
#include "winshim/telling.h"

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <exception>
#include <string_view>

int debug_flag;

static bool isForNewt;

void yat::complainForScreen(std::string_view line) noexcept
{
    if (isForNewt)
        complain(line);
}

static bool isToldOfLibrary; // what is wrong with it

static void complainOfLoader()
try {
    isToldOfLibrary = true;
    const char *why = dlerror();
    yat::complainForScreen(yat::fromDisplay(why ? why : "") + "; install the product again");
} catch (const std::exception &) {
    yat::complainOf(std::bad_alloc());
}

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
// so in dlerror(), which tells it once: so what has failed is tried again for the caller.
void *LoadLibrary(const char *path)
{
    const char *name = path && *path ? path : "(no library)";
    isToldOfLibrary = false;
    yat::forgetTracedErrors();
    if (void *library = yat::openLibrary(name))
        return library;
    complainOfLoader();
    return yat::openLibrary(name);
}

void *GetProcAddress(void *module, const char *name)
{
    if (!module || !name)
        return dlopen("(no module)", RTLD_NOW);
    if (void *function = dlsym(module, name))
        return function;
    complainOfLoader();
    return dlsym(module, name);
}

// What the library traced as an error is why it did not do what it was for. It can't tell that
// itself, because newt has the screen.
int FreeLibrary(void *module)
try {
    if (const std::string why = yat::fromDisplay(yat::firstTracedError());
        module && !isToldOfLibrary && !why.empty())
        yat::complainForScreen(why);
    return module && dlclose(module) == 0 ? 1 : 0;
} catch (const std::exception &problem) {
    yat::complainOf(problem);
    return 0;
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
    isForNewt = true;
    return 0;
}

void freenewtlib(void) {}

int initslanglib(void)
{
    return 0;
}

void freeslanglib(void) {}
