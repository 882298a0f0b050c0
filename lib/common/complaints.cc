// SPDX-License-Identifier: GPL-2.0-or-later
#include "common/complaints.h"

#include "text/encoding.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <new>
#include <string>
#include <vector>

namespace yat {
namespace {

struct Complaints {
    std::vector<std::string> lines;
    bool hasLost = false; // one for which there was no memory
    ~Complaints()
    {
        tellComplaints();
    }
} complaints;

constexpr char outOfMemory[] = "out of memory";

} // namespace

bool complain(std::string_view line) noexcept
try {
    if (std::ranges::find(complaints.lines, line) != complaints.lines.end())
        return false;
    complaints.lines.emplace_back(line);
    return true;
} catch (const std::exception &) {
    return complaints.hasLost = true;
}

void complainOf(const std::exception &problem) noexcept
{
    complain(dynamic_cast<const std::bad_alloc *>(&problem) ? outOfMemory : problem.what());
}

void tellComplaints() noexcept
{
    const auto isUnsafe = [](char byte) { return byte < ' ' || byte > '~'; };
    for (std::string &line : complaints.lines) {
        try {
            line = toDisplay(printable(line));
        } catch (const std::exception &) { // without memory, a byte is all that can be looked at
            std::ranges::replace_if(line, isUnsafe, '?');
        }
        fprintf(stderr, "%s: %s\n", program_invocation_short_name, line.c_str());
    }
    if (complaints.hasLost)
        fprintf(stderr, "%s: %s\n", program_invocation_short_name, outOfMemory);
    complaints.lines.clear();
    complaints.hasLost = false;
}

} // namespace yat
