// SPDX-License-Identifier: GPL-2.0-or-later
#include "terminal/sequences.h"

#include <algorithm>
#include <cwchar>
#include <utility>
#include <vector>

namespace {

constexpr char bell = '\a';

bool isBetween(char byte, char first, char last)
{
    return byte >= first && byte <= last;
}

// After "Esc [": parameters, then a byte that ends them. The Linux console puts another bracket
// before the letters of its function keys, old mouse reports have three bytes of any value, and a
// dollar ends a key with Shift on rxvt, though not the parameters of a report.
bool isWholeControl(std::string_view rest)
{
    if (rest.empty())
        return false;
    if (rest[0] == '[')
        return rest.size() == 2;
    if (rest[0] == 'M')
        return rest.size() == 4;
    const bool isShifted = rest.back() == '$' && isBetween(rest[0], '0', '9') && rest.size() <= 3
                           && isBetween(rest[rest.size() - 2], '0', '9');
    return isShifted || !isBetween(rest.back(), ' ', '?');
}

// After "Esc O": a letter, on some terminals with the digits of a modifier before it.
bool isWholeKeypad(std::string_view rest)
{
    return !rest.empty() && !isBetween(rest.back(), '0', ';');
}

// A character that is typed with Alt.
bool isWholeCharacter(std::string_view rest)
{
    mbstate_t state{};
    return mbrlen(rest.data(), rest.size(), &state) != static_cast<size_t>(-2);
}

// Answers of the terminal, not keys. They end with BEL, or else with Esc and a backslash, which are
// a sequence of their own here: where these are only keys with Alt, the next key is one as well.
bool isString(char introducer)
{
    return introducer == 'P' || introducer == ']' || introducer == '_';
}

// What follows the Esc, or those of a key that is pressed with Alt.
std::string_view withoutEscape(std::string_view sequence)
{
    return sequence.substr(std::min(sequence.find_first_not_of(escape), sequence.size()));
}

struct Key {
    std::string_view bytes, ofNewt;
};

constexpr std::string_view up = "\x1b[A", down = "\x1b[B", right = "\x1b[C", left = "\x1b[D",
                           home = "\x1b[1~", end = "\x1b[4~";

// Those that are sent in another way than newt knows on every terminal.
constexpr Key keys[] = {
    {"\x1bOA", up},   {"\x1bOB", down}, {"\x1bOC", right}, {"\x1bOD", left},
    {"\x1b[H", home}, {"\x1bOH", home}, {"\x1b[7~", home}, {"\x1b[F", end},
    {"\x1bOF", end},  {"\x1b[8~", end}, {"\x1bOM", "\r"}, // Enter of the keypad
};

// Those that it knows as they are.
constexpr std::string_view sameKeys[] = {
    up,         down,       right,      left,       home,       end,        "\x1b[2~",
    "\x1b[3~",  "\x1b[5~",  "\x1b[6~",  "\x1b[Z",   "\x1bOZ",   "\x1b\t",   "\x1b[w",
    "\x1bOw",   "\x1b[P",   "\x1b[Q",   "\x1b[R",   "\x1b[S",   "\x1bv",    "\x1bV",
    "\x1bOP",   "\x1bOQ",   "\x1bOR",   "\x1bOS",   "\x1b[[A",  "\x1b[[B",  "\x1b[[C",
    "\x1b[[D",  "\x1b[[E",  "\x1b[11~", "\x1b[12~", "\x1b[13~", "\x1b[14~", "\x1b[15~",
    "\x1b[17~", "\x1b[18~", "\x1b[19~", "\x1b[20~", "\x1b[21~", "\x1b[23~", "\x1b[24~",
};

std::vector<std::pair<std::string, std::string_view>> keysOfTerminal;

} // namespace

bool isWhole(std::string_view sequence)
{
    const std::string_view rest = withoutEscape(sequence);
    if (rest.empty())
        return false;
    const std::string_view parameters = rest.substr(1);
    if (rest[0] == '[')
        return isWholeControl(parameters);
    if (rest[0] == 'O')
        return isWholeKeypad(parameters);
    if (isString(rest[0]))
        return parameters.ends_with(bell);
    return isWholeCharacter(rest);
}

bool takesControl(std::string_view sequence, char byte)
{
    const std::string_view rest = withoutEscape(sequence);
    return rest.empty() || (isString(rest[0]) && byte == bell)
           || (rest.starts_with("[M") && byte != escape);
}

void addByte(std::string &sequence, char byte)
{
    constexpr size_t most = 64;
    if (isControl(byte) && !takesControl(sequence, byte))
        sequence.clear(); // the former one has no end
    sequence += byte;
    if (sequence.size() > most) // of many Escs only that there are some counts
        sequence.erase(sequence[2] == escape ? 1 : most / 2, 1);
}

std::string_view keyOf(std::string_view sequence)
{
    if (const auto same = std::ranges::find(sameKeys, sequence); same != std::end(sameKeys))
        return *same;
    if (const auto key = std::ranges::find(keys, sequence, &Key::bytes); key != std::end(keys))
        return key->ofNewt;
    for (const auto &[bytes, ofNewt] : keysOfTerminal)
        if (bytes == sequence)
            return ofNewt;
    return {};
}

void addKey(const char *ofTerminal, std::string_view ofNewt)
{
    if (ofTerminal && ofTerminal[0] == escape && ofTerminal[1])
        keysOfTerminal.emplace_back(ofTerminal, ofNewt);
}
