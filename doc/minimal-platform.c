/* SPDX-License-Identifier: GPL-2.0-or-later */
/* minimal-platform.c - the smallest platform that mrvutil works with: a server of one CPU module,
 * whose MTBF count can be cleared. See yat-platform(7). To build it and to try it:
 *
 *     cc -std=c11 -shared -fPIC -I INCLUDE -o minimal.so minimal-platform.c
 *     sudo install -D minimal.so /opt/maker/minimal.so
 *     sudo YAT_MACHINE=/opt/maker/minimal.so mrvutil
 */
#include <yat/facts.h>
#include <yat/platform.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int clears; /* how often the MTBF count was cleared */

/* ---- The devices */

static struct yat_identity identity = {.Instance = 1, .ClassCode = YAT_CLASS_CPU_MODULE};
static char name[] = "CPU module 1";
static struct yat_device module = {.Hierarchy = 1, .lpszTreeName = name, .identity = &identity};
static struct yat_device *modules[] = {&module};
static struct yat_device top = {.NextDevNum = 1, .children = modules};

static int createTree(struct yat_device **root)
{
    module.parent = NULL;
    *root = &top;
    return 1;
}

static int freeTree(struct yat_device **root)
{
    if (*root != &top)
        return 0;
    *root = NULL;
    return 1;
}

/* ---- What is read of them */

static int machineType(int reserved)
{
    (void)reserved;
    return YAT_MACHINE_ALDER;
}

static int put(const char *text, char *buffer, unsigned long *size)
{
    const unsigned long length = strlen(text) + 1;
    if (length > *size)
        return -1;
    memcpy(buffer, text, length);
    *size = length;
    return 0;
}

static int getProperty(int kind, int number, int property, char *buffer, unsigned long *size)
{
    if (number != 1 || !buffer || !size)
        return -1;
    if (kind == YAT_KIND_BOARD && property == YAT_PROPERTY_MTBF_TYPE)
        return put("2", buffer, size); /* stays down when it fails */
    if (kind == YAT_KIND_CPU_MODULE && property == YAT_PROPERTY_BIOS_VERSION)
        return put("1.0", buffer, size);
    if (kind == YAT_KIND_CPU_MODULE && property == YAT_PROPERTY_BIOS_STATUS)
        return put("Valid", buffer, size);
    return -1;
}

static int convert(char *text, int *value)
{
    char *end;
    const long number = strtol(text, &end, 10);
    if (end == text || *end != '\0')
        return -1;
    *value = (int)number;
    return 0;
}

static int state(int kind, int number, int code, char *text)
{
    if (kind != YAT_KIND_CPU_MODULE || code != YAT_STATE_CPU_MODULE || number != 1)
        return -1;
    strcpy(text, clears == 0 ? "Duplex" : "Duplex, cleared");
    return 0;
}

/* ---- What is done to them */

static int support(struct yat_device *device, int code, int *detail)
{
    const int does = device == &module && code == 1; /* clear the MTBF count of a CPU module */
    if (detail)
        *detail = does ? 0 : YAT_DETAIL_UNSUPPORTED;
    return does;
}

static int clearMtbf(struct yat_device *device, int code)
{
    if (device != &module || code != 2)
        return 0;
    ++clears;
    return 1;
}

static int refuse(struct yat_device *device, int code)
{
    (void)device, (void)code;
    return 0;
}

static int refuseWith(struct yat_device *device, int code, const char *text)
{
    (void)device, (void)code, (void)text;
    return 0;
}

static int noSetting(int kind, int object, int index, int *value)
{
    (void)kind, (void)object, (void)index, (void)value;
    return 0;
}

/* ---- What a platform may leave out */

static int getFacts(struct yat_device *device, struct yat_facts *facts)
{
    if (device != &module)
        return 0;
    const struct yat_facts told = {.size = facts->size,
                                   .known = YAT_KNOWS_STATE | YAT_KNOWS_FAILURES,
                                   .state = YAT_DEVICE_RUNNING,
                                   .failures = clears == 0 ? 1 : 0};
    memcpy(facts, &told, sizeof told); /* those of later versions of it stay as they were */
    return 1;
}

static int getReason(struct yat_device *device, int code, int detail, char *text)
{
    (void)device, (void)code;
    if (detail != YAT_DETAIL_UNSUPPORTED)
        return 0;
    snprintf(text, 1024, "the only CPU module is not stopped");
    return 1;
}

/* ---- The platform */

static int openMachine(void)
{
    return 1;
}

static int closeMachine(void)
{
    return 1;
}

YAT_API const struct yat_platform YatPlatform = {
    .magic = YAT_PLATFORM_MAGIC,
    .version = YAT_PLATFORM_VERSION,
    .size = sizeof(struct yat_platform),
    .open = openMachine,
    .close = closeMachine,
    .functions = {.create_tree = createTree,
                  .free_tree = freeTree,
                  .yat_ft_get_property = getProperty,
                  .is_ft = machineType,
                  .status_change = state,
                  .if_support = support,
                  .clear_mtbf = clearMtbf,
                  .bring_up = refuse,
                  .Linux_ConvertDataToInt = convert,
                  .bring_down = refuse,
                  .set_mtbf_type = refuseWith,
                  .burn_firmware = refuseWith,
                  .get_setting = noSetting,
                  .put_setting = noSetting},
    .get_facts = getFacts,
    .get_reason = getReason,
};
