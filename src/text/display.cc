#include "text/display.h"

#include "yat/text.h"

#include <algorithm>
#include <cwchar>
#include <string_view>

namespace {

// The character at the beginning of a text that is not empty, and its length in bytes. What the
// terminal can't show is '?': a control character, which S-Lang draws as two to eight columns or
// ends the text at, and a byte that begins no character.
size_t firstCharacter(std::string_view rest, wchar_t *character)
{
    *character = static_cast<unsigned char>(rest[0]);
    if (rest[0] >= ' ' && rest[0] <= '~') // the same in every encoding of a locale
        return 1;
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
    int width = 0;
    for (std::string_view rest(source); !rest.empty();) {
        wchar_t character;
        rest.remove_prefix(firstCharacter(rest, &character));
        width += character >= L' ' && character <= L'~' ? 1 : wcwidth(character);
    }
    return width;
}

std::string showable(std::string_view source)
{
    std::string result;
    result.reserve(source.size());
    while (!source.empty()) {
        wchar_t character;
        const size_t length = firstCharacter(source, &character);
        result += character == L'?' ? "?" : source.substr(0, length);
        source.remove_prefix(length);
    }
    return result;
}

std::string displayText(const char *source)
{
    char converted[1024] = "";
    CodeConvertFromEUC(source, converted, sizeof converted);
    return showable(converted);
}
