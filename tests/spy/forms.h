// SPDX-License-Identifier: GPL-2.0-or-later
// How components and grids are named in the record of "forms" (calls.h): a component by its text,
// or by its kind and a number where it has none, a grid by a number. The numbers begin anew with
// each window. A grid and each of its fields are a line: "grid 2 = 2x1", and
// "grid 2 (0,0) LABEL, top 1, left" with the padding and the anchor.
#pragma once

#include <newt.h>
#include <string>

bool isInNewt(void *address); // what newt asks itself for is its own business
void nameAnew();
std::string nameBefore(newtGrid grid); // "grid 2, "; nothing while forms are not recorded
void recordRun();
