// SPDX-License-Identifier: GPL-2.0-or-later
// The standard streams.
#pragma once

// Takes the places of standard streams that are closed. Else the next file that is opened, a log or
// a database, would get the output.
void holdStandardStreams();
