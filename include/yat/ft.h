/* SPDX-License-Identifier: GPL-2.0-or-later */
/* ft.h - the fault-tolerant platform: device data, properties, state, operations.
 *
 * All calls are made from one thread, one at a time, and may take as long as the
 * hardware needs. Each has its own result convention, stated with it. Except for
 * ft_FunctionInit, a call made while the interface is not open fails.
 */
#ifndef YAT_FT_H
#define YAT_FT_H

#include "yat/device.h"
#include "yat/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Object kinds: what the object number of a property or state read counts. */
#define YAT_KIND_BOARD 1
#define YAT_KIND_CPU_MODULE 2
#define YAT_KIND_PCI_MODULE 3

/* Property identifiers. */
#define YAT_PROPERTY_MTBF_TYPE 8           /* of a board: "2", "3" or "4" */
#define YAT_PROPERTY_BIOS_VERSION 27       /* of a CPU module: text */
#define YAT_PROPERTY_BIOS_STATUS 28        /* of a CPU module: text */
#define YAT_PROPERTY_RELATIONAL_INDEX 9002 /* of a PCI module: number of its board */

/* State codes. */
#define YAT_STATE_CPU_MODULE 9001
#define YAT_STATE_PCI_MODULE 9002

/* Machine types. */
#define YAT_MACHINE_QUERY_FAILED (-1)
#define YAT_MACHINE_PLAIN 0 /* not an FT server */
#define YAT_MACHINE_ALDER 1
#define YAT_MACHINE_BIRCH 2
#define YAT_MACHINE_CEDAR 3

/* Settings of the whole machine. */
#define YAT_SETTING_AUTO_BURN 2     /* automatic firmware update */
#define YAT_SETTING_AUTO_BRING_UP 3 /* automatic module start */
#define YAT_SETTING_READ_ON 2       /* as it is read; written: 1 on, 0 off */

/* What a module does after a failure. It is read so much above what is written: "0" to "2". */
#define YAT_MTBF_TYPE_READ_ABOVE 2

/* Where BurnFirmware takes the BIOS from. */
#define YAT_BURN_COPY "FWCOPY" /* the running module */
#define YAT_BURN_FILE "FWBURN" /* the data file */

/* Why IfSupport says no. Another platform may have further reasons; see GetSupportReason of
 * yat/facts.h. */
#define YAT_DETAIL_UNSUPPORTED 1   /* the machine type does not have it for such a device */
#define YAT_DETAIL_NO_DEVICE 2     /* the machine has no such device */
#define YAT_DETAIL_NOT_INSTALLED 3 /* the module is not plugged in */
#define YAT_DETAIL_STATE 4         /* not in the state that the device has now */
#define YAT_DETAIL_LAST_RUNNING 5  /* the last module of its pair that runs keeps running */
#define YAT_DETAIL_NO_BIOS 6       /* there is no BIOS to take, or no valid one to start with */
#define YAT_DETAIL_NOT_ALLOWED 7   /* the configuration allows no operations */
#define YAT_DETAIL_NO_RIGHTS 8     /* this user lacks the right to it */
#define YAT_DETAIL_IN_USE 9        /* something on the machine uses what it would take away */

/* The platform's functions, 8-byte slots. Filled by ft_FunctionInit, all null while
 * the interface is not open. The programs use slots 0, 3 and 9, and test each for
 * null before they use it; the calls declared below go through the others. */
struct yat_ft_functions {
    /* 0: handle of the loaded platform library */
    void *handle;
    /* 1, 2: see CreateTreeViewData and FreeTreeViewData */
    int (*create_tree)(struct yat_device **root);
    int (*free_tree)(struct yat_device **root);
    /* 3: reads a property.
     *   kind, number  the object: YAT_KIND_... and its number, from 1
     *   property      YAT_PROPERTY_...
     *   buffer, size  takes the value as zero-terminated text; *size is the capacity in
     *                 bytes on entry and, on success, the bytes used, the terminator
     *                 included
     * Returns 0, or another value (unknown object or property, value too long for the
     * buffer); then buffer and *size are untouched. */
    int (*yat_ft_get_property)(int kind, int number, int property, char *buffer,
                               unsigned long *size);
    /* 4 to 8: see call_yat_is_ft, StatusChange, IfSupport, ClearMTBF, InitBringUp */
    int (*is_ft)(int reserved);
    int (*status_change)(int kind, int number, int code, char *text);
    int (*if_support)(struct yat_device *device, int code, int *detail);
    int (*clear_mtbf)(struct yat_device *device, int code);
    int (*bring_up)(struct yat_device *device, int code);
    /* 9: converts a text filled by yat_ft_get_property to an integer: an optional sign
     * and decimal digits, blanks around them. Returns -1, with *value untouched, for any
     * other text, a number that an int does not hold, or a null pointer; else 0. */
    int (*Linux_ConvertDataToInt)(char *text, int *value);
    /* 10 to 14: see InitBringDown, SetMtbfType, BurnFirmware, GetBBDriverSettings and
     * PutBBDriverSettings */
    int (*bring_down)(struct yat_device *device, int code);
    int (*set_mtbf_type)(struct yat_device *device, int code, const char *type);
    int (*burn_firmware)(struct yat_device *device, int code, const char *mode);
    int (*get_setting)(int kind, int object, int index, int *value);
    int (*put_setting)(int kind, int object, int index, int *value);
};
YAT_API extern struct yat_ft_functions yat_ft_func;

