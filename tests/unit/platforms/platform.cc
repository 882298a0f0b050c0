// SPDX-License-Identifier: GPL-2.0-or-later
// A platform with one fault, chosen when it is compiled.
#include "yat/platform.h"

namespace {

int zero(yat_device **)
{
    return 0;
}
[[maybe_unused]] int property(int, int, int, char *, unsigned long *)
{
    return -1;
}
int isFt(int)
{
    return 2;
}
int status(int, int, int, char *)
{
    return -1;
}
int support(yat_device *, int, int *)
{
    return 0;
}
int plain(yat_device *, int)
{
    return 0;
}
[[maybe_unused]] int convert(char *, int *)
{
    return -1;
}
int withText(yat_device *, int, const char *)
{
    return 0;
}
int setting(int, int, int, int *)
{
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

[[maybe_unused]] int open()
{
#ifdef PLATFORM_REFUSING
    return 0;
#else
    return 1;
#endif
}
[[maybe_unused]] int close()
{
    return 1;
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
#ifdef PLATFORM_VERSION
    .version = YAT_PLATFORM_VERSION + 1,
#elif defined PLATFORM_OLD
    .version = 2,
#else
    .version = YAT_PLATFORM_VERSION,
#endif
#ifdef PLATFORM_SIZE
    .size = sizeof(yat_platform) - 8,
#elif defined PLATFORM_OLD
    .size = offsetof(yat_platform, get_facts),
#else
    .size = sizeof(yat_platform),
#endif
#ifdef PLATFORM_NO_OPEN
    .open = nullptr,
#else
    .open = open,
#endif
#ifdef PLATFORM_NO_CLOSE
    .close = nullptr,
#else
    .close = close,
#endif
    .functions =
        {
            .handle = nullptr,
            .create_tree = zero,
            .free_tree = zero,
#ifdef PLATFORM_NO_PROPERTY
            .yat_ft_get_property = nullptr,
#else
            .yat_ft_get_property = property,
#endif
            .is_ft = isFt,
            .status_change = status,
            .if_support = support,
            .clear_mtbf = plain,
            .bring_up = plain,
#ifdef PLATFORM_NO_CONVERT
            .Linux_ConvertDataToInt = nullptr,
#else
            .Linux_ConvertDataToInt = convert,
#endif
            .bring_down = plain,
#ifdef PLATFORM_GAP
            .set_mtbf_type = nullptr,
#else
            .set_mtbf_type = withText,
#endif
            .burn_firmware = withText,
            .get_setting = setting,
            .put_setting = setting,
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
