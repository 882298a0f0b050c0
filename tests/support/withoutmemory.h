// SPDX-License-Identifier: GPL-2.0-or-later
// Tests of a process that gets no memory any more.
#pragma once

#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/resource.h>

struct WithoutMemory : testing::Test {
    WithoutMemory()
    {
        testing::GTEST_FLAG(death_test_style) = "threadsafe"; // in a process of its own
    }

    static void useUp()
    {
        const rlimit none{.rlim_cur = 0, .rlim_max = 0};
        setrlimit(RLIMIT_AS, &none);
        void *volatile piece;
        for (size_t size = 1 << 20; size > 0; size /= 2)
            do
                piece = malloc(size);
            while (piece);
    }
};
