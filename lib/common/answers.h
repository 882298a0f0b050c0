// SPDX-License-Identifier: GPL-2.0-or-later
// What the calls of yat/ft.h put into the buffers of their callers.
#pragma once

#include "yat/facts.h"
#include "yat/ft.h"
#include "yat/winshim.h"

#include <string>

namespace yat {

// Whether texts are to be Japanese.
inline bool isJapanese()
{
    return GetSystemDefaultLangID() == YAT_LANGUAGE_JAPANESE;
}

// Puts a text, in UTF-8, into the buffer of a property; false when it is too long.
bool putProperty(const std::string &text, char *buffer, unsigned long *size);

// Whether a code is that of the state of a kind, for StatusChange.
constexpr bool isStateOf(int kind, int code)
{
    return (kind == YAT_KIND_CPU_MODULE && code == YAT_STATE_CPU_MODULE)
           || (kind == YAT_KIND_PCI_MODULE && code == YAT_STATE_PCI_MODULE);
}

// Puts a text, in UTF-8, into the buffer of a state, as much of it as fits.
void putState(const std::string &text, char *buffer);

// Puts facts into a caller's structure, as much of them as that has, whose size stays.
void putFacts(yat_facts told, yat_facts *facts);

// Linux_ConvertDataToInt.
int toInteger(char *text, int *value);

} // namespace yat
