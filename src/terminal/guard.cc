// Whatever ends the program, the terminal is restored first.
//
// A signal can come at any time, also while a platform operation takes its minutes. So its
// handler does all by itself, with calls that are allowed in one, out of what was prepared before:
// the terminal's modes as they were and the bytes that put its screen in order.
#include "terminal/terminal.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <initializer_list>
#include <iterator>
#include <newt.h>
#include <poll.h>
#include <slang.h>
#include <sys/ioctl.h>
#include <sys/klog.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr int requests[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};
constexpr int faults[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};

termios modes;         // of the terminal before newt changed them

// Bytes for the terminal.
struct Sequence {
    char bytes[256];
    size_t length;
};
Sequence restoring;    // leaves the screen
Sequence initialising; // undoes what a program may have left set

bool consoleOff;
void (*endProgram)();
bool guarding;
volatile sig_atomic_t lent; // a child has the terminal
struct sigaction former[NSIG];

int wakePipe[2] = {-1, -1};
winsize size; // when it was last looked at

// Writes without waiting for ever for a terminal that takes nothing any more.
void writeToTerminal(const char *bytes, size_t length)
{
    const int flags = fcntl(STDOUT_FILENO, F_GETFL);
    fcntl(STDOUT_FILENO, F_SETFL, flags | O_NONBLOCK);
    pollfd terminal{.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
    while (length > 0 && poll(&terminal, 1, 200) == 1) {
        const ssize_t written = write(STDOUT_FILENO, bytes, length);
        if (written <= 0)
            break;
        bytes += written;
        length -= static_cast<size_t>(written);
    }
    fcntl(STDOUT_FILENO, F_SETFL, flags);
}

void restoreTerminal()
{
    tcsetattr(STDIN_FILENO, TCSANOW, &modes);
    writeToTerminal(restoring.bytes, restoring.length);
}

void restoreConsole()
{
    if (consoleOff)
        klogctl(8, nullptr, 6);
}

// All signals are blocked in here. When it returns, the former disposition meets the same signal
// again: a fault because the faulty instruction runs once more, any other because it is raised.
void restoreAndDie(int signal, siginfo_t *info, void *)
{
    if (!lent)
        restoreTerminal();
    restoreConsole();
    sigaction(signal, &former[signal], nullptr);
    const bool happensAgain = info->si_code > 0 && signal != SIGABRT
                              && std::find(std::begin(faults), std::end(faults), signal)
                                     != std::end(faults);
    if (!happensAgain)
        raise(signal);
}

void handle(int signal, void (*handler)(int, siginfo_t *, void *))
{
    sigaction(signal, nullptr, &former[signal]);
    if (former[signal].sa_handler == SIG_IGN)
        return; // whoever started the program wants it to go on, as nohup does
    struct sigaction action = {};
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigfillset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

Sequence capabilities(std::initializer_list<const char *> names)
{
    Sequence result{};
    for (const char *name : names) {
        const char *bytes = SLtt_tgetstr(const_cast<char *>(name));
        const size_t length = bytes ? strlen(bytes) : 0;
        if (length + 1 < sizeof result.bytes - result.length) { // room for one more
            memcpy(result.bytes + result.length, bytes ? bytes : "", length);
            result.length += length;
        }
    }
    return result;
}

// A stack of their own for the handlers, for the case that the program's is used up.
void provideStack()
{
    static char stack[65536];
    const stack_t alternate = {.ss_sp = stack, .ss_flags = 0, .ss_size = sizeof stack};
    sigaltstack(&alternate, nullptr);
}

winsize terminalSize()
{
    winsize now{};
    ioctl(STDOUT_FILENO, TIOCGWINSZ, &now);
    return now;
}

void noteResize(int)
{
    const int savedErrno = errno;
    const ssize_t ignored = write(wakePipe[1], "", 1); // a full pipe has woken already
    static_cast<void>(ignored);
    errno = savedErrno;
}

// S-Lang ends the program by itself when it can't read the terminal any more. It must not get
// that far: its exit status would be another.
void endOnReadError(char *, va_list)
{
    endWithoutTerminal();
}

} // namespace

void guardTerminal(bool consoleIsOff, void (*end)())
{
    tcgetattr(STDIN_FILENO, &modes);
    consoleOff = consoleIsOff;
    endProgram = end;
    // Attributes and line drawing off, screen cleared, keypad off, cursor on, screen left.
    restoring = capabilities({"me", "ae", "cl", "ke", "ve", "te"});
    // Attributes and line drawing off, the terminal's own initialisation.
    initialising = capabilities({"me", "ae", "is"});
    constexpr char shiftIn = '\x0f'; // the first character set, which terminfo does not tell of
    initialising.bytes[initialising.length++] = shiftIn;
    provideStack();
    for (const int signal : requests)
        handle(signal, restoreAndDie);
    for (const int signal : faults)
        handle(signal, restoreAndDie);
    SLang_Exit_Error_Hook = endOnReadError;
    guarding = true;
}

void releaseTerminal()
{
    if (!guarding)
        return;
    for (const int signal : requests)
        sigaction(signal, &former[signal], nullptr);
    for (const int signal : faults)
        sigaction(signal, &former[signal], nullptr);
    guarding = false;
}

void lendTerminal()
{
    newtSuspend();
    undisguiseTerminal();
    lent = 1;
}

void reclaimTerminal()
{
    lent = 0;
    // The child may have made another process group the terminal's, and then this one would be
    // stopped for what follows.
    sigset_t output, before;
    sigemptyset(&output);
    sigaddset(&output, SIGTTOU);
    sigprocmask(SIG_BLOCK, &output, &before);
    tcsetpgrp(STDIN_FILENO, getpgrp());
    tcsetattr(STDIN_FILENO, TCSADRAIN, &modes);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    tcflush(STDIN_FILENO, TCIFLUSH);
    writeToTerminal(initialising.bytes, initialising.length);
    disguiseTerminal();
    newtResume();
}

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
        noteResize(SIGWINCH); // it changed while nobody watched
}

int resizeDescriptor()
{
    return wakePipe[0];
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

void endWithoutTerminal()
{
    if (endProgram)
        endProgram();
    exit(0);
}
