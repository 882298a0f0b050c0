// SPDX-License-Identifier: GPL-2.0-or-later
// Grids told as tables of their cells: newt's grids are made of them, and where those are too wide
// for the screen, narrower layouts.
#pragma once

#include <newt.h>
#include <vector>

struct Padding {
    int left = 0, top = 0, right = 0, bottom = 0;
};

struct Cell;

// Cells that are not given are empty.
struct Grid {
    int columns = 0, rows = 0;
    std::vector<Cell> cells;
};

// One cell: where it is, what stands in it, a component or a grid, how it is placed there. A grid
// has nothing beside it.
struct Cell {
    int column, row;
    newtComponent component = nullptr;
    Grid grid;
    int anchor;
    Padding padding;

    Cell(int atColumn, int atRow, newtComponent content, int anchoredAt, Padding padded = {})
        : column(atColumn), row(atRow), component(content), anchor(anchoredAt), padding(padded)
    {
    }
    Cell(int atColumn, int atRow, Grid content, int anchoredAt, Padding padded = {})
        : column(atColumn), row(atRow), grid(std::move(content)), anchor(anchoredAt),
          padding(padded)
    {
    }
};

// Two buttons side by side.
Grid makeButtonRow(newtComponent left, newtComponent right);

// A window's content with its buttons below.
Grid makeWindowGrid(const Grid &content, const Grid &buttons);

// newt's grid of it, with those in it.
newtGrid makeNewtGrid(const Grid &grid);

// The components of a grid and of those in it.
std::vector<newtComponent> componentsOf(const Grid &grid);
