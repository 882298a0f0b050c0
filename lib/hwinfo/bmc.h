// The BMC, asked for its device ID.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace hwinfo {

using DeviceId = std::array<uint8_t, 16>; // completion code first

// What the BMC answered, or why there is no answer.
struct Answer {
    std::vector<uint8_t> bytes;        // completion code first; none when there are problems
    std::vector<std::string> problems; // in words
    std::optional<int> result{};       // what the call is to return instead, whatever was answered
};

// Asks the BMC behind an IPMI device of the kernel, such as /dev/ipmi0, for its device ID, and
// waits that many milliseconds for the answer, of which the first 16 bytes count.
Answer askDriver(const std::string &device, int milliseconds);

// The answer of the simulated machine that the product administers. Each line of what is wrong with
// its description or its state is a problem.
Answer askSimulated();

// Takes the bytes of an answer over; what a short one lacks becomes zero. Returns what is wrong
// with the answer, with the device ID untouched, or nothing.
std::string interpret(std::span<const uint8_t> bytes, DeviceId &deviceId);

} // namespace hwinfo
