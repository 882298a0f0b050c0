// SPDX-License-Identifier: GPL-2.0-or-later
// What is typed at the terminal: its bytes.
#include "fuzz.h"

#include "terminal/sequences.h"

#include <clocale>

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    constexpr size_t most = 64; // bytes that are kept of a sequence
    setlocale(LC_CTYPE, "C.UTF-8");
    std::string sequence, whole; // as it is kept, and with all its bytes
    for (const char byte : std::string(data, data + size)) {
        if (whole.empty() && byte != escape)
            continue;
        if (isControl(byte) && !takesControl(whole, byte))
            whole.clear();
        whole += byte;
        addByte(sequence, byte);
        REQUIRE(!sequence.empty() && sequence.size() <= most);
        REQUIRE(isWhole(sequence) == isWhole(whole));
        if (!isWhole(whole))
            continue;
        const std::string_view key = keyOf(sequence);
        REQUIRE(key == keyOf(whole));
        REQUIRE(key.empty() || key == "\r" || keyOf(key) == key);
        REQUIRE(sequence.ends_with(pasteBegins) == whole.ends_with(pasteBegins));
        sequence.clear();
        whole.clear();
    }
    return 0;
}
