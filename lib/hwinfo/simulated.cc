// The BMC of a simulated machine.
#include "hwinfo/bmc.h"
#include "sim/description.h"

namespace hwinfo {

Answer askDescription(const std::string &file)
{
    std::vector<sim::Mistake> mistakes;
    const sim::Description description = sim::readDescription(file, mistakes);
    Answer answer;
    for (const sim::Mistake &mistake : mistakes)
        answer.problems.push_back(sim::toString(mistake, file));
    if (mistakes.empty() && description.bmcResponse.empty())
        answer.problems.push_back(file + ": no 'response' in [bmc], so this machine has no BMC");
    if (answer.problems.empty())
        answer.bytes = description.bmcResponse;
    return answer;
}

} // namespace hwinfo
