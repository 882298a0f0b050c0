// SPDX-License-Identifier: GPL-2.0-or-later
// What the program asks newt for, recorded when YAT_SPY_MORE has "screen" in it.
#include "calls.h"
#include "forms.h"
#include "script.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <map>
#include <newt.h>
#include <sys/select.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

// The windows that are open, the top one last, and what belongs to which.
std::vector<std::string> titles;
std::map<newtComponent, std::string> titlesOfForms;
std::map<newtGrid, std::string> titlesOfGrids;

bool refreshing; // some calls end in a jump to newtRefresh, which leaves no return address of newt

// Where a rule holds the program, the test sees that it has come there.
void holdAt(const char *call)
{
    if (const Rule *rule = ruleFor(call)) {
        record(std::string(call) + "() is held");
        waitFor(*rule);
    }
}

struct Held {
    const char *call;
    ~Held()
    {
        holdAt(call);
    }
};

// Where these counts are wanted, a copy of the program that sees neither terminal nor the test ends
// as the C library would have it.
void writeCounts()
{
    if (!getenv("YAT_COUNTS"))
        return;
    const pid_t copy = fork();
    if (copy > 0)
        waitpid(copy, nullptr, 0);
    if (copy != 0)
        return;
    sigset_t others;
    sigfillset(&others);
    sigdelset(&others, SIGALRM);
    sigprocmask(SIG_SETMASK, &others, nullptr);
    signal(SIGALRM, SIG_DFL);
    alarm(5); // whatever it waits for, the program does not
    for (const char *name : {"YAT_COUNTS", "YAT_SPY_LOG"})
        unsetenv(name);
    const int nowhere = open("/dev/null", O_RDWR);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        dup2(nowhere, standard);
    exit(0);
}

} // namespace

bool isInNewt(void *address)
{
    Dl_info info;
    return dladdr(address, &info) && strstr(info.dli_fname, "libnewt");
}

// What newt asks itself for is its own business.
#define IS_OF_THE_PROGRAM                                                                          \
    (records("screen") && !refreshing && !isInNewt(__builtin_return_address(0)))

