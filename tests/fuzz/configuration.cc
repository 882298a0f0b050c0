// SPDX-License-Identifier: GPL-2.0-or-later
// The configuration file yatkit.toml.
#include "fuzz.h"

#include "common/configuration.h"
#include "common/problem.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const MemoryFile file(data, size);
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    try {
        const std::string machine = yat::machineNamedIn(file.path());
        REQUIRE(machine.empty() || text.find("machine") != std::string_view::npos
                || text.find('\\') != std::string_view::npos); // a key may be written with escapes
    } catch (const yat::Problem &problem) {
        REQUIRE(*problem.what());
    }
    return 0;
}
