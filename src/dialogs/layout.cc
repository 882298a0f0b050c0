// SPDX-License-Identifier: GPL-2.0-or-later
#include "dialogs/layout.h"

#include "dialogs/components.h"
#include "text/displaytext.h"
#include "tree/component.h"

#include <algorithm>
#include <climits>
#include <span>

namespace {

constexpr int gap = 1;        // behind a text with something beside it
constexpr int leastText = 12; // columns of one

int markWidth(const ComponentText &text)
{
    return static_cast<int>(text.mark.size());
}

std::vector<std::string> linesOf(const ComponentText &text, int columns)
{
    return wrapText(text.text, columns - markWidth(text));
}

int widest(const std::vector<std::string> &lines)
{
    int width = 0;
    for (const std::string &line : lines)
        width = std::max(width, textWidth(line.c_str()));
    return width;
}

using Cells = std::span<const Cell>;

// The cells of a grid's row, which a grid has from left to right.
std::vector<Cell> rowOf(const Grid &grid, int row)
{
    std::vector<Cell> cells;
    std::ranges::copy_if(grid.cells, std::back_inserter(cells),
                         [row](const Cell &cell) { return cell.row == row; });
    return cells;
}

// What a component takes when its text has all the room that it needs.
int widthOf(const Cell &cell)
{
    int width = cell.component->width;
    if (const ComponentText *text = textOf(cell.component))
        width = markWidth(*text) + widest(wrapText(text->text, INT_MAX));
    return cell.padding.left + width + cell.padding.right;
}

int gapBehind(const Cell &cell)
{
    return textOf(cell.component) ? gap : 0;
}

int widthOf(Cells cells)
{
    int width = 0;
    for (const Cell &cell : cells)
        width += widthOf(cell) + (&cell == &cells.back() ? 0 : gapBehind(cell));
    return width;
}

struct Area {
    int left, top, width;
};

int placeGrid(Layout &layout, const Grid &grid, const Area &area);

int spareBefore(const Cell &cell, int spare)
{
    return cell.anchor == NEWT_ANCHOR_LEFT    ? 0
           : cell.anchor == NEWT_ANCHOR_RIGHT ? spare
                                              : spare / 2;
}

// These place something in an area and return the rows that it takes.

int placeComponent(Layout &layout, const Cell &cell, const Area &area)
{
    Placement part{.component = cell.component,
                   .left = area.left,
                   .top = area.top,
                   .width = cell.component->width,
                   .height = cell.component->height};
    if (const ComponentText *text = textOf(cell.component)) {
        part.lines = linesOf(*text, area.width);
        part.width = markWidth(*text) + widest(part.lines);
        part.height = static_cast<int>(part.lines.size());
    }
    part.left += spareBefore(cell, std::max(area.width - part.width, 0));
    const int height = part.height;
    layout.parts.push_back(std::move(part));
    return height;
}

int placeCell(Layout &layout, const Cell &cell, Area area)
{
    const Padding &padding = cell.padding;
    area = {area.left + padding.left, area.top + padding.top,
            area.width - padding.left - padding.right};
    const int height =
        cell.component ? placeComponent(layout, cell, area) : placeGrid(layout, cell.grid, area);
    return padding.top + height + padding.bottom;
}

// Side by side from the left, each as wide as it has to be.
int placeBeside(Layout &layout, Cells cells, Area area)
{
    int height = 0;
    for (const Cell &cell : cells) {
        area.width = widthOf(cell);
        height = std::max(height, placeCell(layout, cell, area));
        area.left += area.width + gapBehind(cell);
    }
    return height;
}

int placeBelowEachOther(Layout &layout, Cells cells, Area area)
{
    const int top = area.top;
    for (const Cell &cell : cells)
        area.top += placeCell(layout, cell, area);
    return area.top - top;
}

int placeRow(Layout &layout, Cells cells, const Area &area)
{
    const size_t first = static_cast<size_t>(
        std::ranges::find(cells, NEWT_ANCHOR_RIGHT, &Cell::anchor) - cells.begin());
    const Cells left = cells.first(first), right = cells.subspan(first);
    const int leftWidth = widthOf(left), rightWidth = widthOf(right);
    const Area rightArea = {area.left + area.width - rightWidth, area.top, rightWidth};
    const int room = area.width - (right.empty() ? 0 : rightWidth + gap);
    if (left.empty() ? rightWidth <= area.width : leftWidth <= room)
        return std::max(placeBeside(layout, left, area), placeBeside(layout, right, rightArea));
    if (left.size() == 1 && textOf(left[0].component) && room >= leastText)
        return std::max(placeCell(layout, left[0], {area.left, area.top, room}),
                        placeBeside(layout, right, rightArea));
    return placeBelowEachOther(layout, cells, area);
}

int placeGrid(Layout &layout, const Grid &grid, const Area &area)
{
    int height = 0;
    for (int row = 0; row < grid.rows; ++row) {
        const std::vector<Cell> cells = rowOf(grid, row);
        const Area rest = {area.left, area.top + height, area.width};
        if (cells.size() == 1)
            height += placeCell(layout, cells[0], rest);
        else if (!cells.empty())
            height += placeRow(layout, cells, rest);
    }
    return height;
}

} // namespace

Layout givenLayout(const Grid &grid, int left, int top, int columns, int rows)
{
    Layout layout{columns, rows, {}};
    for (const newtComponent component : componentsOf(grid))
        layout.parts.push_back({.component = component,
                                .left = component->left - left,
                                .top = component->top - top,
                                .width = component->width,
                                .height = component->height});
    return layout;
}

Layout withTexts(Layout layout)
{
    for (Placement &part : layout.parts)
        if (const ComponentText *text = textOf(part.component)) {
            part.lines = linesOf(*text, part.width);
            part.lines.resize(std::min(part.lines.size(), static_cast<size_t>(part.height)));
        }
    return layout;
}

Layout narrowLayout(const Grid &grid, int columns)
{
    Layout layout{columns, 0, {}};
    layout.rows = placeGrid(layout, grid, {0, 0, columns});
    return layout;
}
