// SPDX-License-Identifier: GPL-2.0-or-later
// UTF-8 as bytes come in.
#pragma once

#include <cstddef>
#include <string_view>

namespace yat {

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD"; // U+FFFD

// Length of the UTF-8 sequence at the beginning of text, 0 when there is none.
constexpr size_t utf8Length(std::string_view text)
{
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    if (text.empty())
        return 0;
    const unsigned first = byte(0);
    const size_t length = first < 0x80   ? 1
                          : first < 0xC2 ? 0
                          : first < 0xE0 ? 2
                          : first < 0xF0 ? 3
                          : first < 0xF5 ? 4
                                         : 0;
    if (length > text.size())
        return 0;
    for (size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    if (length < 3)
        return length;
    const unsigned second = byte(1);
    const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool surrogate = first == 0xED && second > 0x9F;
    const bool beyond = first == 0xF4 && second > 0x8F;
    return overlong || surrogate || beyond ? 0 : length;
}

// The character of a sequence that utf8Length has found.
constexpr char32_t utf8Character(std::string_view sequence)
{
    const auto first = static_cast<unsigned char>(sequence[0]);
    if (sequence.size() == 1)
        return first;
    char32_t result = first & (0x7Fu >> sequence.size());
    for (const char byte : sequence.substr(1))
        result = result << 6 | (static_cast<unsigned char>(byte) & 0x3F);
    return result;
}

} // namespace yat
