// SPDX-License-Identifier: GPL-2.0-or-later
// Where the product's files are.
#pragma once

#include <string>

namespace yat {

// The directory above the one that the object containing this code was loaded from,
// symbolic links resolved; empty when that cannot be found out.
std::string productRoot();

// The directory of the product's configuration: /etc/opt/... for a product installed
// below /opt, etc below the root for any other.
std::string configurationDirectory();

// A directory for what the product keeps between runs, made when missing: YAT_STATE_DIR,
// else /var/opt/... for a product installed below /opt and var below the root for any
// other; the user's XDG state directory where that one can't be written. Throws Problem when
// neither can.
std::string stateDirectory();

// The file with symbolic links resolved, when only root can write to it and to the directories
// above it. Throws Problem, "FILE can't be used: REASON", for any other.
std::string fileOfRoot(const std::string &file);

} // namespace yat
