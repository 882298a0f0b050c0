// SPDX-License-Identifier: GPL-2.0-or-later
#include "common/caller.h"

#include <pwd.h>
#include <unistd.h>

namespace yat {

Caller thisCaller()
{
    const passwd *user = getpwuid(getuid());
    const char *terminal = nullptr;
    for (int file = STDIN_FILENO; file <= STDERR_FILENO && !terminal; ++file)
        terminal = ttyname(file);
    return {.user = user ? user->pw_name : std::to_string(getuid()),
            .terminal = terminal ? terminal : ""};
}

} // namespace yat
