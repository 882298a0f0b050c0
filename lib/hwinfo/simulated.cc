// The BMC of a simulated machine.
#include "hwinfo/bmc.h"
#include "sim/bytes.h"
#include "sim/store.h"

#include <sstream>

namespace hwinfo {

Answer askSimulated()
try {
    Answer answer;
    sim::Store store = sim::configuredStore();
    sim::look(store, "YATGetDeviceID", [&](const sim::Machine &machine, const auto &injection) {
        answer.bytes = machine.bmcResponse;
        if (injection && injection->text)
            answer.bytes = sim::bytesOf(*injection->text).value_or(answer.bytes);
        if (injection)
            answer.result = injection->result;
        if (answer.result == 0)
            answer.problems.push_back("injected: 0");
        else if (answer.bytes.empty())
            answer.problems.push_back("no 'response' in [bmc] of the machine's description, so it "
                                      "has no BMC");
    });
    return answer;
} catch (const yat::Problem &problem) {
    Answer answer;
    std::istringstream lines(problem.what());
    for (std::string line; std::getline(lines, line);)
        answer.problems.push_back(line);
    return answer;
}

} // namespace hwinfo
