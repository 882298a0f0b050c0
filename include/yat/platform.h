/* SPDX-License-Identifier: GPL-2.0-or-later */
/* platform.h - what a platform library is.
 *
 * A platform is a shared object, whatever its name ends in, with one data symbol of
 * this name and type: <root>/lib/yatcore.dll for simulated machines, <root>/lib/yathost.dll
 * for the host, or another one whose absolute path is the machine in yatkit.toml(5).
 */
#ifndef YAT_PLATFORM_H
#define YAT_PLATFORM_H

#include "yat/facts.h"
#include "yat/ft.h"

#ifdef __cplusplus
extern "C" {
#endif

#define YAT_PLATFORM_MAGIC 0x50544159u /* "YATP" in memory */
#define YAT_PLATFORM_VERSION 3u
#define YAT_PLATFORM_SYMBOL "YatPlatform"

struct yat_platform {
    uint32_t magic;   /* YAT_PLATFORM_MAGIC */
    uint32_t version; /* YAT_PLATFORM_VERSION */
    uint64_t size;    /* sizeof(struct yat_platform) */
    /* Called once after loading; 0 refuses to open, having undone whatever it did and traced
     * the reason at level 1, which the user is told; any other value is what ft_FunctionInit
     * returns. Called with the interface closed, so it must not use the calls of yat/ft.h. */
    int (*open)(void);
    /* Called once before unloading, which happens whatever it returns; ft_FunctionRelease
     * returns the same. */
    int (*close)(void);
    /* The functions, with the conventions of yat/ft.h; the handle is null. None may be
     * missing. The operations, PutBBDriverSettings among them, get null pointers as their
     * callers gave them, to refuse them and write them down; the others get none but for
     * detail. */
    struct yat_ft_functions functions;
    /* Since version 3. The calls of yat/facts.h, which get no null pointers and no size that is
     * too small. Each may be missing, and a platform of version 2, which ends here, has none. */
    int (*get_facts)(struct yat_device *device, struct yat_facts *facts);
    int (*get_reason)(struct yat_device *device, int code, int detail, char *text);
};

YAT_API extern const struct yat_platform YatPlatform;

#ifdef __cplusplus
}
#endif
#endif
