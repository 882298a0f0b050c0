/* SPDX-License-Identifier: GPL-2.0-or-later */
/* trace.h - the product's trace log.
 *
 * Every program of the product writes its progress and its failures here. The
 * log is a help for whoever services the machine: it is never shown on a screen
 * and a log that cannot be written is no error for the program that writes it.
 *
 * The file is <state>/log/<name>.log, where <state> is the product's state
 * directory (YAT_STATE_DIR if set, /var/opt/kiv/yatkit when installed, var below
 * the product root in a build tree; the user's XDG state directory, under
 * yatkit, where that one cannot be written).
 *
 * A record is one line of UTF-8:
 *
 *     2026-11-21 10:02:33.417 4711 0 mrvmain main 112 enter utility/main() of mrvutil.
 *     date       time (local) pid  | source  function | text
 *                                  level              line
 *
 * Control characters, the backslash and bytes that are no UTF-8 stand in the text
 * as \n, \t, \r, \\ or \xHH, so a text can neither end its record nor forge
 * another one. Texts over 4095 bytes are cut.
 *
 * A record is written with one write to a file opened for appending, so several
 * processes can write at once, and none is lost when its program is killed. A part of a
 * record is taken back when the disk takes no more; the program says so when it ends.
 * A log that is renamed or removed is left for a new one within a millisecond.
 */
#ifndef YAT_TRACE_H
#define YAT_TRACE_H

#include "yat/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Levels of a record. */
#define YAT_TRACE_PROGRESS 0
#define YAT_TRACE_ERROR 1
#define YAT_TRACE_MEMORY 2

/* Opens the trace log.
 *
 * reserved1, reserved2  must be 0.
 * name                  the program's trace name, 1 to 63 bytes out of letters,
 *                       digits, '-', '_' and '.', not beginning with '.'.
 * megabytes             size in MiB at which the file is rotated; 0 means 5.
 * generations           how many rotated files are kept, as <name>.log.1 (the
 *                       youngest) to <name>.log.<generations>; 0 means 5, more
 *                       than 99 counts as 99.
 *
 * Returns 1, or 0 when an argument is out of range or the log cannot be opened;
 * then records are dropped until a later call succeeds. A log that was open is
 * closed first.
 */
YAT_API int TraceLogInit(int reserved1, const char *name, int reserved2, int megabytes,
                         int generations);

/* Writes one record.
 *
 * level     YAT_TRACE_PROGRESS, YAT_TRACE_ERROR or YAT_TRACE_MEMORY.
 * source    name of the source module, without its extension.
 * function  name of the calling function.
 * line      source line of the call.
 * format    printf format of the text, with its arguments behind it.
 *
 * Returns 1 when the record is in the file, else 0 (log not open, null argument,
 * disk full). errno is left as it was.
 */
YAT_API int TraceLog(int level, const char *source, const char *function, int line,
                     const char *format, ...) __attribute__((format(printf, 5, 6)));

#ifdef __cplusplus
}
#endif
#endif
