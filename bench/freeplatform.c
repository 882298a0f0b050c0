/* SPDX-License-Identifier: GPL-2.0-or-later */
/* A platform that costs nothing: its machine is made of CPU modules that need no reading. It has
 * as many as BENCH_DEVICES says. */
#include "yat/platform.h"

#include <stdio.h>
#include <stdlib.h>

enum { usual = 10, most = 100000 };

static struct yat_device root, devices[most];
static struct yat_device *children[most];
static struct yat_identity identities[most];
static char names[most][24];

static int openMachine(void)
{
    const char *wanted = getenv("BENCH_DEVICES");
    const int number = wanted ? atoi(wanted) : usual;
    if (number < 0 || number > most)
        return 0;
    root.children = children;
    root.NextDevNum = number;
    for (int i = 0; i < number; ++i) {
        snprintf(names[i], sizeof names[i], "CPU module %d", i + 1);
        identities[i].Instance = i + 1;
        identities[i].ClassCode = YAT_CLASS_CPU_MODULE;
        devices[i].parent = &root;
        devices[i].Hierarchy = 1;
        devices[i].lpszTreeName = names[i];
        devices[i].identity = &identities[i];
        children[i] = &devices[i];
    }
    return 1;
}

static int closeMachine(void)
{
    return 1;
}

static int createTree(struct yat_device **tree)
{
    *tree = &root;
    return 1;
}

static int freeTree(struct yat_device **tree)
{
    *tree = NULL;
    return 1;
}

static int getProperty(int kind, int number, int property, char *buffer, unsigned long *size)
{
    (void)kind, (void)number, (void)property, (void)buffer, (void)size;
    return -1;
}

static int machineType(int reserved)
{
    (void)reserved;
    return YAT_MACHINE_ALDER;
}

static int statusChange(int kind, int number, int code, char *text)
{
    (void)kind, (void)number, (void)code, (void)text;
    return -1;
}

static int ifSupport(struct yat_device *device, int code, int *detail)
{
    (void)device, (void)code, (void)detail;
    return 0;
}

static int operate(struct yat_device *device, int code)
{
    (void)device, (void)code;
    return 0;
}

static int operateWith(struct yat_device *device, int code, const char *text)
{
    (void)device, (void)code, (void)text;
    return 0;
}

static int convert(char *text, int *value)
{
    (void)text, (void)value;
    return -1;
}

static int setting(int kind, int object, int index, int *value)
{
    (void)kind, (void)object, (void)index, (void)value;
    return 0;
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
                  .status_change = statusChange,
                  .if_support = ifSupport,
                  .clear_mtbf = operate,
                  .bring_up = operate,
                  .Linux_ConvertDataToInt = convert,
                  .bring_down = operate,
                  .set_mtbf_type = operateWith,
                  .burn_firmware = operateWith,
                  .get_setting = setting,
                  .put_setting = setting},
};
