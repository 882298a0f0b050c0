// SPDX-License-Identifier: GPL-2.0-or-later
// A product root of a test's own, which it can damage or configure. The programs take it for
// theirs, because their libyat.so is in it.
#pragma once

#include "workspace.h"

struct ProductRoot {
    TemporaryDirectory directory;

    ProductRoot();

    std::filesystem::path library() const;

    // For a run with this root.
    RunOptions options(RunOptions result = {}) const;
};
