// SPDX-License-Identifier: GPL-2.0-or-later
#include "terminal/check.h"

#include "yat/export.h"

#include <cstdlib>
#include <langinfo.h>
#include <slang.h>
#include <string_view>
#include <unistd.h>

namespace {

constexpr int fewestColumns = 40;
constexpr int fewestRows = 12;

} // namespace

std::string terminalFault(const std::string &data)
{
    if (!isatty(STDIN_FILENO) || !isatty(STDOUT_FILENO))
        return std::string("standard ") + (isatty(STDIN_FILENO) ? "output" : "input")
               + " is not a terminal; run the program in a terminal, or with -debug to print "
               + data;
    const char *type = secure_getenv("TERM");
    if (!type || !*type)
        return "TERM is not set; set it to the type of this terminal";
    if (SLtt_initialize(nullptr) < 0)
        return std::string("a terminal of type '") + type
               + "' is unknown or can't place the cursor; set TERM to the type of this terminal";
    // S-Lang knows the characters of UTF-8 and else takes each byte for one: it would draw halves
    // of characters.
    if (const std::string_view encoding = nl_langinfo(CODESET);
        MB_CUR_MAX != 1 && encoding != "UTF-8")
        return "characters of the encoding " + std::string(encoding)
               + " are not supported; use a UTF-8 locale (LC_ALL) and a UTF-8 terminal";
    SLtt_get_screen_size();
    if (SLtt_Screen_Cols < fewestColumns || SLtt_Screen_Rows < fewestRows)
        return "the terminal has " + std::to_string(SLtt_Screen_Cols) + " columns and "
               + std::to_string(SLtt_Screen_Rows) + " rows; make it at least "
               + std::to_string(fewestColumns) + " by " + std::to_string(fewestRows);
    return "";
}

// newt has it read once more when it starts, which is after this; the program's definition comes
// before S-Lang's.
extern "C" YAT_API void SLtt_get_terminfo(void) {}
