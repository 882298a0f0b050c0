// SPDX-License-Identifier: GPL-2.0-or-later
#include "terminal/size.h"

#include "yat/export.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <dlfcn.h>
#include <fcntl.h>
#include <slang.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

int wakePipe[2] = {-1, -1};
winsize size; // when it was last looked at

winsize terminalSize()
{
    winsize now{};
    ioctl(STDOUT_FILENO, TIOCGWINSZ, &now);
    return now;
}

void noteResize(int)
{
    const int savedErrno = errno;
    requestDrawing();
    errno = savedErrno;
}

} // namespace

void watchSize()
{
    if (wakePipe[0] < 0) {
        if (pipe2(wakePipe, O_NONBLOCK | O_CLOEXEC) != 0)
            return;
        size = terminalSize();
    }
    struct sigaction action = {};
    action.sa_handler = noteResize;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGWINCH, &action, nullptr);
    const winsize now = terminalSize();
    if (now.ws_row != size.ws_row || now.ws_col != size.ws_col)
        requestDrawing(); // it changed while nobody watched
}

void requestDrawing()
{
    const ssize_t ignored = write(wakePipe[1], "", 1); // a full pipe has woken already
    static_cast<void>(ignored);
}

int resizeDescriptor()
{
    return wakePipe[0];
}

bool terminalHasShrunk()
{
    const winsize now = terminalSize();
    return now.ws_row < size.ws_row || now.ws_col < size.ws_col;
}

bool resizePending()
{
    char bytes[64];
    bool pending = false;
    while (read(wakePipe[0], bytes, sizeof bytes) > 0)
        pending = true;
    size = terminalSize();
    return pending;
}

// For newt and the program, this comes before the function of S-Lang's, which takes any size: the
// memory of a screen of 20,000 by 20,000 characters is more than most machines have.
extern "C" YAT_API void SLtt_get_screen_size(void)
{
    using GetSize = void();
    static GetSize *const original =
        reinterpret_cast<GetSize *>(dlsym(RTLD_NEXT, "SLtt_get_screen_size"));
    constexpr int most = 1000;
    original();
    SLtt_Screen_Rows = std::min(SLtt_Screen_Rows, most);
    SLtt_Screen_Cols = std::min(SLtt_Screen_Cols, most);
}
