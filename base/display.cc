// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/display.h"

#include <algorithm>
#include <cwchar>

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
    if (!isCharacter || !isShowable(static_cast<char32_t>(*character)) || wcwidth(*character) < 0)
        *character = L'?';
    return length;
}

// Whether a line may not begin with the character, which closes what stands before it.
bool closes(wchar_t character)
{
    return std::wstring_view(L"。、？！：）」』?!:.,)").find(character) != std::wstring_view::npos;
}

// Where the first line of a text ends, and where the next one begins.
struct LineEnd {
    size_t end, next;
};

LineEnd firstLine(std::string_view text, int columns)
{
    size_t end = 0, best = 0;
    int width = 0, widthBefore = 0;
    for (size_t length; end < text.size(); end += length) {
        if (text[end] == '\n')
            return {end, end + 1};
        wchar_t character;
        length = firstCharacter(text.substr(end), &character);
        const int characterWidth = wcwidth(character);
        const bool isBlank = character == L' ';
        if (isBlank || (end > 0 && std::max(characterWidth, widthBefore) > 1 && !closes(character)))
            best = end;
        width += characterWidth;
        if (width > columns && !isBlank && end > 0)
            break;
        widthBefore = characterWidth;
    }
    if (end >= text.size())
        return {end, end};
    if (best == 0)
        best = end;
    return {best, std::min(text.find_first_not_of(' ', best), text.size())};
}

} // namespace

size_t wholeCharacters(std::string_view text, size_t most)
{
    if (text.size() <= most)
        return text.size();
    size_t length = 0;
    for (;;) {
        wchar_t character;
        const size_t next = firstCharacter(text.substr(length), &character);
        if (length + next > most)
            return length;
        length += next;
    }
}

void copyText(std::span<char> buffer, const char *source)
{
    const size_t length = wholeCharacters(source, std::max<size_t>(buffer.size(), 1) - 1);
    std::ranges::fill(buffer, '\0');
    std::copy_n(source, length, buffer.begin());
}

int textWidth(std::string_view source)
{
    size_t width = 0;
    for (;;) {
        const size_t plain = plainLength(source);
        source.remove_prefix(plain);
        width += plain;
        if (source.empty())
            return static_cast<int>(width);
        wchar_t character;
        source.remove_prefix(firstCharacter(source, &character));
        width += static_cast<size_t>(wcwidth(character));
    }
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

std::string showableLines(std::string_view text)
{
    std::string result;
    for (;;) {
        const size_t end = std::min(text.find_first_of("\n\t"), text.size());
        result += showable(text.substr(0, end));
        if (end == text.size())
            return result;
        result += text[end];
        text.remove_prefix(end + 1);
    }
}

std::string cutText(std::string_view text, int columns)
{
    size_t end = 0;
    for (int width = 0; end < text.size();) {
        wchar_t character;
        const size_t length = firstCharacter(text.substr(end), &character);
        width += wcwidth(character);
        if (width > columns)
            break;
        end += length;
    }
    return std::string(text.substr(0, end));
}

std::vector<std::string> wrapText(std::string_view text, int columns)
{
    std::vector<std::string> lines;
    do {
        const LineEnd line = firstLine(text, columns);
        const std::string_view whole = text.substr(0, line.end);
        lines.emplace_back(whole.substr(0, whole.find_last_not_of(' ') + 1));
        text.remove_prefix(line.next);
    } while (!text.empty());
    return lines;
}