static_assert(offsetof(struct yat_ft_functions, handle) == 0, "function table layout");
static_assert(offsetof(struct yat_ft_functions, yat_ft_get_property) == 24,
              "function table layout");
static_assert(offsetof(struct yat_ft_functions, Linux_ConvertDataToInt) == 72,
              "function table layout");

/* Opens the interface: loads the platform of the configured machine (yatkit.toml(5) and
 * yat/platform.h), <root>/lib/yatcore.dll by default, and fills yat_ft_func. Returns what the
 * platform says, 1 as a rule and never 0; 1 when the interface is open already; 0 when there is no
 * such object, when it is not a platform, when its table has gaps, or when it refuses: then
 * yat_ft_func is empty and the reason is in the trace log, and printed on standard error at the end
 * of the program. */
YAT_API int ft_FunctionInit(void);

/* Closes the interface: empties yat_ft_func and unloads the platform. Returns what the
 * platform says, 1 for success; 0 when the interface is not open, or when the platform
 * can't be unloaded. It is closed in any case. Records from CreateTreeViewData must have
 * been freed before. */
YAT_API int ft_FunctionRelease(void);

/* Reads the machine's devices.
 *
 * root  out: the root of a tree of records. Its children are the top-level devices:
 *       all CPU modules first, then all PCI modules, each class in instance order.
 *
 * Returns 1, or 0 with *root untouched. The records belong to the platform; they stay
 * valid and in place until FreeTreeViewData. */
YAT_API int CreateTreeViewData(struct yat_device **root);

/* Frees what CreateTreeViewData made and sets *root to null. Returns 1, or 0 when *root
 * is null or not a tree of this platform's; then nothing is freed. */
YAT_API int FreeTreeViewData(struct yat_device **root);

/* The machine type, YAT_MACHINE_...; the argument is 0. */
YAT_API int call_yat_is_ft(int reserved);

/* Reads the state of a module.
 *
 * kind, number  YAT_KIND_CPU_MODULE with code YAT_STATE_CPU_MODULE or
 *               YAT_KIND_PCI_MODULE with code YAT_STATE_PCI_MODULE; the number from 1
 * text          takes the state as text for the user, zero-terminated, at most 1024
 *               bytes with the terminator, in the encoding of the locale
 *
 * Returns -1, with text untouched, when there is no such module or its state cannot be
 * read; anything else is success. */
YAT_API int StatusChange(int kind, int number, int code, char *text);

/* The operations. Each has a support code that IfSupport is asked with before, and an
 * operation code, which is the support code plus one.
 *
 * The record is one from CreateTreeViewData. A code that does not belong to the
 * operation and the record's class is refused, and so is a null pointer. A refused or
 * failed operation changes nothing. */

/* Support codes: of a class of devices, for a call below. */
#define YAT_SUPPORT_CPU_CLEAR_MTBF 1
#define YAT_SUPPORT_CPU_BRING_UP 5
#define YAT_SUPPORT_CPU_BRING_DOWN 7
#define YAT_SUPPORT_CPU_BURN_FIRMWARE 9
#define YAT_SUPPORT_CPU_SET_MTBF_TYPE 13
#define YAT_SUPPORT_PCI_CLEAR_MTBF 15
#define YAT_SUPPORT_PCI_BRING_UP 19
#define YAT_SUPPORT_PCI_BRING_DOWN 21
#define YAT_SUPPORT_PCI_SET_MTBF_TYPE 23
#define YAT_SUPPORT_SCSI_CLEAR_MTBF 25
#define YAT_SUPPORT_ETHERNET_CLEAR_MTBF 31

/* Returns non-zero when the machine supports the operation on this device now, else 0.
 *
 * detail  out, may be null: YAT_DETAIL_... in the latter case, 0 otherwise; untouched when
 *         the machine can't be asked. */
YAT_API int IfSupport(struct yat_device *device, int code, int *detail);

/* Clears the device's MTBF count. Returns 1 for success. */
YAT_API int ClearMTBF(struct yat_device *device, int code);

/* Starts a module. Returns 1 for success. */
YAT_API int InitBringUp(struct yat_device *device, int code);

/* Stops a module. Returns 1 for success. */
YAT_API int InitBringDown(struct yat_device *device, int code);

/* Sets a module's MTBF type.
 *
 * type  "0", "1" or "2"; read back (YAT_PROPERTY_MTBF_TYPE) YAT_MTBF_TYPE_READ_ABOVE above
 *
 * Returns 1 for success. */
YAT_API int SetMtbfType(struct yat_device *device, int code, const char *type);

/* Updates a CPU module's BIOS.
 *
 * mode  YAT_BURN_...
 *
 * Returns 1 for success. */
YAT_API int BurnFirmware(struct yat_device *device, int code, const char *mode);

/* Reads and writes a setting of the whole machine.
 *
 * kind           YAT_SETTING_...
 * object, index  YAT_CLASS_GENERAL and 1
 * value          read: YAT_SETTING_READ_ON, any other value for off; written: 1 on, 0 off
 *
 * Return non-zero for success; 0 with nothing changed. */
YAT_API int GetBBDriverSettings(int kind, int object, int index, int *value);
YAT_API int PutBBDriverSettings(int kind, int object, int index, int *value);

#ifdef __cplusplus
}
#endif
#endif
