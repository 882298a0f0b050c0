// SPDX-License-Identifier: GPL-2.0-or-later
#include "terminal/environment.h"

#include <cstdlib>
#include <newt.h>
#include <optional>
#include <string>
#include <string_view>

static std::string realType; // of the terminal while it is disguised

namespace {

// Takes a variable out of the environment for as long as it lives.
struct Hidden {
    const char *name;
    std::optional<std::string> value;

    Hidden(const char *variable) : name(variable)
    {
        if (const char *given = secure_getenv(name))
            value = given;
        unsetenv(name);
    }
    ~Hidden()
    {
        if (value)
            setenv(name, value->c_str(), 1);
    }
    Hidden(const Hidden &) = delete;
    Hidden &operator=(const Hidden &) = delete;
};

} // namespace

// newt has a switch of its own for a screen without colours. It is set only while newt looks, so
// that no child of the program sees it.
void startNewt()
{
    const char *noColour = secure_getenv("NO_COLOR");
    const bool switches = noColour && *noColour && !secure_getenv("NEWT_MONO");
    // The colours are the program's own, and newt would wait for ever for a file that is a FIFO.
    const Hidden colours[] = {"NEWT_COLORS", "NEWT_COLORS_FILE"};
    if (switches)
        setenv("NEWT_MONO", "1", 1);
    newtInit();
    if (switches)
        unsetenv("NEWT_MONO");
    disguiseTerminal();
}

void disguiseTerminal()
{
    const char *type = secure_getenv("TERM");
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
