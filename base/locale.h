// SPDX-License-Identifier: GPL-2.0-or-later
// The locale of the environment.
#pragma once

// Makes it the program's own. Where the machine lacks it, UTF-8 can still be written, unless the
// locale's name asks for another encoding.
void adoptLocale();
