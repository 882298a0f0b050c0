// SPDX-License-Identifier: GPL-2.0-or-later
// What is read of the kernel: a word, a line feed, an attribute's text.
#include "fuzz.h"

#include "host/sysfs.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Input input(data, size);
    const std::string word = input.upTo('\n'), text(input.rest());
    const MemoryFile file(reinterpret_cast<const uint8_t *>(text.data()), text.size());
    const auto attribute = host::readAttribute(file.path());
    REQUIRE(!attribute || (!attribute->empty() && text.starts_with(*attribute)));
    if (const auto number = host::readNumber(file.path())) {
        REQUIRE(attribute);
        const bool isHexadecimal = attribute->starts_with("0x");
        REQUIRE(strtoull(attribute->c_str(), nullptr, isHexadecimal ? 16 : 10) == *number);
    }
    if (host::numberOfLine(text, word))
        REQUIRE(text.find(word) != std::string::npos);
    return 0;
}
