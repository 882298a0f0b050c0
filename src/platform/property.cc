// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/property.h"

#include "yat/ft.h"

static bool traceError(const TraceOrigin &origin, const char *text)
{
    TraceLog(YAT_TRACE_ERROR, origin.source, origin.function, origin.line, "%s", text);
    return false;
}

Reading readProperty(const TraceOrigin &origin, const Property &property, unsigned long *size,
                     PropertyText &text)
{
    if (!yat_ft_func.yat_ft_get_property) {
        traceError(origin, "<function pointer of yat_ft_get_property is NULL.");
        return Reading::impossible;
    }
    text.fill('\0');
    const int result = yat_ft_func.yat_ft_get_property(property.kind, property.number,
                                                       property.property, text.data(), size);
    text.back() = '\0';
    return result == 0 ? Reading::done : Reading::refused;
}

bool convertProperty(const TraceOrigin &origin, PropertyText &text, const char *noNumber,
                     int *value)
{
    if (!yat_ft_func.Linux_ConvertDataToInt)
        return traceError(origin, "<function pointer of Linux_ConvertDataToInt is NULL.");
    if (yat_ft_func.Linux_ConvertDataToInt(text.data(), value) == -1)
        return traceError(origin, noNumber);
    return true;
}
