// SPDX-License-Identifier: GPL-2.0-or-later
// A BMC for a virtual machine, played over the machine's ipmi-bmc-extern device:
//
//     playbmc SECONDS SOCKET COMMAND...
//
// starts the machine, waits for it to connect to SOCKET, a path, and plays the BMC until the
// machine ends, at most SECONDS long. Exit status: the machine's, 124 when its time was up, 125
// when it could not be started or a signal ended it. (An open socket handed over to QEMU 7.2 would
// be shorter, but there it connects too early for its own device, and crashes.)
//
// How the BMC answers Get Device ID is set from inside the machine, by a command of its own:
// network function 30h, command 01h, one byte out of Manner.
//
// On the wire a request is: sequence, network function and unit, command, data, checksum; the
// answer is the same with the completion code before its data. A0h ends a message, A1h one of the
// device itself (its version, a reset), which needs no answer; AAh stands before a byte of these
// three values, which then has bit 4 set.
#include "manner.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;
using Clock = std::chrono::steady_clock;

constexpr uint8_t messageEnd = 0xA0, deviceEnd = 0xA1, escape = 0xAA;
constexpr auto slowness = std::chrono::seconds(2);

// Device 21h, busy with something (bit 7 of the fourth byte), firmware 5.61.
const Bytes deviceId = {0x00, 0x21, 0x82, 0x85, 0x61, 0x02, 0xBF, 0xA0,
                        0xA1, 0xAA, 0x34, 0x12, 0x0A, 0x0B, 0x0C, 0x0D};

uint8_t sum(const Bytes &bytes)
{
    uint8_t result = 0;
    for (const uint8_t byte : bytes)
        result = static_cast<uint8_t>(result + byte);
    return result;
}

bool sendMessage(int machine, Bytes message)
{
    message.push_back(static_cast<uint8_t>(-sum(message)));
    Bytes wire;
    for (const uint8_t byte : message) {
        const bool special = byte == messageEnd || byte == deviceEnd || byte == escape;
        if (special)
            wire.push_back(escape);
        wire.push_back(special ? static_cast<uint8_t>(byte | 0x10) : byte);
    }
    wire.push_back(messageEnd);
    return send(machine, wire.data(), wire.size(), MSG_NOSIGNAL)
           == static_cast<ssize_t>(wire.size());
}

// What the manner makes of Get Device ID; nothing from a silent BMC.
Bytes answerDeviceId(Manner manner)
{
    switch (manner) {
    case Manner::prompt: return deviceId;
    case Manner::slow: std::this_thread::sleep_for(slowness); return deviceId;
    case Manner::silent: return {};
    case Manner::truncating: return {deviceId[0], deviceId[1]};
    case Manner::busy: return {0xC0};
    case Manner::brief: return {deviceId.begin(), deviceId.begin() + 5};
    case Manner::lengthy: {
        Bytes answer = deviceId;
        answer.resize(20, 0x99);
        return answer;
    }
    }
    return {0xFF};
}

// The BMC's answer to a request, from the completion code on.
Bytes answer(const Bytes &request, Manner &manner)
{
    const int function = request[1] >> 2, command = request[2];
    if (function == 0x06 && command == 0x01)
        return answerDeviceId(manner);
    if (function == mannerFunction && command == mannerCommand && request.size() == 5) {
        manner = static_cast<Manner>(request[3]);
        return {0x00};
    }
    return {0xC1};
}

bool serve(int machine, const Bytes &request, Manner &manner)
{
    if (request.size() < 4 || sum(request) != 0) {
        fprintf(stderr, "playbmc: a request of %zu bytes is damaged\n", request.size());
        return true;
    }
    const Bytes bytes = answer(request, manner);
    if (bytes.empty())
        return true;
    Bytes message = {request[0], static_cast<uint8_t>(request[1] | 0x04), request[2]};
    message.insert(message.end(), bytes.begin(), bytes.end());
    return sendMessage(machine, message);
}

// The bytes of one request after another, as they come in.
struct Request {
    Bytes bytes{};
    bool escaped = false;
};

// Takes what the machine sent. False when it hung up.
bool takeBytes(int machine, Request &request, Manner &manner)
{
    uint8_t bytes[256];
    const ssize_t count = read(machine, bytes, sizeof bytes);
    for (ssize_t i = 0; i < count; ++i) {
        if (bytes[i] == escape) {
            request.escaped = true;
        } else if (bytes[i] == messageEnd || bytes[i] == deviceEnd) {
            if (bytes[i] == messageEnd && !serve(machine, request.bytes, manner))
                return false;
            request = {};
        } else {
            request.bytes.push_back(request.escaped ? static_cast<uint8_t>(bytes[i] & ~0x10)
                                                    : bytes[i]);
            request.escaped = false;
        }
    }
    return count > 0;
}

// Plays until the machine's process ends or the time is up. False for the latter.
bool play(int listener, int process, Clock::time_point deadline)
{
    Manner manner = Manner::prompt;
    Request request;
    int machine = -1;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        const int peer = machine < 0 ? listener : machine;
        pollfd pollers[] = {{.fd = process, .events = POLLIN, .revents = 0},
                            {.fd = peer, .events = POLLIN, .revents = 0}};
        if (poll(pollers, 2, static_cast<int>(std::max<Clock::rep>(left.count(), 0))) <= 0)
            return false;
        if (pollers[0].revents)
            return true;
        if (machine < 0) {
            machine = accept(listener, nullptr, nullptr);
        } else if (!takeBytes(machine, request, manner)) {
            close(machine);
            machine = -1;
        }
    }
}

int listenAt(const char *path)
{
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    if (strlen(path) >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return -1;
    }
    strcpy(address.sun_path, path);
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0
        || listen(listener, 1) != 0)
        return -1;
    return listener;
}

// The machine's process. It doesn't outlive this one.
[[noreturn]] void become(char **command)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    execvp(command[0], command);
    fprintf(stderr, "playbmc: %s: %s\n", command[0], strerror(errno));
    _exit(125);
}

} // namespace

int main(int count, char **arguments)
{
    const int seconds = count > 3 ? atoi(arguments[1]) : 0;
    const int listener = seconds > 0 ? listenAt(arguments[2]) : -1;
    if (seconds <= 0)
        fprintf(stderr, "usage: playbmc SECONDS SOCKET COMMAND...\n");
    else if (listener < 0)
        fprintf(stderr, "playbmc: %s: %s\n", arguments[2], strerror(errno));
    if (listener < 0)
        return 125;
    const pid_t machine = fork();
    if (machine == 0)
        become(arguments + 3);
    const int process = machine > 0 ? static_cast<int>(syscall(SYS_pidfd_open, machine, 0)) : -1;
    if (process < 0)
        return 125;
    const bool inTime = play(listener, process, Clock::now() + std::chrono::seconds(seconds));
    if (!inTime)
        kill(machine, SIGKILL);
    int status = 0;
    if (waitpid(machine, &status, 0) != machine)
        return 125;
    return !inTime ? 124 : WIFEXITED(status) ? WEXITSTATUS(status) : 125;
}
