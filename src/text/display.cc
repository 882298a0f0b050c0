#include "text/display.h"

#include "yat/text.h"

#include <algorithm>
#include <cwchar>
#include <string_view>

namespace {

// Length of the character at the beginning of a text that is not empty, in bytes. A byte that
// begins no character counts as one.
size_t characterLength(std::string_view rest, wchar_t *character)
{
    mbstate_t state{};
    *character = L'?';
    const size_t length = mbrtowc(character, rest.data(), rest.size(), &state);
    return length == 0 || length > rest.size() ? 1 : length;
}

} // namespace

void copyText(std::span<char> buffer, const char *source)
{
    const std::string_view whole(source);
    size_t length = 0;
    while (length < whole.size()) {
        wchar_t character;
        const size_t next = characterLength(whole.substr(length), &character);
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
        if (rest[0] >= ' ' && rest[0] <= '~') { // the same in every encoding of a locale
            rest.remove_prefix(1);
            ++width;
            continue;
        }
        wchar_t character;
        rest.remove_prefix(characterLength(rest, &character));
        width += std::max(wcwidth(character), 0);
    }
    return width;
}

std::string displayText(const char *source)
{
    char converted[1024] = "";
    CodeConvertFromEUC(source, converted, sizeof converted);
    return converted;
}
