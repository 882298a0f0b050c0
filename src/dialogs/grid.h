// Grids told as tables of their cells.
#pragma once

#include <initializer_list>
#include <newt.h>

struct Padding {
    int left = 0, top = 0, right = 0, bottom = 0;
};

// One cell: where it is, what stands in it, how it is placed there.
struct Cell {
    int column, row;
    newtGridElement kind;
    void *content;
    int anchor;
    Padding padding;

    Cell(int atColumn, int atRow, newtComponent component, int anchoredAt, Padding padded = {})
        : column(atColumn), row(atRow), kind(NEWT_GRID_COMPONENT), content(component),
          anchor(anchoredAt), padding(padded)
    {
    }
    Cell(int atColumn, int atRow, newtGrid grid, int anchoredAt, Padding padded = {})
        : column(atColumn), row(atRow), kind(NEWT_GRID_SUBGRID), content(grid), anchor(anchoredAt),
          padding(padded)
    {
    }
};

// Puts a cell into a grid.
void setField(newtGrid grid, const Cell &cell);

// Makes a grid; cells that are not given stay empty.
newtGrid makeGrid(int columns, int rows, std::initializer_list<Cell> cells);

// Two buttons side by side.
newtGrid makeButtonRow(newtComponent left, newtComponent right);

// A window's content with its buttons below.
newtGrid makeWindowGrid(newtGrid content, newtGrid buttons);
