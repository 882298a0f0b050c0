/* SPDX-License-Identifier: GPL-2.0-or-later */
/* export.h - what the product's shared objects show of themselves.
 *
 * Everything is compiled with hidden visibility; a declaration marked YAT_API is
 * part of the boundary between the programs and the product services.
 */
#ifndef YAT_EXPORT_H
#define YAT_EXPORT_H

#define YAT_API __attribute__((visibility("default")))

#endif
