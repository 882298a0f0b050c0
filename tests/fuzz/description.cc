// SPDX-License-Identifier: GPL-2.0-or-later
// The description of a simulated machine.
#include "fuzz.h"

#include "common/problem.h"
#include "sim/description.h"

#include <algorithm>
#include <sstream>

// Each line tells a mistake in a line of the file that there is, in their order.
static void requireMistakes(const std::string &problem, long lines)
{
    std::istringstream stream(problem);
    long before = 0;
    for (std::string mistake; std::getline(stream, mistake);) {
        char *end = nullptr;
        REQUIRE(mistake.starts_with("F:"));
        const long line = strtol(mistake.c_str() + 2, &end, 10);
        REQUIRE(line >= std::max(before, 1L) && line <= lines);
        REQUIRE(std::string_view(end).starts_with(": ") && end[2]);
        before = line;
    }
    REQUIRE(before > 0);
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), size);
    try {
        const sim::Machine description = sim::parseDescription(text, "F");
        REQUIRE(!description.name.empty());
        REQUIRE(description.bmcResponse.size() <= 16);
        std::vector<sim::Device> modules = description.devices;
        std::erase_if(modules, [](const sim::Device &each) { return each.parent >= 0; });
        REQUIRE(std::ranges::is_sorted(modules, {}, &sim::Device::id));
    } catch (const yat::Problem &problem) {
        requireMistakes(problem.what(), std::ranges::count(text, '\n') + 1);
    }
    return 0;
}
