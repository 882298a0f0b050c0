// SPDX-License-Identifier: GPL-2.0-or-later
#include "common/answers.h"

#include "base/display.h"
#include "text/encoding.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace yat {

bool putProperty(const std::string &text, char *buffer, unsigned long *size)
{
    const std::string shown = toDisplay(text);
    if (shown.size() + 1 > *size)
        return false;
    memcpy(buffer, shown.c_str(), shown.size() + 1);
    *size = shown.size() + 1;
    return true;
}

void putState(const std::string &text, char *buffer)
{
    constexpr size_t longest = 1023; // bytes
    const std::string shown = toDisplay(text);
    const size_t length = wholeCharacters(shown, longest);
    memcpy(buffer, shown.data(), length);
    buffer[length] = '\0';
}

void putFacts(yat_facts told, yat_facts *facts)
{
    told.size = facts->size;
    memcpy(facts, &told, std::min<size_t>(facts->size, sizeof told));
}

int toInteger(char *text, int *value)
{
    if (!text || !value)
        return -1;
    const char *begin = text + strspn(text, " \t\r\n");
    if (*begin == '+' && begin[1] != '-')
        ++begin;
    int result = 0;
    const auto [end, error] = std::from_chars(begin, begin + strlen(begin), result);
    if (error != std::errc() || end[strspn(end, " \t\r\n")] != '\0')
        return -1;
    *value = result;
    return 0;
}

} // namespace yat
