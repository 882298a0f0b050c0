#include "terminal/terminal.h"

#include <cstdlib>
#include <slang.h>
#include <string>
#include <string_view>
#include <unistd.h>

namespace {

constexpr int fewestColumns = 40;
constexpr int fewestRows = 12;

bool setForUs;        // NEWT_MONO was set here, not by the user
std::string realType; // of the terminal while it is disguised

bool isSet(const char *name)
{
    const char *value = getenv(name);
    return value && *value;
}

} // namespace

std::string terminalFault()
{
    if (!isatty(STDIN_FILENO) || !isatty(STDOUT_FILENO))
        return std::string("standard ") + (isatty(STDIN_FILENO) ? "output" : "input")
               + " is no terminal; run it in a terminal, or with -debug to print the device data";
    const char *type = getenv("TERM");
    if (!type || !*type)
        return "TERM is not set; set it to the type of this terminal";
    if (SLtt_initialize(nullptr) < 0)
        return std::string("a terminal of type '") + type
               + "' is unknown or can't place the cursor; set TERM to the type of this terminal";
    SLtt_get_screen_size();
    if (SLtt_Screen_Cols < fewestColumns || SLtt_Screen_Rows < fewestRows)
        return "the terminal has " + std::to_string(SLtt_Screen_Cols) + " columns and "
               + std::to_string(SLtt_Screen_Rows) + " rows; make it at least "
               + std::to_string(fewestColumns) + " by " + std::to_string(fewestRows);
    return "";
}

// newt has a switch of its own for a screen without colours. It is set only while newt looks, so
// that no child of the program sees it.
void beginColourChoice()
{
    setForUs = isSet("NO_COLOR") && !getenv("NEWT_MONO");
    if (setForUs)
        setenv("NEWT_MONO", "1", 1);
}

void endColourChoice()
{
    if (setForUs)
        unsetenv("NEWT_MONO");
    setForUs = false;
}

void disguiseTerminal()
{
    const char *type = getenv("TERM");
    if (!type || !std::string_view(type).starts_with("xterm"))
        return;
    realType = type;
    setenv("TERM", "vt100", 1);
}

void undisguiseTerminal()
{
    if (!realType.empty())
        setenv("TERM", realType.c_str(), 1);
    realType.clear();
}
