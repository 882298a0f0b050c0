// SPDX-License-Identifier: GPL-2.0-or-later
// What the buttons of the device windows do.
#pragma once

#include "devices/devicewindow.h"

// Asks the button's question and carries its operation out.
Action operate;

// Says that no machine supports the button's operation.
Action refuse;

// Asks and sets the MTBF type that is selected, by the button's operation.
Action setSelectedType;

// Opens the window that the button leads to.
Action openDialog;

// Reads the state anew.
Action refresh;

// Closes the window.
Action leave;
