// SPDX-License-Identifier: GPL-2.0-or-later
// Opens the machine, unless it has an argument: 0, or 1 when that fails, and 99 for an exception
// that crosses the boundary.
#include "yat/ft.h"

int main(int argc, char **)
try {
    return argc > 1 || ft_FunctionInit() != 0 ? 0 : 1;
} catch (...) {
    return 99;
}
