// SPDX-License-Identifier: GPL-2.0-or-later
// CodeConvertFromEUC: a byte for the size of the destination, the source.
#include "fuzz.h"

#include "text/encoding.h"
#include "yat/text.h"

#include <clocale>
#include <cstring>
#include <memory>

namespace {

std::string convert(const std::string &source, size_t size)
{
    auto destination = std::make_unique<char[]>(size);
    memset(destination.get(), 'x', size);
    const int length =
        CodeConvertFromEUC(source.c_str(), destination.get(), static_cast<int>(size));
    REQUIRE(length >= 0 && static_cast<size_t>(length) < size);
    REQUIRE(strlen(destination.get()) == static_cast<size_t>(length));
    return destination.get();
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Input input(data, size);
    const size_t bound = input.byte() + 1;
    const std::string source(input.rest());
    for (const char *locale : {"C.UTF-8", "C"}) {
        setlocale(LC_ALL, locale);
        const std::string whole = convert(source, 4 * source.size() + 1024);
        REQUIRE(yat::isDisplayable(whole.c_str()));
        const std::string cut = convert(source, bound);
        REQUIRE(whole.starts_with(cut));
        REQUIRE(yat::isDisplayable(cut.c_str()));
        REQUIRE(cut.size() == whole.size() || cut.size() + 4 >= bound);
        char untouched = 'x';
        REQUIRE(CodeConvertFromEUC(source.c_str(), &untouched, 0) == -1 && untouched == 'x');
    }
    return 0;
}
