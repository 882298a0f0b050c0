// Bytes as a user writes them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sim {

// Bytes as a list of 1 to 16 numbers from 0 to 255, with blanks or commas between them, 0x before
// hexadecimal ones; nothing for another text.
std::optional<std::vector<uint8_t>> bytesOf(const std::string &text);

} // namespace sim
