// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/sysfs.h"

#include "common/numbers.h"
#include "common/problem.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace host {
namespace {

constexpr size_t mostBytes = 1 << 20; // /proc/interrupts of a thousand processors has less

std::string readWhole(int descriptor)
{
    std::string text;
    std::array<char, 4096> bytes;
    ssize_t count;
    while (text.size() < mostBytes && (count = read(descriptor, bytes.data(), bytes.size())) > 0)
        text.append(bytes.data(), static_cast<size_t>(count));
    return text;
}

// A process without any of this one's signal handlers: what goes to both, as a stop by the shell
// does, is this one's to deal with. Only SIGKILL and SIGSTOP reach it.
pid_t forkUndisturbed()
{
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before);
    const pid_t process = fork();
    if (process == 0)
        return 0;
    const int error = errno;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    errno = error;
    return process;
}

[[noreturn]] void writeInChild(const std::string &file, const std::string &value)
{
    const int descriptor = open(file.c_str(), O_WRONLY | O_CLOEXEC);
    const bool isWritten =
        descriptor >= 0
        && write(descriptor, value.data(), value.size()) == static_cast<ssize_t>(value.size());
    _exit(isWritten ? 0 : errno);
}

// Waits until the process has ended, whatever signals come in; false when the time is up.
bool awaitEnd(pid_t process, std::chrono::milliseconds limit)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    pollfd poller{.fd = static_cast<int>(syscall(SYS_pidfd_open, process, 0)),
                  .events = POLLIN,
                  .revents = 0};
    int ended;
    do {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        ended = poll(&poller, 1, static_cast<int>(std::max<int64_t>(left.count(), 0)));
    } while (ended < 0 && errno == EINTR);
    close(poller.fd);
    return ended == 1;
}

} // namespace

std::optional<std::string> readAttribute(const std::string &file)
{
    const int descriptor = open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0)
        return {};
    struct stat status;
    std::string text;
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode))
        text = readWhole(descriptor);
    close(descriptor);
    text.erase(text.find_last_not_of(" \t\r\n") + 1);
    return text.empty() ? std::nullopt : std::optional(text);
}

std::optional<uint64_t> readNumber(const std::string &file)
{
    const auto text = readAttribute(file);
    if (text && text->starts_with("0x"))
        return yat::numberIn<uint64_t>(std::string_view(*text).substr(2), 16);
    return text ? yat::numberIn<uint64_t>(*text) : std::nullopt;
}

std::optional<uint64_t> numberOfLine(const std::string &text, const std::string &word)
{
    const size_t at = ("\n" + text).find("\n" + word + " ");
    if (at == std::string::npos)
        return {};
    uint64_t number = 0;
    const auto result =
        std::from_chars(text.data() + at + word.size() + 1, text.data() + text.size(), number);
    return result.ec == std::errc() ? std::optional(number) : std::nullopt;
}

std::vector<std::string> namesIn(const std::string &directory)
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR *)> stream(opendir(directory.c_str()), closedir);
    while (const dirent *entry = stream ? readdir(stream.get()) : nullptr)
        if (entry->d_name[0] != '.')
            names.emplace_back(entry->d_name);
    std::ranges::sort(names, [](const std::string &one, const std::string &other) {
        return strverscmp(one.c_str(), other.c_str()) < 0;
    });
    return names;
}

std::string resolved(const std::string &path)
{
    char result[PATH_MAX];
    return realpath(path.c_str(), result) ? result : "";
}

std::string lastName(const std::string &path)
{
    return path.substr(path.rfind('/') + 1);
}

bool isBelow(const std::string &path, const std::string &directory)
{
    return path.starts_with(directory)
           && (path.size() == directory.size() || path[directory.size()] == '/');
}

std::string writeAttribute(const std::string &file, const std::string &value,
                           std::chrono::milliseconds limit)
{
    const pid_t writer = forkUndisturbed();
    if (writer == 0)
        writeInChild(file, value);
    if (writer < 0)
        return yat::reason(errno);
    int status = 0;
    if (!awaitEnd(writer, limit)) {
        kill(writer, SIGKILL); // in time, it may keep the kernel from doing it later
        return "writing \"" + value + "\" to " + file + " did not finish in time";
    }
    while (waitpid(writer, &status, 0) < 0 && errno == EINTR) {
    }
    return status == 0         ? ""
           : WIFEXITED(status) ? yat::reason(WEXITSTATUS(status))
                               : "the process that writes to " + file + " was killed";
}

} // namespace host
