// SPDX-License-Identifier: GPL-2.0-or-later
#include "shared/table.h"

#include "base/display.h"
#include "text/encoding.h"

#include <algorithm>
#include <cstdio>

// A wider cell shifts the rest of its own row only.
static constexpr int widestColumn = 60;

void printTable(const std::vector<Row> &utf8)
{
    std::vector<Row> rows = utf8;
    std::vector<int> widths;
    for (Row &row : rows)
        for (size_t i = 0; i < row.size(); ++i) {
            row[i] = showable(yat::toDisplay(row[i]));
            widths.resize(std::max(widths.size(), i + 1));
            if (const int width = textWidth(row[i]); width <= widestColumn)
                widths[i] = std::max(widths[i], width);
        }
    for (const Row &row : rows) {
        std::string line;
        for (size_t i = 0; i < row.size(); ++i) {
            line += row[i];
            if (i + 1 < row.size())
                line.append(static_cast<size_t>(std::max(widths[i] - textWidth(row[i]), 0)) + 2,
                            ' ');
        }
        printf("%s\n", line.c_str());
    }
}
