#include "sim/bytes.h"

#include <algorithm>
#include <charconv>

namespace sim {

std::optional<std::vector<uint8_t>> bytesOf(const std::string &text)
{
    constexpr size_t mostBytes = 16;
    std::vector<uint8_t> bytes;
    size_t at = 0;
    while ((at = text.find_first_not_of(" ,", at)) != std::string::npos) {
        const size_t end = std::min(text.find_first_of(" ,", at), text.size());
        const bool isHexadecimal = text.compare(at, 2, "0x") == 0;
        const char *last = text.data() + end;
        uint8_t byte = 0;
        const auto [rest, error] = std::from_chars(text.data() + at + (isHexadecimal ? 2 : 0), last,
                                                   byte, isHexadecimal ? 16 : 10);
        if (error != std::errc() || rest != last || bytes.size() == mostBytes)
            return {};
        bytes.push_back(byte);
        at = end;
    }
    return bytes.empty() ? std::nullopt : std::optional(bytes);
}

} // namespace sim
