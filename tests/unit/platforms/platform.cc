// SPDX-License-Identifier: GPL-2.0-or-later
// A platform with one fault, chosen when it is compiled; or one that lacks the function of which
// YAT_GAP has the number, or has the version YAT_VERSION and the size YAT_SIZE.
#include "yat/platform.h"

#include <cstdlib>

namespace {

int tree(yat_device **root)
{
    *root = nullptr;
    return 0;
}
int property(int, int, int, char *, unsigned long *)
{
    return -1;
}
int isFt(int)
{
    return 2;
}
int status(int, int, int, char *text)
{
    *text = '\0';
    return -1;
}
int support(yat_device *device, int, int *)
{
    return device->NextDevNum;
}
int plain(yat_device *, int)
{
    return 0;
}
int convert(char *, int *)
{
    return -1;
}
int withText(yat_device *, int, const char *)
{
    return 0;
}
int setting(int, int, int, int *value)
{
    *value = 0;
    return 0;
}

[[maybe_unused]] int facts(yat_device *, yat_facts *told)
{
    told->failures = 7;
    return 1;
}
[[maybe_unused]] int reason(yat_device *, int code, int detail, char *text)
{
    text[0] = static_cast<char>(code);
    text[1] = static_cast<char>(detail);
    text[2] = 0;
    return 1;
}

int open()
{
#ifdef PLATFORM_REFUSING
    return 0;
#else
    return 1;
#endif
}
int close()
{
    return 1;
}

uint32_t wanted(const char *variable, size_t otherwise)
{
    const char *value = getenv(variable);
    return static_cast<uint32_t>(value ? atoi(value) : static_cast<int>(otherwise));
}

bool isGap()
{
    static uint32_t number; // counts the functions of the table, in order
    return ++number == wanted("YAT_GAP", 0);
}
template <class Function> Function *unlessGap(Function *function)
{
    return isGap() ? nullptr : function;
}

} // namespace

// A foreign object has its table under a name that nobody looks for.
#ifdef PLATFORM_FOREIGN
#define YatPlatform SomethingElse
extern "C" YAT_API const yat_platform SomethingElse;
#endif
const yat_platform YatPlatform = {
#ifdef PLATFORM_MAGIC
    .magic = 1,
#else
    .magic = YAT_PLATFORM_MAGIC,
#endif
    .version = wanted("YAT_VERSION", YAT_PLATFORM_VERSION),
    .size = wanted("YAT_SIZE", sizeof(yat_platform)),
    .open = unlessGap(open),
    .close = unlessGap(close),
    .functions =
        {
            .handle = nullptr,
            .create_tree = unlessGap(tree),
            .free_tree = unlessGap(tree),
            .yat_ft_get_property = unlessGap(property),
            .is_ft = unlessGap(isFt),
            .status_change = unlessGap(status),
            .if_support = unlessGap(support),
            .clear_mtbf = unlessGap(plain),
            .bring_up = unlessGap(plain),
            .Linux_ConvertDataToInt = unlessGap(convert),
            .bring_down = unlessGap(plain),
            .set_mtbf_type = unlessGap(withText),
            .burn_firmware = unlessGap(withText),
            .get_setting = unlessGap(setting),
            .put_setting = unlessGap(setting),
        },
#ifdef PLATFORM_TELLING
    .get_facts = facts,
    .get_reason = reason,
#elif defined PLATFORM_OLD // what follows its table is none of it
    .get_facts = reinterpret_cast<decltype(yat_platform::get_facts)>(1),
    .get_reason = reinterpret_cast<decltype(yat_platform::get_reason)>(1),
#else
    .get_facts = nullptr,
    .get_reason = nullptr,
#endif
};
