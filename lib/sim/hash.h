// A short number for a long text: FNV-1a.
#pragma once

#include <cstdint>
#include <string_view>

namespace sim {

constexpr uint64_t hashOf(std::string_view text)
{
    uint64_t hash = 0xcbf29ce484222325;
    for (const char byte : text)
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
    return hash;
}

} // namespace sim
