// SPDX-License-Identifier: GPL-2.0-or-later
// A trace record: the source module, the function, the text, with line feeds between them.
#include "fuzz.h"

#include "base/display.h"
#include "support/files.h"
#include "text/utf8.h"
#include "yat/trace.h"

#include <cstring>

namespace {

constexpr size_t longestText = 4095;

// A log in a directory that is gone at the end.
struct Log {
    Log()
    {
        setenv("YAT_STATE_DIR", directory.path.c_str(), 1);
        REQUIRE(TraceLogInit(0, "fuzz", 0, 0, 0) == 1);
    }

    std::string take() const
    {
        const std::string text = readFile(path());
        REQUIRE(truncate(path().c_str(), 0) == 0);
        return text;
    }
    std::string path() const
    {
        return directory.path / "log/fuzz.log";
    }

    TemporaryDirectory directory;
};

void requirePlain(std::string_view text)
{
    while (!text.empty()) {
        const size_t length = yat::utf8Length(text);
        REQUIRE(length > 0);
        REQUIRE(isShowable(yat::utf8Character(text.substr(0, length))));
        text.remove_prefix(length);
    }
}

// The text that was escaped.
std::string unescape(std::string_view text)
{
    std::string result;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            result += text[i];
            continue;
        }
        switch (++i < text.size() ? text[i] : '\0') {
        case 'n': result += '\n'; break;
        case 't': result += '\t'; break;
        case 'r': result += '\r'; break;
        case '\\': result += '\\'; break;
        case 'x':
            REQUIRE(i + 2 < text.size());
            result += static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16));
            i += 2;
            break;
        default: REQUIRE(text[i] == 'n'); // there is no other escape
        }
    }
    return result;
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const Log log;
    Input input(data, size);
    const std::string source = input.upTo('\n');
    const std::string function = input.upTo('\n');
    const std::string text(input.rest());
    REQUIRE(TraceLog(1, source.c_str(), function.c_str(), 4711, "%s", text.c_str()) == 1);

    const std::string record = log.take();
    REQUIRE(record.ends_with('\n'));
    requirePlain(std::string_view(record).substr(0, record.size() - 1));

    if (source.size() + function.size() > 256)
        return 0; // what is too long may push the text out
    const size_t place = record.rfind(" 4711 ", record.size());
    REQUIRE(place != std::string::npos);
    const std::string wanted = std::string(text.c_str()).substr(0, longestText);
    const size_t begin = record.size() - 1; // found from the end, for the text may hold " 4711 "
    bool found = false;
    for (size_t at = place; at != std::string::npos && !found; at = record.rfind(" 4711 ", at - 1))
        found = unescape(std::string_view(record).substr(at + 6, begin - at - 6)) == wanted;
    REQUIRE(found);
    return 0;
}
