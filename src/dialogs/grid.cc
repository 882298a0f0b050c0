// SPDX-License-Identifier: GPL-2.0-or-later
#include "dialogs/grid.h"

#include <cstddef>

Grid makeButtonRow(newtComponent left, newtComponent right)
{
    return {2, 1, {{0, 0, left, NEWT_ANCHOR_LEFT}, {1, 0, right, NEWT_ANCHOR_RIGHT}}};
}

Grid makeWindowGrid(const Grid &content, const Grid &buttons)
{
    return {1, 2, {{0, 0, content, NEWT_ANCHOR_TOP}, {0, 1, buttons, NEWT_ANCHOR_TOP, {.top = 1}}}};
}

newtGrid makeNewtGrid(const Grid &grid)
{
    std::vector<void *> contents; // grids in the grid are made before it
    for (const Cell &cell : grid.cells)
        contents.push_back(cell.component ? static_cast<void *>(cell.component)
                                          : static_cast<void *>(makeNewtGrid(cell.grid)));
    newtGrid result = newtCreateGrid(grid.columns, grid.rows);
    for (std::size_t i = 0; i < contents.size(); ++i) {
        const Cell &cell = grid.cells[i];
        const newtGridElement kind = cell.component ? NEWT_GRID_COMPONENT : NEWT_GRID_SUBGRID;
        newtGridSetField(result, cell.column, cell.row, kind, contents[i], cell.padding.left,
                         cell.padding.top, cell.padding.right, cell.padding.bottom, cell.anchor, 0);
    }
    return result;
}

std::vector<newtComponent> componentsOf(const Grid &grid)
{
    std::vector<newtComponent> result;
    for (const Cell &cell : grid.cells) {
        if (cell.component) {
            result.push_back(cell.component);
            continue;
        }
        const std::vector<newtComponent> below = componentsOf(cell.grid);
        result.insert(result.end(), below.begin(), below.end());
    }
    return result;
}
