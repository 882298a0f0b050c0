// SPDX-License-Identifier: GPL-2.0-or-later
// What was traced as an error last.
#pragma once

namespace yat {

// The text of the record, or of as much of it as a line of the screen takes several times; empty
// when there was none, or none since it was forgotten.
const char *lastTracedError();
void forgetTracedError();

} // namespace yat
