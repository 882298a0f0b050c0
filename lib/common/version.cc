// SPDX-License-Identifier: GPL-2.0-or-later
#include "common/version.h"

namespace yat {

const char productVersion[] = YAT_VERSION;

} // namespace yat
