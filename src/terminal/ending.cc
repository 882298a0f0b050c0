// SPDX-License-Identifier: GPL-2.0-or-later
// A signal can come at any time, also while a platform operation takes its minutes. So its
// handler does all by itself, with calls that are allowed in one, out of what was prepared before.
#include "terminal/ending.h"

#include "terminal/console.h"
#include "terminal/lending.h"
#include "terminal/restore.h"
#include "terminal/stopping.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <iterator>
#include <new>
#include <slang.h>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr int faults[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};

// Those that do not end a process, or can't be handled, or are somebody else's here.
constexpr int harmless[] = {SIGKILL, SIGSTOP, SIGTSTP, SIGTTIN, SIGTTOU,
                            SIGCONT, SIGCHLD, SIGURG,  SIGWINCH};

void (*endProgram)();
bool guarding; // the terminal as well as the signals
struct sigaction former[NSIG];

void leaveTerminal()
{
    if (guarding && !terminalIsLent && isInForeground())
        restoreTerminal();
    restoreConsole();
}

// Also before the program's name is known to be one that a terminal can show; at once, or the echo
// of a key could come in between.
void say(std::string_view text)
{
    char line[1024], *end = line; // three parts of NAME_MAX, and more
    const auto isUnsafe = [](char byte) { return byte < ' ' || byte > '~'; };
    for (const std::string_view part :
         {std::string_view(program_invocation_short_name), std::string_view(": "), text})
        end = std::ranges::replace_copy_if(part.substr(0, NAME_MAX), end, isUnsafe, '?').out;
    *end++ = '\n';
    const ssize_t ignored = write(STDERR_FILENO, line, static_cast<size_t>(end - line));
    static_cast<void>(ignored);
}

constexpr std::string_view outOfMemory = "out of memory";

// newt does not look whether it got the memory that it asked for, and meets a fault then.
bool hasMemory()
{
    constexpr size_t little = 1 << 20;
    void *memory =
        mmap(nullptr, little, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory != MAP_FAILED && munmap(memory, little) == 0;
}

void endWithoutMemory()
{
    endAtOnce(outOfMemory);
}

// All signals are blocked in here. When it returns, the former disposition meets the same signal
// again: a fault because the faulty instruction runs once more, any other because it is raised.
void restoreAndDie(int signal, siginfo_t *info, void *)
{
    leaveTerminal();
    sigaction(signal, &former[signal], nullptr);
    const bool isFault = std::ranges::find(faults, signal) != std::end(faults);
    if ((isFault || signal == SIGABRT) && !hasMemory())
        say(outOfMemory);
    const bool happensAgain = isFault && info->si_code > 0;
    if (!happensAgain)
        raise(signal);
}

void handle(int signal, void (*handler)(int, siginfo_t *, void *))
{
    struct sigaction action = {};
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigfillset(&action.sa_mask);
    sigaction(signal, &action, &former[signal]);
    if (former[signal].sa_handler == SIG_IGN) // whoever started the program wants it to go on,
        sigaction(signal, &former[signal], nullptr); // as nohup does
}

// Writing beyond the limit for file sizes then fails, which is reported where it matters, instead
// of ending the program. Children do not inherit this.
void goOn(int, siginfo_t *, void *) {}

bool isHandled(int signal)
{
    return std::ranges::find(harmless, signal) == std::end(harmless);
}

// A library that the program calls can end it as well.
void restoreAtExit()
{
    if (guarding)
        leaveTerminal();
}

// A stack of their own for the handlers, for the case that the program's is used up.
void provideStack()
{
    static char stack[65536];
    const stack_t alternate = {.ss_sp = stack, .ss_flags = 0, .ss_size = sizeof stack};
    sigaltstack(&alternate, nullptr);
}

// S-Lang ends the program by itself when it can't read the terminal any more. It must not get
// that far: its exit status would be another.
void endOnReadError(char *, va_list)
{
    endWithoutTerminal();
}

} // namespace

void watchSignals()
{
    std::set_new_handler(endWithoutMemory);
    provideStack();
    for (int signal = 1; signal < NSIG; ++signal)
        if (isHandled(signal))
            handle(signal, signal == SIGXFSZ ? goOn : restoreAndDie);
}

void guardTerminal(void (*end)())
{
    rememberTerminal();
    endProgram = end;
    atexit(restoreAtExit);
    SLang_Exit_Error_Hook = endOnReadError;
    guarding = true;
}

void releaseTerminal()
{
    guarding = false;
}

void endAtOnce(std::string_view why)
{
    leaveTerminal();
    say(why);
    _exit(0);
}

void endWithoutTerminal()
{
    if (endProgram)
        endProgram();
    exit(0);
}
