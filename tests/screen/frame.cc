// SPDX-License-Identifier: GPL-2.0-or-later
#include "frame.h"

namespace {

using Spots = std::vector<std::vector<Terminal::Spot>>;

const std::string &at(const Spots &spots, int row, int column)
{
    static const std::string outside;
    if (row < 0 || column < 0 || row >= static_cast<int>(spots.size())
        || column >= static_cast<int>(spots[static_cast<size_t>(row)].size()))
        return outside;
    return spots[static_cast<size_t>(row)][static_cast<size_t>(column)].text;
}

std::string textOf(const Spots &spots, int row, int left, int right)
{
    std::string text;
    for (int column = left; column < right; ++column)
        text += at(spots, row, column);
    return text;
}

std::string stylesOf(const Spots &spots, int row, int left, int right)
{
    std::string styles;
    for (int column = left; column < right; ++column)
        styles += spots[static_cast<size_t>(row)][static_cast<size_t>(column)].style + ";";
    return styles;
}

// Follows a frame from its title; nothing when it is broken somewhere.
std::optional<Frame> follow(const Spots &spots, int top, int left, int right)
{
    while (at(spots, top, left) == "─")
        --left;
    while (at(spots, top, right) == "─")
        ++right;
    int bottom = top + 1;
    const auto isSide = [&](int row, int column) {
        const std::string &text = at(spots, row, column);
        return text == "│" || (column == right && (text == "↑" || text == "↓"));
    };
    while (isSide(bottom, left) && isSide(bottom, right))
        ++bottom;
    if (at(spots, top, left) != "┌" || at(spots, top, right) != "┐"
        || at(spots, bottom, left) != "└" || at(spots, bottom, right) != "┘")
        return std::nullopt;
    for (int column = left + 1; column < right; ++column)
        if (at(spots, bottom, column) != "─")
            return std::nullopt;
    Frame frame{.left = left, .top = top, .right = right, .bottom = bottom};
    for (int row = top + 1; row < bottom; ++row) {
        frame.rows.push_back(textOf(spots, row, left + 1, right));
        frame.styles.push_back(stylesOf(spots, row, left + 1, right));
    }
    frame.moreAbove = at(spots, top + 1, right) == "↑";
    frame.moreBelow = at(spots, bottom - 1, right) == "↓";
    for (int row = top + 1; row < bottom; ++row)
        if ((at(spots, row, right) == "↑" && row != top + 1)
            || (at(spots, row, right) == "↓" && row != bottom - 1))
            return std::nullopt;
    return frame;
}

} // namespace

std::optional<Frame> findFrame(const Terminal &terminal, const std::string &title)
{
    const Spots spots = terminal.spots();
    std::optional<Frame> found;
    for (int row = 0; row < static_cast<int>(spots.size()); ++row)
        for (int begin = 0; begin < static_cast<int>(spots[0].size()); ++begin) {
            if (at(spots, row, begin) != "┤")
                continue;
            int end = begin + 1;
            while (end < static_cast<int>(spots[0].size()) && at(spots, row, end) != "├")
                ++end;
            const std::string shown = textOf(spots, row, begin + 2, end - 1);
            if (shown.empty() || !title.starts_with(shown))
                continue;
            const auto frame = follow(spots, row, begin - 1, end + 1);
            if (!frame)
                continue;
            // A title is cut only where there is no room for one more character.
            constexpr int widestCharacter = 2;
            const int spare = frame->right - end - 1 + begin - frame->left - 1;
            if (shown != title && spare > widestCharacter)
                continue;
            if (!found || frame->encloses(terminal.cursor()))
                found = frame;
        }
    return found;
}
