/* SPDX-License-Identifier: GPL-2.0-or-later */
/* device.h - the device record, the one record that crosses the whole product.
 *
 * The platform builds a tree of these records (CreateTreeViewData, yat/ft.h), owns
 * them and frees them (FreeTreeViewData); the programs only read them. The layout is
 * shared with the platform and is proved below.
 */
#ifndef YAT_DEVICE_H
#define YAT_DEVICE_H

#include "yat/export.h"
#include <assert.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Device class codes. */
#define YAT_CLASS_NONE 0 /* no device class, like 17 */
#define YAT_CLASS_UNKNOWN 1
#define YAT_CLASS_CPU_MODULE 2
#define YAT_CLASS_PCI_MODULE 3
#define YAT_CLASS_SCSI_ADAPTER 8
#define YAT_CLASS_ETHERNET_ADAPTER 13
#define YAT_CLASS_RESERVED 17
#define YAT_CLASS_GENERAL 20003

/* Which device a record stands for. */
struct yat_identity {
    int32_t Instance;        /* number within its class, from 1; 0 for an unknown device */
    int32_t ClassCode;       /* YAT_CLASS_... */
    uint8_t DevicePathID[8]; /* path identifier, one byte a level, the first level first */
};

struct yat_device {
    int32_t NextDevNum;           /* number of children */
    struct yat_device **children; /* NextDevNum records in the order of their display */
    struct yat_device *parent;    /* null for a top-level device */
    uint8_t reserved[16];
    int32_t Hierarchy;             /* 1 for a top-level device, 2 and 3 below it */
    char *lpszTreeName;            /* display name, at most 127 bytes; may be null */
    struct yat_identity *identity; /* may be null */
};

/* The class naming tables, defined by the program for the product's libraries: a text
 * key for each class code, paired by position. */
#define YAT_CLASS_NAMES 6
YAT_API extern int g_pClassNameList[YAT_CLASS_NAMES];
YAT_API extern char TreeViewNametbl[YAT_CLASS_NAMES][128];

static_assert(offsetof(struct yat_device, NextDevNum) == 0, "device record layout");
static_assert(offsetof(struct yat_device, children) == 8, "device record layout");
static_assert(offsetof(struct yat_device, parent) == 16, "device record layout");
static_assert(offsetof(struct yat_device, reserved) == 24, "device record layout");
static_assert(offsetof(struct yat_device, Hierarchy) == 40, "device record layout");
static_assert(offsetof(struct yat_device, lpszTreeName) == 48, "device record layout");
static_assert(offsetof(struct yat_device, identity) == 56, "device record layout");
static_assert(sizeof(struct yat_device) == 64, "device record layout");
static_assert(offsetof(struct yat_identity, Instance) == 0, "identity record layout");
static_assert(offsetof(struct yat_identity, ClassCode) == 4, "identity record layout");
static_assert(offsetof(struct yat_identity, DevicePathID) == 8, "identity record layout");
static_assert(sizeof(struct yat_identity) == 16, "identity record layout");

#ifdef __cplusplus
}
#endif
#endif
