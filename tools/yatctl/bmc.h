// SPDX-License-Identifier: GPL-2.0-or-later
// The management controller, asked by the plug-in for it.
#pragma once

#include <array>
#include <cstdint>

namespace yatctl {

// Its answer to Get Device ID, see yat/hwinfo.h. Throws a Failure when there is none.
std::array<uint8_t, 16> deviceIdOfBmc();

} // namespace yatctl
