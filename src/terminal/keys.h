// SPDX-License-Identifier: GPL-2.0-or-later
// The keys, before newt sees them.
#pragma once

// What has been read of a sequence is no key: its rest has been dropped. A handler may call this.
void cutSequence();

// Drops what has been typed and is not read yet, a sequence or a paste to its end.
void dropKeys();
