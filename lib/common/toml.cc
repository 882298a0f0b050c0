// SPDX-License-Identifier: GPL-2.0-or-later
#define TOML_IMPLEMENTATION
#include "common/toml.h"

#include "common/problem.h"
#include "text/encoding.h"

#include <algorithm>
#include <cstring>

namespace yat {
namespace {

bool isAscii(char byte)
{
    return static_cast<unsigned char>(byte) < 0x80;
}

// Keeps from toml++ what it is not made for: a letter beyond ASCII where a blank could stand, which
// is outside of strings and comments, and in a string of several lines behind the backslash that
// joins two; brackets of a header without a name behind them; a '}' in the place of a value; and a
// date that no time follows where one has to, behind a 'T' or a blank and a digit.
//
// A text that is no TOML may be taken apart wrongly here, but only behind what is wrong with it,
// where toml++ stops.
struct Check {
    std::string_view text;
    const std::string &file;
    size_t at = 0;
    std::string open{};   // arrays and tables in a line, by their brackets
    bool isValue = false; // what stands here is one, not a key

    [[noreturn]] void refuse(std::string_view what) const
    {
        const auto line = std::ranges::count(text.substr(0, at), '\n') + 1;
        throw Problem(inLine(file, static_cast<size_t>(line), what));
    }

    // The byte that is next, or a blank.
    char here() const
    {
        return at < text.size() ? text[at] : ' ';
    }

    void skip(std::string_view bytes)
    {
        at = std::min(text.find_first_not_of(bytes, at), text.size());
    }

    void skipTo(std::string_view bytes)
    {
        at = std::min(text.find_first_of(bytes, at), text.size());
    }
};

void passHeader(Check &check)
{
    check.skip(" \t");
    if (check.here() != '[')
        return;
    check.at += check.text.substr(check.at).starts_with("[[") ? 2 : 1;
    check.skip(" \t");
    constexpr std::string_view names = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                       "0123456789_-\"']";
    if (check.at < check.text.size() && names.find(check.here()) == names.npos)
        check.refuse("expected the name of a table after '['");
}

// Also a backslash at the end of a line, and what blanks there are behind it.
void passEscape(Check &check, bool hasSeveralLines)
{
    const size_t next = ++check.at;
    if (hasSeveralLines)
        check.skip(" \t\r\n");
    if (hasSeveralLines && !isAscii(check.here()))
        check.refuse("the line after a backslash can't begin with a non-ASCII character");
    if (check.at == next)
        ++check.at;
}

void passString(Check &check)
{
    const char quote = check.here();
    const std::string three(3, quote);
    const bool hasSeveralLines = check.text.substr(check.at).starts_with(three);
    check.at += hasSeveralLines ? 3 : 1;
    while (check.at < check.text.size()) {
        const char byte = check.here();
        if (byte == '\\' && quote == '"') {
            passEscape(check, hasSeveralLines);
        } else if (!hasSeveralLines && (byte == quote || byte == '\n')) {
            check.at += byte == quote ? 1 : 0;
            return;
        } else if (hasSeveralLines && check.text.substr(check.at).starts_with(three)) {
            const size_t end = check.text.find_first_not_of(quote, check.at);
            check.at = std::min({check.at + 5, end, check.text.size()});
            return; // up to two quotes before the last three are part of it
        } else {
            ++check.at;
        }
    }
}

// A number or the like goes on up to what can stand behind a value, whatever is in it.
void passWord(Check &check)
{
    const size_t begin = check.at;
    check.skipTo(" \t\r\n,]}#");
    const std::string_view word = check.text.substr(begin, check.at - begin);
    if (!std::ranges::all_of(word, isAscii))
        check.refuse("a non-ASCII character must be in quotes");
    std::string date(word);
    std::erase(date, '_'); // which numbers may have in them
    if (date.size() < 10 || date[4] != '-')
        return;
    date += check.text.substr(check.at, 3);
    const auto isDigit = [&](size_t i) {
        return i < date.size() && date[i] >= '0' && date[i] <= '9';
    };
    if (date[10] == ' ' ? isDigit(11) && !isDigit(12)
                        : (date[10] == 'T' || date[10] == 't') && !isDigit(11))
        check.refuse("expected a time of day after the date");
}

void passBracket(Check &check)
{
    const char bracket = check.text[check.at++];
    const char innermost = check.open.empty() ? ' ' : check.open.back();
    if (bracket == '[' || bracket == '{')
        check.open += bracket;
    else if (bracket == '}' && innermost == '[')
        check.refuse("expected a value or ']', saw '}'");
    else if (innermost != ' ')
        check.open.pop_back();
    check.isValue = bracket != '{';
}

void passOne(Check &check)
{
    const char byte = check.here();
    const bool isEmpty = check.open.empty();
    if (byte == '#') {
        check.skipTo("\n");
    } else if (byte == '"' || byte == '\'') {
        passString(check);
    } else if (strchr("\n,= \t\r", byte)) {
        ++check.at;
        if (byte == '=')
            check.isValue = true;
        else if (byte == '\n' ? isEmpty : byte == ',')
            check.isValue = !isEmpty && check.open.back() == '[';
    } else if (strchr("[]{}", byte) && (check.isValue || !isEmpty)) {
        passBracket(check);
    } else if (check.isValue || !isAscii(byte)) {
        passWord(check);
    } else {
        ++check.at;
    }
}

void checkBytes(std::string_view text, const std::string &file)
{
    Check check{.text = text, .file = file};
    if (text.starts_with("\xEF\xBB\xBF")) // a mark of the encoding
        check.at = 3;
    for (bool isLine = true; check.at < text.size();) {
        if (isLine && check.open.empty())
            passHeader(check);
        isLine = check.here() == '\n';
        if (check.at < text.size())
            passOne(check);
    }
}

} // namespace

std::string inLine(const std::string &file, size_t line, std::string_view text)
{
    return printable(fromDisplay(file) + ":" + std::to_string(line) + ": " + std::string(text));
}

toml::table parseToml(std::string_view text, const std::string &file)
{
    checkBytes(text, file);
    toml::parse_result result = toml::parse(text);
    if (!result)
        throw Problem(
            inLine(file, result.error().source().begin.line, result.error().description()));
    return std::move(result).table();
}

} // namespace yat
