// SPDX-License-Identifier: GPL-2.0-or-later
#include "common/file.h"

#include "common/ownfiles.h"
#include "common/problem.h"
#include "text/encoding.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace yat {
namespace {

// Writes all of the text to the disk and closes the file; the error, 0 for none.
int finish(int descriptor, const std::string &text)
{
    const ssize_t length = write(descriptor, text.data(), text.size());
    const int error = length < 0                                  ? errno
                      : static_cast<size_t>(length) < text.size() ? ENOSPC
                      : fsync(descriptor) != 0                    ? errno
                                                                  : 0;
    close(descriptor);
    return error;
}

void throwUnlessWritten(const std::string &file, int error)
{
    if (error != 0)
        throw Problem(fromDisplay(file) + " can't be written: " + reason(error));
}

} // namespace

std::string readFile(const std::string &file)
{
    constexpr size_t longest = 16 << 20; // bytes
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    int error = descriptor < 0 ? errno : 0;
    struct stat status;
    if (error == 0 && fstat(descriptor, &status) == 0 && !S_ISREG(status.st_mode)
        && !S_ISDIR(status.st_mode))
        error = ENOTSUP; // a FIFO for one, of which nobody knows when it says something
    std::string text;
    char buffer[16384];
    ssize_t length = 0;
    while (error == 0 && (length = read(descriptor, buffer, sizeof buffer)) != 0) {
        error = length < 0 ? errno : text.size() > longest ? EFBIG : 0;
        if (error == 0)
            text.append(buffer, static_cast<size_t>(length));
    }
    if (descriptor >= 0)
        close(descriptor);
    if (error != 0)
        throw Problem(fromDisplay(file) + " can't be read: " + reason(error));
    return text;
}

void appendToFile(const std::string &file, const std::string &text)
{
    const int descriptor = openOwnFile(file, O_RDWR | O_APPEND);
    char last = '\n'; // also of an empty file, which has no byte to read
    const bool isTorn =
        pread(descriptor, &last, 1, lseek(descriptor, 0, SEEK_END) - 1) == 1 && last != '\n';
    throwUnlessWritten(file, finish(descriptor, isTorn ? '\n' + text : text));
}

void replaceFile(const std::string &file, const std::string &text, mode_t permissions)
{
    std::string draft = file + ".XXXXXX";
    const int descriptor = mkostemp(draft.data(), O_CLOEXEC);
    if (descriptor < 0)
        throwUnlessWritten(file, errno);
    int error = fchmod(descriptor, permissions) == 0 ? 0 : errno;
    if (const int atEnd = finish(descriptor, text); error == 0)
        error = atEnd;
    if (error == 0 && rename(draft.c_str(), file.c_str()) != 0)
        error = errno;
    if (error != 0)
        unlink(draft.c_str());
    throwUnlessWritten(file, error);
}

} // namespace yat
