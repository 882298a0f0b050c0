// SPDX-License-Identifier: GPL-2.0-or-later
// A text for the screen: a byte for the columns, the text.
#include "fuzz.h"

#include "base/display.h"

#include <algorithm>
#include <clocale>
#include <cwchar>

namespace {

void requireShowable(std::string_view text)
{
    while (!text.empty()) {
        wchar_t character;
        mbstate_t state{};
        const size_t length = mbrtowc(&character, text.data(), text.size(), &state);
        REQUIRE(length > 0 && length <= text.size());
        REQUIRE(isShowable(static_cast<char32_t>(character)) && wcwidth(character) >= 0);
        text.remove_prefix(length);
    }
}

void requireCutBetweenCharacters(const std::string &text, size_t length)
{
    REQUIRE(showable(text.substr(0, length)) + showable(text.substr(length)) == showable(text));
}

std::string withoutBlanks(std::string text)
{
    std::erase(text, ' ');
    return text;
}

void requireWrapped(std::string_view text, int columns)
{
    std::string shown, wanted;
    for (const std::string &line : wrapText(text, columns)) {
        REQUIRE(textWidth(line) <= std::max(columns, 2)); // a wide character has no narrower line
        shown += showable(line);
    }
    Input lines(reinterpret_cast<const uint8_t *>(text.data()), text.size());
    while (!lines.empty())
        wanted += showable(lines.upTo('\n'));
    REQUIRE(withoutBlanks(shown) == withoutBlanks(wanted));
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Input input(data, size);
    const unsigned columns = input.byte();
    const std::string text(input.rest());
    for (const char *locale : {"C.UTF-8", "C"}) {
        setlocale(LC_ALL, locale);
        const std::string shown = showable(text);
        requireShowable(shown);
        REQUIRE(showable(shown) == shown);
        REQUIRE(textWidth(shown) == textWidth(text));
        const std::string cut = cutText(text, static_cast<int>(columns));
        REQUIRE(textWidth(cut) <= static_cast<int>(columns) && text.starts_with(cut));
        requireCutBetweenCharacters(text, cut.size());
        const size_t whole = wholeCharacters(text, columns);
        REQUIRE(whole <= columns && whole + MB_CUR_MAX > std::min<size_t>(columns, text.size()));
        requireCutBetweenCharacters(text, whole);
        requireWrapped(text, static_cast<int>(columns) + 1);
    }
    return 0;
}
