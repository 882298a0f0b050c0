/* SPDX-License-Identifier: GPL-2.0-or-later */
/* text.h - the text catalogue and the conversion of device names.
 *
 * Whatever the user reads is looked up by a key in a text catalogue, one file a
 * language, loaded whole into memory by the program. The file format is described
 * in mrvutil.rc(5).
 */
#ifndef YAT_TEXT_H
#define YAT_TEXT_H

#include "yat/export.h"
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The catalogue file in memory: set by the program, null until then. The buffer is
 * the file's size plus 1024 bytes; only the file's own bytes are ever read. Owned
 * by the program. */
YAT_API extern char *YAT_RcFileBuf;

/* Work buffer for CPGetText. Its contents are undefined between calls. */
YAT_API extern char ReadString[1024];

/* Opens a catalogue file.
 *
 * path  below the product root, beginning with '/', as in "/data/E_mrvutil.rc".
 * size  out: the file's size in bytes.
 *
 * Returns a stream for reading that the caller closes, or null, with size
 * untouched, when an argument is null, the path leads out of the product root, or
 * there is no regular file of that name below 2 GiB that can be read. What is wrong with
 * the file, also that it is empty or lacks a text that is looked up, is printed on
 * standard error at the end of the program.
 *
 * The size is also remembered, as a bound for CPGetText: a catalogue that lacks its
 * end line is searched no further than the file last opened was long. The trace log
 * tells which file it was, and the product's version.
 */
YAT_API FILE *OpenStrFile(const char *path, int *size);

/* Looks a text up.
 *
 * key        the text key, such as "BUTTON_OK_ID".
 * work       buffer that takes the text; its address is the result.
 * catalogue  the catalogue file's bytes (see YAT_RcFileBuf); may be null.
 *
 * Returns the text, zero-terminated, at most 1023 bytes (a longer one is cut
 * between characters), in the character encoding of the locale; characters which
 * that encoding lacks are written in a similar way or as '?'. The text is empty
 * when the catalogue does not have the key, however damaged it is. It stays valid
 * until the next call with the same work buffer. Never null, unless work is.
 */
YAT_API char *CPGetText(const char *key, char (*work)[1024], char *catalogue);

/* Converts a device name from EUC-JP to the character encoding of the locale.
 *
 * source       zero-terminated. A text that is valid in the locale's encoding as
 *              it is (plain ASCII always is) is copied unchanged.
 * destination  takes the result, zero-terminated; not overlapping source.
 * size         of destination, in bytes.
 *
 * A result that does not fit is cut between characters. Bytes that are no EUC-JP
 * become U+FFFD, or '?' where the locale's encoding lacks that.
 *
 * Returns the length of the result in bytes, without the terminator, or -1 when a
 * pointer is null or size is less than 1; then nothing is written.
 */
YAT_API int CodeConvertFromEUC(const char *source, char *destination, int size);

#ifdef __cplusplus
}
#endif
#endif
