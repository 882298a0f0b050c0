/* SPDX-License-Identifier: GPL-2.0-or-later */
/* winshim.h - the run-time services that the product's programs share across
 * systems: mode flag, language, loader, product root, screen libraries.
 */
#ifndef YAT_WINSHIM_H
#define YAT_WINSHIM_H

#include "yat/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* 1 while the program prints its device data instead of using the screen, else 0.
 * Set by the program; the product's libraries may read it. */
YAT_API extern int debug_flag;

/* Language identifiers. */
#define YAT_LANGUAGE_ENGLISH 1033
#define YAT_LANGUAGE_JAPANESE 1041

/* The system's language: 1041 for a Japanese locale, 1033 for every other. The first
 * of LC_ALL, LC_MESSAGES and LANG that is set and not empty decides. */
YAT_API unsigned short GetSystemDefaultLangID(void);

/* Loads a shared object. Returns its handle, to be given back with FreeLibrary, or
 * null; dlerror() then gives the reason, once. */
YAT_API void *LoadLibrary(const char *path);

/* Finds a symbol of a loaded object. Returns its address, or null with the reason in
 * dlerror(). */
YAT_API void *GetProcAddress(void *module, const char *name);

/* Gives a handle back. Returns 1, or 0 (also for a null handle). */
YAT_API int FreeLibrary(void *module);

/* The product's installation root: the directory above the one that this library was
 * loaded from, symbolic links resolved, without a '/' at its end.
 *
 * buffer  takes the path, zero-terminated.
 * size    of buffer, in bytes; a path has at most 4095.
 *
 * Returns 1, or 0 when the buffer is null or too small or the root cannot be found;
 * then the buffer is untouched.
 */
YAT_API int GetYatRootPath(char *buffer, int size);

/* Bind the newt and S-Lang libraries for the program, and let go of them. The init
 * functions return 0, or -1 when the library is not there or lacks what the product
 * needs. Each successful call is paired with one of the free function. Here both
 * libraries are linked to the program in the ordinary way, so that what is loaded is
 * also what runs. */
YAT_API int initnewtlib(void);
YAT_API void freenewtlib(void);
YAT_API int initslanglib(void);
YAT_API void freeslanglib(void);

#ifdef __cplusplus
}
#endif
#endif
