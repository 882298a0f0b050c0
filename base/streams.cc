// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/streams.h"

#include <fcntl.h>
#include <unistd.h>

void holdStandardStreams()
{
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
        if (fcntl(stream, F_GETFD) == -1)
            open("/dev/null", O_RDONLY); // which gets the lowest number, and can't be written to
}
