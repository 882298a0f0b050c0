// SPDX-License-Identifier: GPL-2.0-or-later
// Which version of the product this is: CMakeLists.txt has it.
#pragma once

namespace yat {

extern const char productVersion[];

} // namespace yat
