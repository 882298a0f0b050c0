// Whole files.
#pragma once

#include <string>

namespace yat {

// What is in a file. Throws Problem, "FILE: can't be read: REASON", also for one that is too large
// to be a configuration or a description.
std::string readFile(const std::string &file);

} // namespace yat
