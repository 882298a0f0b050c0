// Numbers in texts.
#pragma once

#include <charconv>
#include <optional>
#include <string_view>

namespace sim {

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

} // namespace sim
