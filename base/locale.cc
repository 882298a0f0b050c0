// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/locale.h"

#include <clocale>
#include <cstdlib>
#include <string_view>

// Each of the other categories is one more file to map at each start, and nothing asks for them.
void adoptLocale()
{
    setlocale(LC_MESSAGES, "");
    if (setlocale(LC_CTYPE, ""))
        return;
    for (const char *name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char *value = secure_getenv(name);
        if (!value || !*value)
            continue;
        const std::string_view locale(value);
        if (locale.find('.') == std::string_view::npos || locale.ends_with(".UTF-8")
            || locale.ends_with(".utf8"))
            setlocale(LC_CTYPE, "C.UTF-8");
        return;
    }
}
