#include "text/display.h"

#include "yat/text.h"

#include <algorithm>
#include <cwchar>
#include <string_view>

namespace {

// Length of the beginning of a text that is the same in every encoding of a locale, and one column
// a byte.
size_t plainLength(std::string_view text)
{
    const auto isPlain = [](char byte) { return byte >= ' ' && byte <= '~'; };
    return static_cast<size_t>(std::ranges::find_if_not(text, isPlain) - text.begin());
}

// The character at the beginning of a text that is not empty, and its length in bytes. What the
// terminal can't show is '?': a control character, which S-Lang draws as two to eight columns or
// ends the text at, and a byte that begins no character.
size_t firstCharacter(std::string_view rest, wchar_t *character)
{
    mbstate_t state{};
    size_t length = mbrtowc(character, rest.data(), rest.size(), &state);
    const bool isCharacter = length > 0 && length <= rest.size();
    if (!isCharacter)
        length = 1;
    if (!isCharacter || wcwidth(*character) < 0)
        *character = L'?';
    return length;
}

} // namespace

void copyText(std::span<char> buffer, const char *source)
{
    const std::string_view whole(source);
    size_t length = 0;
    while (length < whole.size()) {
        wchar_t character;
        const size_t next = firstCharacter(whole.substr(length), &character);
        if (length + next >= buffer.size())
            break;
        length += next;
    }
    std::ranges::fill(buffer, '\0');
    std::copy_n(source, length, buffer.begin());
}

int textWidth(const char *source)
{
    size_t width = 0;
    for (std::string_view rest(source); !rest.empty();) {
        const size_t plain = plainLength(rest);
        rest.remove_prefix(plain);
        width += plain;
        if (rest.empty())
            break;
        wchar_t character;
        rest.remove_prefix(firstCharacter(rest, &character));
        width += static_cast<size_t>(wcwidth(character));
    }
    return static_cast<int>(width);
}

std::string showable(std::string_view source)
{
    std::string result;
    result.reserve(source.size());
    for (;;) {
        const size_t plain = plainLength(source);
        result += source.substr(0, plain);
        source.remove_prefix(plain);
        if (source.empty())
            return result;
        wchar_t character;
        const size_t length = firstCharacter(source, &character);
        result += character == L'?' ? "?" : source.substr(0, length);
        source.remove_prefix(length);
    }
}

std::string displayText(const char *source)
{
    char converted[1024];
    const int length = CodeConvertFromEUC(source, converted, sizeof converted);
    return length < 0 ? "" : showable({converted, static_cast<size_t>(length)});
}
