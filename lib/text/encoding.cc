// SPDX-License-Identifier: GPL-2.0-or-later
#include "text/encoding.h"

#include "base/display.h"
#include "text/utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <iconv.h>
#include <langinfo.h>

namespace yat {
namespace {

// An iconv conversion. One that the system lacks converts nothing.
class Conversion {
public:
    Conversion(const char *to, const char *from) : descriptor(iconv_open(to, from)) {}
    ~Conversion()
    {
        if (exists())
            iconv_close(descriptor);
    }
    Conversion(const Conversion &) = delete;
    Conversion &operator=(const Conversion &) = delete;

    // Appends the character converted; false, with nothing appended, when it can't be.
    bool append(std::string &result, std::string_view character) const
    {
        char buffer[256];
        char *in = const_cast<char *>(character.data()), *out = buffer;
        size_t inLeft = character.size(), outLeft = sizeof buffer;
        if (!exists() || iconv(descriptor, &in, &inLeft, &out, &outLeft) == static_cast<size_t>(-1))
            return false;
        result.append(buffer, out);
        return true;
    }

private:
    bool exists() const
    {
        return reinterpret_cast<intptr_t>(descriptor) != -1;
    }
    iconv_t descriptor;
};

bool displayIsUtf8()
{
    return std::string_view(nl_langinfo(CODESET)) == "UTF-8";
}

// ASCII is the same in the encoding of any locale, and most names are.
bool isSameInAny(std::string_view text)
{
    return std::ranges::all_of(text, [](signed char byte) { return byte > 0; });
}

std::string escapeOf(char32_t character, Escapes escapes)
{
    char escape[16];
    if (character <= 0xFFFF)
        snprintf(escape, sizeof escape, "\\u%04X", +character);
    else if (escapes == Escapes::ofToml)
        snprintf(escape, sizeof escape, "\\U%08X", +character);
    else
        snprintf(escape, sizeof escape, "\\u%04X\\u%04X", 0xD7C0 + (character >> 10),
                 0xDC00 + (character & 0x3FF));
    return escape;
}

// Length that the first byte of an EUC-JP character announces.
size_t eucLength(unsigned char first)
{
    return first < 0x80 ? 1 : first == 0x8F ? 3 : 2;
}

} // namespace

bool isDisplayable(const char *text)
{
    if (displayIsUtf8()) { // of which the C library takes also what is longer
        std::string_view rest = text;
        while (const size_t length = utf8Length(rest))
            rest.remove_prefix(length);
        return rest.empty();
    }
    mbstate_t state{};
    return mbsrtowcs(nullptr, &text, 0, &state) != static_cast<size_t>(-1);
}

std::string toDisplay(std::string_view utf8)
{
    if (isSameInAny(utf8))
        return std::string(utf8);
    std::string valid;
    while (!utf8.empty()) {
        const size_t length = utf8Length(utf8);
        valid.append(length ? utf8.substr(0, length) : replacementCharacter);
        utf8.remove_prefix(std::max<size_t>(length, 1));
    }
    if (displayIsUtf8())
        return valid;

    const Conversion conversion((std::string(nl_langinfo(CODESET)) + "//TRANSLIT").c_str(),
                                "UTF-8");
    std::string result;
    for (std::string_view rest = valid; !rest.empty();) {
        const size_t length = utf8Length(rest);
        if (!conversion.append(result, rest.substr(0, length)))
            result += length == 1 ? rest[0] : '?';
        rest.remove_prefix(length);
    }
    return result;
}

std::string fromDisplay(std::string_view text)
{
    if (isSameInAny(text))
        return std::string(text);
    const Conversion conversion("UTF-8", nl_langinfo(CODESET));
    std::string result;
    mbstate_t state{};
    while (!text.empty()) {
        size_t length = mbrlen(text.data(), text.size(), &state);
        const bool isCharacter = length > 0 && length <= text.size();
        if (!isCharacter) {
            length = 1;
            state = {};
        }
        if (!isCharacter || !conversion.append(result, text.substr(0, length)))
            result += replacementCharacter;
        text.remove_prefix(length);
    }
    return result;
}

std::string escapedJson(std::string_view json, Escapes escapes)
{
    const bool isUtf8 = displayIsUtf8();
    std::string result;
    while (!json.empty()) {
        const size_t length = std::max<size_t>(utf8Length(json), 1);
        const std::string_view sequence = json.substr(0, length);
        const char32_t character =
            length > 1 ? utf8Character(sequence) : static_cast<unsigned char>(json[0]);
        result += character < 0x7F || (isUtf8 && isShowable(character))
                      ? sequence
                      : escapeOf(character, escapes);
        json.remove_prefix(length);
    }
    return result;
}

std::string printable(std::string_view utf8)
{
    std::string result;
    while (!utf8.empty()) {
        const size_t length = utf8Length(utf8);
        result += length && isShowable(utf8Character(utf8.substr(0, length)))
                      ? utf8.substr(0, length)
                      : "?";
        utf8.remove_prefix(std::max<size_t>(length, 1));
    }
    return result;
}

std::string fromEuc(std::string_view euc)
{
    // Two tables: the standard one, and the vendors' for what it lacks, such as circled
    // digits. The other way round, the wave dash would become another character.
    const Conversion standard("UTF-8", "EUC-JP");
    const Conversion vendor("UTF-8", "EUC-JP-MS");
    std::string result;
    while (!euc.empty()) {
        const size_t length = eucLength(static_cast<unsigned char>(euc[0]));
        const std::string_view character = euc.substr(0, length);
        if (character.size() == length
            && (standard.append(result, character) || vendor.append(result, character))) {
            euc.remove_prefix(length);
        } else {
            result += replacementCharacter;
            euc.remove_prefix(1);
        }
    }
    return result;
}

} // namespace yat
