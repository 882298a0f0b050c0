// SPDX-License-Identifier: GPL-2.0-or-later
// Where the components of a window stand.
#pragma once

#include "dialogs/grid.h"

#include <string>

struct Placement {
    newtComponent component;
    int left, top, width, height;
    std::vector<std::string> lines{}; // of a component that has a text
};

struct Layout {
    int columns, rows;
    std::vector<Placement> parts;
};

// The places that newt has given the components of a grid whose first cell is there.
Layout givenLayout(const Grid &grid, int left, int top, int columns, int rows);

// The same layout with the lines that its texts have now.
Layout withTexts(Layout layout);

// Rows of so many columns: texts take several lines where they must, and what does not fit beside
// its neighbour stands below it.
Layout narrowLayout(const Grid &grid, int columns);
