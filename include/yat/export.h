/* SPDX-License-Identifier: GPL-2.0-or-later */
/* export.h - what the product's shared objects show of themselves.
 *
 * Everything is compiled with hidden visibility. What is marked YAT_API is seen from
 * outside: the boundary between the programs and the product services, and a function
 * that takes the place of another library's.
 */
#ifndef YAT_EXPORT_H
#define YAT_EXPORT_H

#define YAT_API __attribute__((visibility("default")))

#endif
