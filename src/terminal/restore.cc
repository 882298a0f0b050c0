// SPDX-License-Identifier: GPL-2.0-or-later
#include "terminal/restore.h"

#include "terminal/stopping.h"
#include "yat/export.h"

#include <csignal>
#include <dlfcn.h>
#include <fcntl.h>
#include <initializer_list>
#include <poll.h>
#include <slang.h>
#include <string_view>
#include <termios.h>
#include <unistd.h>

namespace {

termios modes, modesOfNewt;

// Bytes for the terminal.
struct Sequence {
    char bytes[256];
    size_t length;

    operator std::string_view() const
    {
        return {bytes, length};
    }
};
Sequence restoring;           // leaves the screen
Sequence entering, preparing; // the screen, and what newt has on there
Sequence marking, unmarking;
Sequence hidingCursor, showingCursor;
Sequence initialising; // undoes what a program may have left set

volatile sig_atomic_t hasLeft; // the screen
volatile sig_atomic_t cursorIsHidden;

void append(Sequence &sequence, std::string_view bytes)
{
    if (bytes.size() > sizeof sequence.bytes - sequence.length)
        return;
    bytes.copy(sequence.bytes + sequence.length, bytes.size());
    sequence.length += bytes.size();
}

std::string_view capability(const char *name)
{
    const char *bytes = SLtt_tgetstr(const_cast<char *>(name));
    return bytes ? bytes : "";
}

Sequence capabilities(std::initializer_list<const char *> names)
{
    Sequence result{};
    for (const char *name : names)
        append(result, capability(name));
    return result;
}

// Has the terminal mark what is pasted, or stop doing so. terminfo has no entry for this; terminals
// with ANSI sequences ignore it if they can't.
void appendMarking(Sequence &sequence, bool wanted)
{
    if (capability("cl").starts_with("\x1b["))
        append(sequence, wanted ? "\x1b[?2004h" : "\x1b[?2004l");
}

} // namespace

bool writeToTerminal(std::string_view bytes)
{
    // The flags are the shell's as well: a handler that comes in between would write with those of
    // the moment, and stop or end the program with them.
    sigset_t all, before;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, &before);
    const int flags = fcntl(STDOUT_FILENO, F_GETFL);
    fcntl(STDOUT_FILENO, F_SETFL, flags | O_NONBLOCK);
    pollfd terminal{.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
    while (!bytes.empty() && poll(&terminal, 1, 200) == 1) {
        const ssize_t written = write(STDOUT_FILENO, bytes.data(), bytes.size());
        if (written <= 0)
            break;
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    fcntl(STDOUT_FILENO, F_SETFL, flags);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return bytes.empty();
}

void rememberTerminal()
{
    tcgetattr(STDIN_FILENO, &modes);
    // Attributes and line drawing off, screen cleared, keypad off, screen left, cursor on.
    restoring = capabilities({"me", "ae", "cl", "ke", "te", "ve"});
    entering = capabilities({"ti"});
    preparing = capabilities({"ks", "eA"}); // keypad and line drawing
    appendMarking(restoring, false);
    appendMarking(preparing, true);
    appendMarking(marking, true);
    appendMarking(unmarking, false);
    hidingCursor = capabilities({"vi"});
    showingCursor = capabilities({"ve"});
    // Attributes and line drawing off, the terminal's own initialisation.
    initialising = capabilities({"me", "ae", "is"});
    append(initialising, "\x0f"); // the first character set, which terminfo does not tell of
}

void rememberScreen()
{
    tcgetattr(STDIN_FILENO, &modesOfNewt);
}

void markPastes()
{
    writeToTerminal(marking);
}

void unmarkPastes()
{
    writeToTerminal(unmarking);
}

void showCursor()
{
    writeToTerminal(showingCursor);
}

void enterScreen()
{
    tcsetattr(STDIN_FILENO, TCSANOW, &modesOfNewt);
    if (hasLeft) // a terminal that is told twice forgets where its cursor was before
        writeToTerminal(entering);
    hasLeft = 0;
    writeToTerminal(preparing);
    if (cursorIsHidden)
        writeToTerminal(hidingCursor);
}

void restoreTerminal()
{
    tcflush(STDIN_FILENO, TCIFLUSH);
    tcsetattr(STDIN_FILENO, TCSANOW, &modes);
    writeToTerminal(restoring);
    hasLeft = 1;
}

void dropTyped()
{
    if (isInForeground())
        tcflush(STDIN_FILENO, TCIFLUSH);
}

void resetTerminal()
{
    tcsetpgrp(STDIN_FILENO, getpgrp());
    tcsetattr(STDIN_FILENO, TCSADRAIN, &modes);
    tcflush(STDIN_FILENO, TCIFLUSH);
    writeToTerminal(initialising);
}

// newt shows and hides the cursor with this, and does not tell. The program's definition comes
// before S-Lang's.
extern "C" YAT_API int SLtt_set_cursor_visibility(int show)
{
    using Set = int(int);
    static Set *const original =
        reinterpret_cast<Set *>(dlsym(RTLD_NEXT, "SLtt_set_cursor_visibility"));
    cursorIsHidden = !show;
    return original(show);
}
