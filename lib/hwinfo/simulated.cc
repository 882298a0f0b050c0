// SPDX-License-Identifier: GPL-2.0-or-later
// The BMC of a simulated machine.
#include "common/problem.h"
#include "hwinfo/bmc.h"

namespace hwinfo {

std::vector<uint8_t> askSimulated(const sim::Machine &machine)
{
    if (machine.bmcResponse.empty())
        throw yat::Problem("no 'response' in [bmc] of the machine's description, so it has no BMC");
    return machine.bmcResponse;
}

} // namespace hwinfo
