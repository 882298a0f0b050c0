// SPDX-License-Identifier: GPL-2.0-or-later
#include "dialogs/grid.h"

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
    newtGrid result = newtCreateGrid(grid.columns, grid.rows);
    for (const Cell &cell : grid.cells) {
        const newtGridElement kind = cell.component ? NEWT_GRID_COMPONENT : NEWT_GRID_SUBGRID;
        void *content = cell.component ? static_cast<void *>(cell.component)
                                       : static_cast<void *>(makeNewtGrid(cell.grid));
        newtGridSetField(result, cell.column, cell.row, kind, content, cell.padding.left,
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
