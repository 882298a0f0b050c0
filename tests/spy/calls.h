// SPDX-License-Identifier: GPL-2.0-or-later
// What the spy records: a line a call, "IfSupport(Ethernet adapter 1, 31, 0) = 1", in the file that
// YAT_SPY_LOG names.
//
// YAT_SPY_MORE names, separated by blanks, what else is recorded:
//
//     screen  what the program asks newt for; windows, their forms and their grids by the title
//     forms   components, grids and forms, see forms.h; a text is its key then, on the screen too
//     texts   the keys that are looked up
//     trace   the trace log's opening and its records
#pragma once

#include "yat/device.h"

#include <dlfcn.h>
#include <string>
#include <type_traits>

void record(const std::string &line);
bool records(const char *what); // of YAT_SPY_MORE

// The call that the spy stands in front of.
template <class Function> Function *real(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

// An argument as it is recorded. Of what a call fills, a text is there only when it is not empty,
// a number always, as the call finds it.
std::string shown(int value);
std::string shown(char value);
std::string shown(const int *value);
std::string shown(const char *text);
std::string shown(char *filled);
std::string shown(const yat_device *device);
std::string shown(yat_device *const *root);

// The arguments of a call, with commas between them.
template <class... Arguments> std::string list(const Arguments &...arguments)
{
    std::string result;
    [[maybe_unused]] const auto append = [&result](const std::string &text) {
        result += (result.empty() || text.empty() ? "" : ", ") + text;
    };
    (append(shown(static_cast<std::decay_t<Arguments>>(arguments))), ...);
    return result;
}
