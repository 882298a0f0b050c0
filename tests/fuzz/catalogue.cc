// SPDX-License-Identifier: GPL-2.0-or-later
// CPGetText: a key, a line feed, the catalogue.
#include "fuzz.h"

#include "text/encoding.h"
#include "yat/text.h"

#include <clocale>
#include <cstring>
#include <memory>

namespace {

// What a catalogue's end is looked for in: the size of the file last opened.
size_t openedSize()
{
    int size;
    FILE *file = OpenStrFile("/data/E_mrvutil.rc", &size);
    REQUIRE(file);
    fclose(file);
    return static_cast<size_t>(size);
}

void look(const std::string &key, char *catalogue, std::string_view whole)
{
    auto work = std::make_unique<char[][1024]>(1);
    memset(work.get(), 'x', sizeof(char[1024]));
    const char *text = CPGetText(key.c_str(), work.get(), catalogue);
    REQUIRE(text == work[0]);
    REQUIRE(memchr(text, '\0', 1024));
    REQUIRE(yat::isDisplayable(text));
    REQUIRE(!*text || whole.find(key.c_str()) != std::string_view::npos);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const size_t opened = openedSize();
    Input input(data, size);
    const std::string key = input.upTo('\n');
    setlocale(LC_ALL, key.size() % 2 ? "C.UTF-8" : "C");

    // With a zero behind its bytes, on the heap, where the sanitizer sees its end.
    const std::string bytes(input.rest().substr(0, opened));
    auto ended = std::make_unique<char[]>(bytes.size() + 1);
    memcpy(ended.get(), bytes.c_str(), bytes.size() + 1);
    look(key, ended.get(), bytes);

    // As long as the file, with nothing behind it.
    if (bytes.empty())
        return 0;
    auto full = std::make_unique<char[]>(opened);
    for (size_t i = 0; i < opened; ++i)
        full[i] = bytes[i % bytes.size()];
    look(key, full.get(), {full.get(), opened});
    return 0;
}
