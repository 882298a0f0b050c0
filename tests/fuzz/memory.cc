// SPDX-License-Identifier: GPL-2.0-or-later
// host.json, of which BOOT stands for this start of the system.
#include "fuzz.h"

#include "common/problem.h"
#include "host/memory.h"
#include "host/sysfs.h"
#include "support/files.h"

static std::string ofThisBoot(std::string text)
{
    static const std::string boot =
        host::readAttribute("/proc/sys/kernel/random/boot_id").value_or("");
    if (const size_t at = text.find("BOOT"); at != text.npos)
        text.replace(at, 4, boot);
    return text;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const TemporaryDirectory directory;
    setenv("YAT_STATE_DIR", directory.path.c_str(), 1);
    const std::string text = ofThisBoot({reinterpret_cast<const char *>(data), size});
    const std::string file = directory.path / "host.json";
    writeFile(file, text);
    try {
        const host::Memory read = host::readMemory();
        host::Memory changed;
        host::changeMemory([&](host::Memory &memory) {
            REQUIRE(memory == read);
            memory.packages[1] = 2;
            changed = memory;
        });
        REQUIRE(host::readMemory() == changed);
    } catch (const yat::Problem &problem) {
        REQUIRE(std::string_view(problem.what()).starts_with(file));
        REQUIRE(readFile(file) == text);
    }
    return 0;
}
