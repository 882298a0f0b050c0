// SPDX-License-Identifier: GPL-2.0-or-later
// A platform that tells no facts and has what may come from foreign hardware: names that command
// terminals, that others have as well, or that are missing; records of no device, and of an unknown
// class and without a number. The last of the trees that YAT_TREES counts has the first device
// only, and where the next would be, there is something else. With SLOW it tells facts and does
// what it is asked, but at its own pace: what a module is doing at the next look is the next letter
// of YAT_COURSE, see factsAt.
#include "yat/platform.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

char hostile[] = "\x1b[31mred\xe2\x80\xae"
                 "back\x07\xc2\x9b"
                 "2J";
char twin[] = "Twin";
char likeAnother[] = "cpu1";

yat_identity identities[] = {
    {1, YAT_CLASS_CPU_MODULE, {0}},
    {2, YAT_CLASS_CPU_MODULE, {1}},
    {1, YAT_CLASS_PCI_MODULE, {9}},
    {2, YAT_CLASS_PCI_MODULE, {10}},
    {7, 99, {10, 255}},
    {0, YAT_CLASS_UNKNOWN, {10, 1}},
    {0, YAT_CLASS_UNKNOWN, {10, 2}},
    {0, YAT_CLASS_UNKNOWN, {10, 2}},
};

yat_device unknown[] = {
    {0, nullptr, nullptr, {}, 2, nullptr, &identities[4]},
    {0, nullptr, nullptr, {}, 2, nullptr, &identities[5]},
    {0, nullptr, nullptr, {}, 2, nullptr, &identities[6]},
    {0, nullptr, nullptr, {}, 2, nullptr, &identities[7]},
};
yat_device *below[] = {&unknown[0], nullptr, &unknown[1], &unknown[2], &unknown[3]};
yat_device devices[] = {
    {0, nullptr, nullptr, {}, 1, hostile, &identities[0]},
    {0, nullptr, nullptr, {}, 1, likeAnother, &identities[1]},
    {0, nullptr, nullptr, {}, 1, twin, &identities[2]},
    {5, below, nullptr, {}, 1, twin, &identities[3]},
    {0, nullptr, nullptr, {}, 1, twin, nullptr},
};
yat_device *top[] = {&devices[0], &devices[1], &devices[2], &devices[3], &devices[4]};
yat_device root = {5, top, nullptr, {}, 0, nullptr, nullptr};

int one()
{
    return 1;
}
int createTree(yat_device **tree)
{
    if (getenv("YAT_ENDLESS"))
        below[1] = &devices[3];
    static int made;
    if (const char *trees = getenv("YAT_TREES"); trees && ++made >= atoi(trees)) {
        root.NextDevNum = 1;
        *tree = &devices[0];
        if (made > atoi(trees))
            return 0;
    }
    *tree = &root;
    return 1;
}
int freeTree(yat_device **tree)
{
    if (*tree != &root)
        abort();
    *tree = nullptr;
    return 1;
}
int property(int, int, int, char *, unsigned long *)
{
    return -1;
}
int type(int reserved)
{
    return reserved == 0 ? 42 : YAT_MACHINE_QUERY_FAILED;
}
int state(int, int, int, char *text)
{
    strcpy(text, "on\x1b]0;fire\x07");
    return 0;
}
#ifdef SLOW
constexpr int does = 1;

int factsAt(yat_device *, yat_facts *facts)
{
    static size_t looks;
    const char *course = getenv("YAT_COURSE");
    const char letter = course[std::min(looks++, strlen(course) - 1)];
    facts->known = YAT_KNOWS_STATE | YAT_KNOWS_BIOS;
    facts->state = letter == 's' || letter == 'i' ? YAT_DEVICE_STOPPED
                   : letter == 'r'                ? YAT_DEVICE_RUNNING
                   : letter == 'b'                ? YAT_DEVICE_BROKEN
                   : letter == 't'                ? YAT_DEVICE_STARTING
                   : letter == 'u'                ? YAT_DEVICE_UPDATING
                                                  : 42;
    facts->bios = letter == 'i' ? YAT_BIOS_INVALID : YAT_BIOS_VALID;
    return 1;
}
#else
constexpr int does = 0;

constexpr int (*factsAt)(yat_device *, yat_facts *) = nullptr;
#endif

int support(yat_device *, int, int *detail)
{
    *detail = does ? 0 : 99;
    return does;
}
int operate(yat_device *, int)
{
    return does;
}
int operateWith(yat_device *, int, const char *)
{
    return does;
}
int convert(char *, int *)
{
    return -1;
}
int setting(int, int, int, int *)
{
    return 0;
}

} // namespace

const yat_platform YatPlatform = {
    .magic = YAT_PLATFORM_MAGIC,
    .version = YAT_PLATFORM_VERSION,
    .size = sizeof(yat_platform),
    .open = one,
    .close = one,
    .functions = {.handle = nullptr,
                  .create_tree = createTree,
                  .free_tree = freeTree,
                  .yat_ft_get_property = property,
                  .is_ft = type,
                  .status_change = state,
                  .if_support = support,
                  .clear_mtbf = operate,
                  .bring_up = operate,
                  .Linux_ConvertDataToInt = convert,
                  .bring_down = operate,
                  .set_mtbf_type = operateWith,
                  .burn_firmware = operateWith,
                  .get_setting = setting,
                  .put_setting = setting},
    .get_facts = factsAt,
    .get_reason = nullptr,
};
