// SPDX-License-Identifier: GPL-2.0-or-later
// What was traced as an error.
#pragma once

namespace yat {

// The text of the first or last record, or of as much of it as a line of the screen takes several
// times; empty when there was none, or none since they were forgotten.
const char *firstTracedError();
const char *lastTracedError();
void forgetTracedErrors();

} // namespace yat
