// SPDX-License-Identifier: GPL-2.0-or-later
// Why something is not done.
#pragma once

#include <optional>
#include <string>

namespace host {

// The trace and the journal have the English words in every locale.
struct Reason {
    std::string english, japanese;
};

using MaybeReason = std::optional<Reason>;

} // namespace host
