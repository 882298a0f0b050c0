// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/streams.h"
#include "support/files.h"

#include <gtest/gtest.h>
#include <unistd.h>

TEST(Streams, ThatAreClosedAreHeld)
{
    const size_t open = countOpenFiles();
    holdStandardStreams();
    EXPECT_EQ(countOpenFiles(), open);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        const int kept = dup(stream);
        close(stream);
        holdStandardStreams();
        const ssize_t written = write(stream, "x", 1);
        const size_t held = countOpenFiles();
        dup2(kept, stream);
        close(kept);
        EXPECT_EQ(held, open + 1) << stream;
        EXPECT_EQ(written, -1) << stream;
    }
    EXPECT_EQ(countOpenFiles(), open);
}