#pragma GCC visibility push(default)
extern "C" {

// The calls that are nothing but recorded. A rule for one holds the program behind it.
#define CALL(result, name, parameters, arguments)                                                  \
    result name parameters                                                                         \
    {                                                                                              \
        if (IS_OF_THE_PROGRAM)                                                                     \
            record(#name "(" + list arguments + ")");                                              \
        const Held held{#name};                                                                    \
        return real<decltype(name)>(#name) arguments;                                              \
    }
CALL(int, newtFinished, (), ())
CALL(int, newtInit, (), ())
CALL(void, newtPushHelpLine, (const char *text), (text))
CALL(void, newtRefresh, (), ())
CALL(int, newtResume, (), ())
CALL(void, newtSuspend, (), ())
CALL(void, newtTrashScreen, (), ())

// The program's ends without those of the C library, which leave no counts of the lines that ran.
int raise(int signal)
{
    if (IS_OF_THE_PROGRAM)
        record("raise(" + shown(signal) + ")");
    if (signal != SIGTSTP && signal != SIGTTIN && signal != SIGTTOU)
        writeCounts();
    return real<decltype(raise)>("raise")(signal);
}

void _exit(int status)
{
    writeCounts();
    real<decltype(_exit)>("_exit")(status);
    __builtin_unreachable();
}

// What the system refuses by a rule.
#define REFUSABLE(name, parameters, arguments, fault)                                              \
    int name parameters                                                                            \
    {                                                                                              \
        if (!ruleFor(#name))                                                                       \
            return real<decltype(name)>(#name) arguments;                                          \
        errno = fault;                                                                             \
        return -1;                                                                                 \
    }
REFUSABLE(pipe2, (int *ends, int flags), (ends, flags), EMFILE)
REFUSABLE(timer_create, (clockid_t clock, sigevent *event, timer_t *timer), (clock, event, timer),
          EAGAIN)

// By a rule, another newt than the one that the program knows.
void newtComponentGetSize(newtComponent component, int *width, int *height)
{
    real<decltype(newtComponentGetSize)>("newtComponentGetSize")(component, width, height);
    if (ruleFor("newtComponentGetSize"))
        ++*width;
}

// newt has found a key in the terminal.
int select(int count, fd_set *reading, fd_set *writing, fd_set *failing, timeval *limit)
{
    const int ready = real<decltype(select)>("select")(count, reading, writing, failing, limit);
    if (ready > 0 && isInNewt(__builtin_return_address(0)) && FD_ISSET(STDIN_FILENO, reading))
        holdAt("select");
    return ready;
}

// The program reads a key.
ssize_t read(int descriptor, void *bytes, size_t count)
{
    if (count == 1 && isatty(descriptor))
        holdAt("read");
    return real<decltype(read)>("read")(descriptor, bytes, count);
}

// The program is in the background.
pid_t tcgetpgrp(int descriptor)
{
    const pid_t group = real<decltype(tcgetpgrp)>("tcgetpgrp")(descriptor);
    if (group > 0 && group != getpgrp())
        holdAt("tcgetpgrp");
    return group;
}

void newtCls(void)
{
    if (IS_OF_THE_PROGRAM)
        record("newtCls()");
    const Held held{"newtCls"};
    refreshing = true;
    real<decltype(newtCls)>("newtCls")();
    refreshing = false;
}

void newtPopWindow(void)
{
    if (IS_OF_THE_PROGRAM) {
        record("newtPopWindow()");
        titles.pop_back();
    }
    refreshing = true;
    real<decltype(newtPopWindow)>("newtPopWindow")();
    refreshing = false;
}

void newtGridWrappedWindow(newtGrid grid, char *title)
{
    if (IS_OF_THE_PROGRAM) {
        record("newtGridWrappedWindow(" + nameBefore(grid) + title + ")");
        titles.push_back(title);
        titlesOfGrids[grid] = title;
    }
    nameAnew();
    real<decltype(newtGridWrappedWindow)>("newtGridWrappedWindow")(grid, title);
}

void newtGridFree(newtGrid grid, int recurse)
{
    if (IS_OF_THE_PROGRAM)
        record("newtGridFree(" + titlesOfGrids[grid] + ", " + list(recurse) + ")");
    real<decltype(newtGridFree)>("newtGridFree")(grid, recurse);
}

void newtFormRun(newtComponent form, newtExitStruct *left)
{
    if (IS_OF_THE_PROGRAM && !titles.empty())
        titlesOfForms[form] = titles.back();
    recordRun();
    real<decltype(newtFormRun)>("newtFormRun")(form, left);
}

void newtDrawForm(newtComponent form)
{
    if (IS_OF_THE_PROGRAM)
        record("newtDrawForm(" + titlesOfForms[form] + ")");
    real<decltype(newtDrawForm)>("newtDrawForm")(form);
}

void newtSetColors(newtColors colours)
{
    if (IS_OF_THE_PROGRAM) {
        std::string names;
        const char *const *name = reinterpret_cast<const char *const *>(&colours);
        for (size_t i = 0; i < sizeof colours / sizeof *name; ++i)
            names += std::string(i ? " " : "") + name[i];
        record("newtSetColors(" + names + ")");
    }
    real<decltype(newtSetColors)>("newtSetColors")(colours);
}

void newtSetSuspendCallback(newtSuspendCallback callback, void *data)
{
    if (IS_OF_THE_PROGRAM)
        record("newtSetSuspendCallback()");
    real<decltype(newtSetSuspendCallback)>("newtSetSuspendCallback")(callback, data);
}

// With a rule for it, no component does.
void newtComponentTakesFocus(newtComponent component, int takes)
{
    if (!ruleFor("newtComponentTakesFocus"))
        real<decltype(newtComponentTakesFocus)>("newtComponentTakesFocus")(component, takes);
}

void newtDrawRootText(int column, int row, const char *text)
{
    if (IS_OF_THE_PROGRAM)
        record("newtDrawRootText(" + list(column, row) + ", \"" + text + "\")");
    real<decltype(newtDrawRootText)>("newtDrawRootText")(column, row, text);
}

} // extern "C"
#pragma GCC visibility pop
