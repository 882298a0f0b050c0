#include "dialogs/grid.h"

void setField(newtGrid grid, const Cell &cell)
{
    newtGridSetField(grid, cell.column, cell.row, cell.kind, cell.content, cell.padding.left,
                     cell.padding.top, cell.padding.right, cell.padding.bottom, cell.anchor, 0);
}

newtGrid makeGrid(int columns, int rows, std::initializer_list<Cell> cells)
{
    newtGrid grid = newtCreateGrid(columns, rows);
    for (const Cell &cell : cells)
        setField(grid, cell);
    return grid;
}

newtGrid makeButtonRow(newtComponent left, newtComponent right)
{
    return makeGrid(2, 1, {{0, 0, left, NEWT_ANCHOR_LEFT}, {1, 0, right, NEWT_ANCHOR_RIGHT}});
}

newtGrid makeWindowGrid(newtGrid content, newtGrid buttons)
{
    return makeGrid(
        1, 2, {{0, 0, content, NEWT_ANCHOR_TOP}, {0, 1, buttons, NEWT_ANCHOR_TOP, {.top = 1}}});
}
