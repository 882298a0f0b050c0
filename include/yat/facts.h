/* SPDX-License-Identifier: GPL-2.0-or-later */
/* facts.h - what a platform may tell of a device besides texts for the user.
 *
 * Optional: a platform need not have these calls, and may know some facts only. Who asks
 * says what it was not told, and makes nothing up. A libyat.so of another maker may lack
 * the two functions altogether; a program that is to run with it as well declares them
 * weak and tests them for null.
 */
#ifndef YAT_FACTS_H
#define YAT_FACTS_H

#include "yat/device.h"
#include "yat/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* What a device is doing. Another platform may have further states. */
#define YAT_DEVICE_NOT_INSTALLED 1
#define YAT_DEVICE_STOPPED 2
#define YAT_DEVICE_RUNNING 3
#define YAT_DEVICE_BROKEN 4
#define YAT_DEVICE_STARTING 5
#define YAT_DEVICE_SYNCHRONISING 6 /* started, taking over from the module that runs */
#define YAT_DEVICE_STOPPING 7
#define YAT_DEVICE_UPDATING 8 /* its BIOS */

/* What the BIOS of a CPU module is good for. */
#define YAT_BIOS_VALID 1
#define YAT_BIOS_UPDATING 2
#define YAT_BIOS_INVALID 3

/* Which facts are known: bits of known. */
#define YAT_KNOWS_STATE 0x01u
#define YAT_KNOWS_PROGRESS 0x02u
#define YAT_KNOWS_DUPLEX 0x04u
#define YAT_KNOWS_PARTNER 0x08u
#define YAT_KNOWS_FAILURES 0x10u
#define YAT_KNOWS_MTBF 0x20u
#define YAT_KNOWS_MTBF_THRESHOLD 0x40u
#define YAT_KNOWS_MTBF_TYPE 0x80u
#define YAT_KNOWS_BIOS 0x100u

/* The facts about a device. One that is not known is 0. */
struct yat_facts {
    uint32_t size;          /* in: sizeof(struct yat_facts) as the caller has it */
    uint32_t known;         /* YAT_KNOWS_... */
    int32_t state;          /* YAT_DEVICE_... */
    int32_t progress;       /* of a state that ends by itself: 0 to 99 per cent */
    int32_t duplex;         /* 1 when it runs together with the other one of its pair, else 0 */
    int32_t partner;        /* of a module: Instance of the other one of its pair, 0 for none */
    int64_t failures;       /* since they were cleared */
    int64_t mtbf;           /* mean time between these failures, in seconds */
    int64_t mtbf_threshold; /* below it a device that fails stays down, in seconds */
    int32_t mtbf_type;      /* of a module: 0, 1 or 2, as SetMtbfType takes it */
    int32_t bios;           /* of a CPU module: YAT_BIOS_... */
};

static_assert(offsetof(struct yat_facts, failures) == 24, "facts layout");
static_assert(sizeof(struct yat_facts) == 56, "facts layout");

/* Tells the facts about a device, all of one moment.
 *
 * device  a record from CreateTreeViewData
 * facts   in: its size; out: the facts. The structure grows at its end: a platform writes
 *         no more bytes than the size says, and leaves the size as it is.
 *
 * Returns 1; 0, with the facts untouched but for the size that was in them, when they are
 * not told: the platform lacks the call, has no such device or can't ask it, an argument is
 * null, or the size is less than that of the structure above. */
YAT_API int GetDeviceFacts(struct yat_device *device, struct yat_facts *facts);

/* Tells why IfSupport said no, in a sentence without a full stop at its end.
 *
 * device, code, detail  what IfSupport was given, and the detail that it gave
 * text                  takes the sentence, zero-terminated, at most 1024 bytes with the
 *                       terminator, in the language and the encoding of the locale
 *
 * Returns 1; 0, with text untouched, when it is not told, as with GetDeviceFacts, or when
 * the platform has no words for the detail. */
YAT_API int GetSupportReason(struct yat_device *device, int code, int detail, char *text);

#ifdef __cplusplus
}
#endif
#endif
