// SPDX-License-Identifier: GPL-2.0-or-later
// A disk that can't be read now: reading at a place, as SQLite does and nothing else here, fails
// with the error that YAT_READING_FAILS has the number of.
#include <cerrno>
#include <cstdlib>
#include <sys/types.h>

static ssize_t fail()
{
    errno = atoi(getenv("YAT_READING_FAILS"));
    return -1;
}

#pragma GCC visibility push(default)
extern "C" {

ssize_t pread(int, void *, size_t, off_t)
{
    return fail();
}

ssize_t pread64(int, void *, size_t, off64_t)
{
    return fail();
}

} // extern "C"
#pragma GCC visibility pop
