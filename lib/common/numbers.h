// SPDX-License-Identifier: GPL-2.0-or-later
// Numbers in texts, and for texts.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace yat {

// The number that a text consists of; nothing for any other text. The format is that of
// std::from_chars.
template <class Number, class... Format>
std::optional<Number> numberIn(std::string_view text, Format... format)
{
    Number number{};
    const char *end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number, format...);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

// A short number for a long text: FNV-1a.
constexpr uint64_t hashOf(std::string_view text)
{
    uint64_t hash = 0xcbf29ce484222325;
    for (const char byte : text)
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
    return hash;
}

} // namespace yat
