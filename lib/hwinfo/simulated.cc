// The BMC of a simulated machine.
#include "hwinfo/bmc.h"
#include "sim/bytes.h"
#include "sim/store.h"

namespace hwinfo
{

std::vector<uint8_t> askSimulated(const yat::ConfiguredMachine &machine,
                                  std::optional<int> &injected)
{
    std::vector<uint8_t> answer;
    sim::Store store = sim::configuredStore(machine);
    sim::look(store, "YATGetDeviceID", [&](const sim::Machine &now, const auto &injection) {
        answer = now.bmcResponse;
        if (injection && injection->text)
            answer = sim::bytesOf(*injection->text).value_or(answer);
        if (injection)
            injected = injection->result;
    });
    if (injected == 0)
        throw yat::Problem("injected: 0");
    if (answer.empty())
        throw yat::Problem("no 'response' in [bmc] of the machine's description, so it has no BMC");
    return answer;
}

} // namespace hwinfo
