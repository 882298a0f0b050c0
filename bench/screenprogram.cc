// SPDX-License-Identifier: GPL-2.0-or-later
#include "screenprogram.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int deadline = 30000; // milliseconds
constexpr int quiet = 30;       // milliseconds without output that make a screen complete

[[noreturn]] void become(const ScreenProgram &program, bool traced)
{
    std::vector<char *> arguments;
    for (const std::string &argument : program.command)
        arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);
    for (const std::string &variable : program.environment)
        putenv(const_cast<char *>(variable.c_str()));
    if (traced)
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

// A program in a terminal of its own. It does not outlive this.
class Running {
public:
    Running(const ScreenProgram &program, bool traced) : program(program)
    {
        winsize size{.ws_row = 24, .ws_col = 80, .ws_xpixel = 0, .ws_ypixel = 0};
        process = forkpty(&terminal, nullptr, nullptr, &size);
        if (process == 0)
            become(program, traced);
        if (process < 0)
            throw std::runtime_error("there is no terminal for " + program.name);
    }
    ~Running()
    {
        if (process > 0) {
            kill(process, SIGKILL);
            waitpid(process, nullptr, 0);
        }
        close(terminal);
    }
    Running(const Running &) = delete;
    Running &operator=(const Running &) = delete;

    // Reads what the program has written, waiting so many milliseconds for it. False for nothing.
    bool read(int milliseconds)
    {
        pollfd input{.fd = terminal, .events = POLLIN, .revents = 0};
        char bytes[65536];
        if (poll(&input, 1, milliseconds) <= 0)
            return false;
        const ssize_t count = ::read(terminal, bytes, sizeof bytes);
        if (count <= 0)
            return false;
        output.append(bytes, static_cast<size_t>(count));
        return true;
    }

    bool isShown(const std::string &text) const
    {
        return output.find(text) != std::string::npos;
    }

    // Reads a whole screen with that text in it. When its last byte came.
    Clock::time_point awaitScreen(const std::string &text)
    {
        Clock::time_point last = Clock::now();
        while (read(isShown(text) ? quiet : deadline))
            last = Clock::now();
        if (!isShown(text))
            throw std::runtime_error(program.name + " did not show " + text);
        return last;
    }

    bool send(const std::string &keys)
    {
        output.clear();
        return write(terminal, keys.data(), keys.size()) == static_cast<ssize_t>(keys.size());
    }

    void end()
    {
        const bool sent = send({program.endKey});
        while (sent && read(deadline))
            ;
        int status = 0;
        const bool ended = sent && waitpid(process, &status, 0) == process;
        process = ended ? 0 : process;
        if (!ended || !WIFEXITED(status) || WEXITSTATUS(status) != program.endStatus)
            throw std::runtime_error(program.name + " did not end as it should");
    }

    const ScreenProgram &program;
    pid_t process = 0;
    int terminal = -1;
    std::string output;
};

double memory(pid_t process, const std::string &kind)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/smaps_rollup");
    for (std::string word; file >> word;)
        if (double kibibytes; word == kind && file >> kibibytes)
            return kibibytes;
    throw std::runtime_error("/proc tells no memory of a process");
}

} // namespace

Start start(const ScreenProgram &program)
{
    const Clock::time_point begin = Clock::now();
    Running running(program, false);
    const Clock::time_point last = running.awaitScreen(program.shows);
    const Start result{.seconds = std::chrono::duration<double>(last - begin).count(),
                       .resident = memory(running.process, "Rss:"),
                       .proportional = memory(running.process, "Pss:")};
    running.end();
    return result;
}

Start press(const ScreenProgram &program, const std::vector<std::string> &keys,
            const std::string &shows)
{
    Running running(program, false);
    running.awaitScreen(program.shows);
    Clock::time_point begin;
    for (const std::string &key : keys) {
        while (running.read(quiet))
            ;
        begin = Clock::now();
        running.send(key);
    }
    const Clock::time_point last = running.awaitScreen(shows);
    return {.seconds = std::chrono::duration<double>(last - begin).count()};
}

long systemCalls(const ScreenProgram &program)
{
    sigset_t child;
    sigemptyset(&child);
    sigaddset(&child, SIGCHLD);
    sigprocmask(SIG_BLOCK, &child, nullptr);
    Running running(program, true);
    long stops = 0;
    // It stops at the beginning and at the end of each call; one that it waits in ends no more.
    for (timespec patience{.tv_sec = deadline / 1000, .tv_nsec = 0};;) {
        int status;
        if (waitpid(running.process, &status, WNOHANG) == running.process) {
            if (!WIFSTOPPED(status))
                throw std::runtime_error(program.name + " ended while it was watched");
            ++stops;
            ptrace(PTRACE_SYSCALL, running.process, nullptr, nullptr);
        } else if (running.read(0)) {
            if (running.isShown(program.shows))
                patience = {.tv_sec = 0, .tv_nsec = 200'000'000};
        } else if (sigtimedwait(&child, nullptr, &patience) < 0) {
            break;
        }
    }
    sigprocmask(SIG_UNBLOCK, &child, nullptr);
    if (!running.isShown(program.shows))
        throw std::runtime_error(program.name + " did not show its screen");
    return stops / 2;
}
