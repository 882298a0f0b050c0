// The BMC of a simulated machine.
#include "hwinfo/bmc.h"
#include "sim/injection.h"
#include "sim/store.h"

namespace hwinfo {

namespace {

std::vector<uint8_t> responseOf(const sim::Machine &machine)
{
    if (machine.bmcResponse.empty())
        throw yat::Problem("no 'response' in [bmc] of the machine's description, so it has no BMC");
    return machine.bmcResponse;
}

} // namespace

// The injection around it.
std::vector<uint8_t> askSimulated(const yat::ConfiguredMachine &machine,
                                  std::optional<int> &injected)
{
    sim::Store store = sim::configuredStore(machine);
    const sim::Injection injection =
        sim::takeInjection(store, "YATGetDeviceID").value_or(sim::Injection());
    injected = injection.result;
    if (injected == 0)
        throw yat::Problem("injected: 0");
    const auto bytes = injection.text ? sim::bytesOf(*injection.text) : std::nullopt;
    return bytes ? *bytes : responseOf(look(store));
}

} // namespace hwinfo
