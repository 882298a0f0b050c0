// SPDX-License-Identifier: GPL-2.0-or-later
#include "text/displaytext.h"

#include "yat/text.h"

std::string displayText(const char *source)
{
    char converted[1024];
    const int length = CodeConvertFromEUC(source, converted, sizeof converted);
    if (length < 0)
        return "";
    return showable({converted, static_cast<size_t>(length)});
}
