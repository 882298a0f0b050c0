// SPDX-License-Identifier: GPL-2.0-or-later
#include "dying.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <fcntl.h>
#include <sqlite3.h>
#include <stdexcept>
#include <unistd.h>

namespace {

int callsLeft;  // until this process is killed; 0: it is not
int whenInCall; // 0 before it, 1 in the middle of it, 2 after it
int writesLeft; // until the disk is full
int fullWrites;

void die()
{
    raise(SIGKILL);
}

// True when the process is to die by this call.
bool isLastCall()
{
    return callsLeft > 0 && --callsLeft == 0;
}

ssize_t dyingWrite(int file, const void *bytes, size_t size, off_t at)
{
    if (fullWrites > 0 && --writesLeft <= 0) {
        --fullWrites;
        errno = ENOSPC;
        return -1;
    }
    const bool isLast = isLastCall();
    if (isLast && whenInCall == 0)
        die();
    const ssize_t written = pwrite(file, bytes, isLast && whenInCall == 1 ? size / 2 : size, at);
    if (isLast)
        die();
    return written;
}

template <auto call, class... Arguments> int dying(Arguments... arguments)
{
    const bool isLast = isLastCall();
    if (isLast && whenInCall == 0)
        die();
    const int result = call(arguments...);
    if (isLast)
        die();
    return result;
}

int callFcntl(int file, int command, void *argument)
{
    return fcntl(file, command, argument);
}

// Locks.
int dyingControl(int file, int command, ...)
{
    va_list arguments;
    va_start(arguments, command);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    return dying<callFcntl>(file, command, argument);
}

template <class Function> void replace(const char *name, Function *function)
{
    sqlite3_vfs *system = sqlite3_vfs_find(nullptr);
    if (system->xSetSystemCall(system, name, reinterpret_cast<sqlite3_syscall_ptr>(function))
        != SQLITE_OK)
        throw std::runtime_error(name);
}

void replaceCalls()
{
    replace("pwrite", dyingWrite);
    replace("pwrite64", dyingWrite);
    replace("ftruncate", dying<ftruncate, int, off_t>);
    replace("unlink", dying<unlink, const char *>);
    replace("fcntl", dyingControl);
}

} // namespace

void dieAtCall(int number)
{
    dieAtCall(number, number % 3);
}

void dieAtCall(int number, int moment)
{
    replaceCalls();
    callsLeft = number;
    whenInCall = moment;
}

void fillDiskAtWrite(int number, int writes)
{
    replaceCalls();
    writesLeft = number;
    fullWrites = writes;
}
