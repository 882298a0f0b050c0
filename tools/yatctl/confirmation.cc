// SPDX-License-Identifier: GPL-2.0-or-later
#include "yatctl/confirmation.h"

#include "base/display.h"
#include "text/encoding.h"
#include "yatctl/failure.h"

#include <cctype>
#include <cstdio>
#include <unistd.h>

namespace yatctl {

void confirm(const Request &request, const std::string &what)
{
    if (request.yes)
        return;
    if (!isatty(STDIN_FILENO) || !isatty(STDERR_FILENO))
        throw Failure(usage, "there is no terminal to ask on; use --yes to do it without asking");
    fprintf(stderr, "%s? [y/N] ", showable(yat::toDisplay(what)).c_str());
    std::string answer;
    int typed;
    while ((typed = getchar()) != '\n' && typed != EOF)
        answer += static_cast<char>(tolower(typed));
    if (typed == EOF || (answer != "y" && answer != "yes"))
        throw Failure(failed, "not confirmed; nothing was done");
}

} // namespace yatctl
