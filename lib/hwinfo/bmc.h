// SPDX-License-Identifier: GPL-2.0-or-later
// The BMC, asked for its device ID.
#pragma once

#include "sim/machine.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace hwinfo {

using Response = std::array<uint8_t, 16>; // completion code first

// Asks the BMC behind an IPMI device of the kernel, such as /dev/ipmi0, for its device ID, and
// waits that many milliseconds for the answer, of which it returns the first 16 bytes. Throws
// yat::Problem when there is none.
std::vector<uint8_t> askDriver(const std::string &device, int milliseconds);

// The answer of a simulated machine. Throws yat::Problem when it has no BMC.
std::vector<uint8_t> askSimulated(const sim::Machine &machine);

// The device ID in an answer; what a short one lacks is zero. What is wrong with the answer is
// thrown as a yat::Problem.
Response interpret(std::span<const uint8_t> bytes);

} // namespace hwinfo
