// The keys, before newt sees them.
//
// newt reads its keys with SLang_getkey, and the program's definition of that name comes before
// S-Lang's. Two things are done here that newt leaves no other place for.
//
// newt takes Ctrl-A for the Home key before it looks at hot keys, so a hot key of code 1 would
// never fire. A key beyond a byte passes its key map; cut to a byte again it is 1.
//
// And newt goes on reading a terminal that is gone.
#include "dialogs/window.h"
#include "terminal/terminal.h"

#include <dlfcn.h>
#include <poll.h>
#include <slang.h>
#include <unistd.h>

namespace {

constexpr unsigned int ctrlA = 0x01;
constexpr unsigned int ctrlABeyondKeyMap = 0x101;

// Waits for a key or for the end of the terminal.
bool terminalIsGone()
{
    pollfd input{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
    return poll(&input, 1, -1) == 1 && (input.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

} // namespace

extern "C" __attribute__((visibility("default"))) unsigned int SLang_getkey(void)
{
    using GetKey = unsigned int();
    static GetKey *const original = reinterpret_cast<GetKey *>(dlsym(RTLD_NEXT, "SLang_getkey"));

    constexpr int mostFailures = 100; // a read can fail for a signal, but not for ever
    for (int failures = 0; failures < mostFailures; ++failures) {
        const unsigned int key = original();
        if (key == ctrlA && ctrlAIsHotKey())
            return ctrlABeyondKeyMap;
        if (key != SLANG_GETKEY_ERROR)
            return key;
        if (terminalIsGone())
            break;
    }
    endWithoutTerminal();
}
