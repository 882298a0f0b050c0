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
