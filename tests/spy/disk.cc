// SPDX-License-Identifier: GPL-2.0-or-later
// A disk that fails: the calls of the system on what is below the directory YAT_DISK are counted,
// and that of the number YAT_DISK_FAILS, or each one from there on with YAT_DISK_STAYS_BAD set,
// fails with the error that YAT_DISK_ERROR has the number of. YAT_DISK_CALLS has a part of the
// names of the calls that count, where not all do; YAT_DISK_LOG names a file that takes the names.
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::string_view variable(const char *name)
{
    const char *value = getenv(name);
    return value ? value : "";
}

void tell(std::string_view call, std::string_view path)
{
    const std::string_view log = variable("YAT_DISK_LOG");
    if (log.empty())
        return;
    using Open = int(const char *, int, ...);
    using Write = ssize_t(int, const void *, size_t);
    static auto *const realOpen = reinterpret_cast<Open *>(dlsym(RTLD_NEXT, "open"));
    static auto *const realWrite = reinterpret_cast<Write *>(dlsym(RTLD_NEXT, "write"));
    static const int file = realOpen(log.data(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    const std::string line = std::string(call) + " " + std::string(path) + "\n";
    if (realWrite(file, line.data(), line.size()) < 0)
        abort();
}

// Whether this call fails, and errno says so.
bool fails(std::string_view call, std::string_view path)
{
    static const std::string_view below = variable("YAT_DISK"),
                                  counted = variable("YAT_DISK_CALLS");
    static const long last = atol(variable("YAT_DISK_FAILS").data());
    static const bool staysBad = !variable("YAT_DISK_STAYS_BAD").empty();
    static long number;
    if (below.empty() || !path.starts_with(below) || call.find(counted) == call.npos)
        return false;
    tell(call, path);
    ++number;
    if (number != last && !(staysBad && last > 0 && number > last))
        return false;
    errno = atoi(variable("YAT_DISK_ERROR").data());
    return true;
}

bool fails(std::string_view call, const char *path)
{
    return path && fails(call, std::string_view(path));
}

bool fails(std::string_view call, int file)
{
    char path[4096];
    const ssize_t length =
        readlink(("/proc/self/fd/" + std::to_string(file)).c_str(), path, sizeof path);
    return length > 0 && fails(call, std::string_view(path, static_cast<size_t>(length)));
}

mode_t modeOf(int flags, va_list arguments)
{
    return flags & O_CREAT ? va_arg(arguments, mode_t) : 0;
}

} // namespace

#define ORIGINAL(name) reinterpret_cast<decltype(&name)>(dlsym(RTLD_NEXT, #name))
#define CALL(result, name, parameters, arguments, place)                                           \
    result name parameters                                                                         \
    {                                                                                              \
        static const auto original = ORIGINAL(name);                                               \
        return fails(#name, place) ? (result)-1L : original arguments;                             \
    }
#define OPEN(name)                                                                                 \
    int name(const char *path, int flags, ...)                                                     \
    {                                                                                              \
        static const auto original = ORIGINAL(name);                                               \
        va_list arguments;                                                                         \
        va_start(arguments, flags);                                                                \
        const mode_t mode = modeOf(flags, arguments);                                              \
        va_end(arguments);                                                                         \
        return fails(#name, path) ? -1 : original(path, flags, mode);                              \
    }

#pragma GCC visibility push(default)
extern "C" {

OPEN(open)
OPEN(open64)
CALL(ssize_t, read, (int file, void *bytes, size_t size), (file, bytes, size), file)
CALL(ssize_t, pread, (int file, void *bytes, size_t size, off_t at), (file, bytes, size, at), file)
CALL(ssize_t, pread64, (int file, void *bytes, size_t size, off64_t at), (file, bytes, size, at),
     file)
CALL(ssize_t, write, (int file, const void *bytes, size_t size), (file, bytes, size), file)
CALL(ssize_t, pwrite, (int file, const void *bytes, size_t size, off_t at), (file, bytes, size, at),
     file)
CALL(ssize_t, pwrite64, (int file, const void *bytes, size_t size, off64_t at),
     (file, bytes, size, at), file)
CALL(off_t, lseek, (int file, off_t at, int from), (file, at, from), file)
CALL(void *, mmap64, (void *at, size_t size, int rights, int flags, int file, off64_t from),
     (at, size, rights, flags, file, from), file)
CALL(int, mkostemp, (char *path, int flags), (path, flags), path)
CALL(int, fsync, (int file), (file), file)
CALL(int, fdatasync, (int file), (file), file)
CALL(int, fstat, (int file, struct stat *status), (file, status), file)
CALL(int, fstat64, (int file, struct stat64 *status), (file, status), file)
CALL(int, stat, (const char *path, struct stat *status), (path, status), path)
CALL(int, stat64, (const char *path, struct stat64 *status), (path, status), path)
CALL(int, lstat, (const char *path, struct stat *status), (path, status), path)
CALL(int, lstat64, (const char *path, struct stat64 *status), (path, status), path)
CALL(int, ftruncate, (int file, off_t size), (file, size), file)
CALL(int, ftruncate64, (int file, off64_t size), (file, size), file)
CALL(int, flock, (int file, int operation), (file, operation), file)
CALL(int, fchmod, (int file, mode_t mode), (file, mode), file)
CALL(int, chmod, (const char *path, mode_t mode), (path, mode), path)
CALL(int, mkdir, (const char *path, mode_t mode), (path, mode), path)
CALL(int, access, (const char *path, int mode), (path, mode), path)
CALL(int, rename, (const char *from, const char *to), (from, to), from)
CALL(int, unlink, (const char *path), (path), path)

int close(int file) // it is closed all the same
{
    static const auto original = ORIGINAL(close);
    const bool isBad = fails("close", file);
    return original(file) != 0 || isBad ? -1 : 0;
}

} // extern "C"
#pragma GCC visibility pop
