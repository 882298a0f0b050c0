// SPDX-License-Identifier: GPL-2.0-or-later
// Libraries that are loaded by their path.
#pragma once

namespace yat {

// Loads a library with all that it needs. Null on failure, and dlerror() says why; what is there
// but no regular file fails like what is missing, for a FIFO would hold the loader up.
void *openLibrary(const char *path);

} // namespace yat
