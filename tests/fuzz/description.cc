// The description of a simulated machine.
#include "fuzz.h"

#include "sim/description.h"

#include <algorithm>

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const MemoryFile file(data, size);
    std::vector<sim::Mistake> mistakes;
    const sim::Description description =
        sim::parseDescription(sim::readWholeFile(file.path()).value_or(""), mistakes);
    const auto lines = static_cast<size_t>(std::count(data, data + size, '\n')) + 1;
    for (const sim::Mistake &mistake : mistakes) {
        REQUIRE(!mistake.text.empty());
        REQUIRE(mistake.line <= lines);
    }
    if (mistakes.empty()) {
        REQUIRE(!description.name.empty());
        REQUIRE(description.bmcResponse.size() <= 16);
        for (const auto *modules : {&description.cpuModules, &description.pciModules})
            REQUIRE(std::ranges::is_sorted(*modules, {}, &sim::Module::number));
    }
    return 0;
}
