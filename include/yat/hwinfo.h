/* SPDX-License-Identifier: GPL-2.0-or-later */
/* hwinfo.h - the hardware information plug-in: <root>/lib/yathwinfo.dll.
 *
 * A shared object that a program loads when it needs it, asks, and unloads again.
 */
#ifndef YAT_HWINFO_H
#define YAT_HWINFO_H

#include "yat/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Asks the machine's baseboard management controller who it is: the one of a simulated
 * machine, as its description says; for any other machine, a maker's as well, the one
 * behind the kernel's /dev/ipmi0. That needs the kernel modules ipmi_msghandler,
 * ipmi_devintf and ipmi_si, and the right to read and write the device.
 *
 * response  out: 16 bytes, the answer to the IPMI command Get Device ID (IPMI 2.0,
 *           20.1): byte 0 the completion code, 1 the device id, 2 the device revision, 3
 *           and 4 the firmware revision (bits 6 to 0 of byte 3 the major one, byte 4 the
 *           minor one in BCD), then the rest; what a short answer lacks is zero, what a
 *           long one has over 16 bytes is dropped.
 *
 * Returns 1, or 0, with the response untouched, when it is null or the controller cannot
 * be reached, does not answer within 5 seconds, answers fewer than 5 bytes, or answers
 * with a completion code other than 0. The reason is in the trace log, at level 1, source
 * "yathwinfo"; a missing device, missing rights and a silent controller read differently.
 * A simulated machine that is told what the call returns makes it return that; where it
 * has no answer to give then, the response is zeros. Nothing stays loaded on account of a
 * call.
 */
YAT_API int YATGetDeviceID(unsigned char response[16]);

#ifdef __cplusplus
}
#endif
#endif
