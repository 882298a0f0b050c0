// SPDX-License-Identifier: GPL-2.0-or-later
// The records of a trace log.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

// The records of one source or of all, each as "LEVEL FUNCTION TEXT".
std::vector<std::string> readTrace(const std::filesystem::path &file,
                                   const std::string &source = "");
