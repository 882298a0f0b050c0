// SPDX-License-Identifier: GPL-2.0-or-later
#include "common/ownfiles.h"

#include "common/problem.h"
#include "text/encoding.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace yat {
namespace {

[[noreturn]] void refuse(const std::string &path, const std::string &why)
{
    throw Problem(fromDisplay(path) + " can't be written: " + why);
}

bool isRoot()
{
    return geteuid() == 0;
}

bool canOthersChange(const struct stat &directory)
{
    const bool isSticky = (directory.st_mode & S_ISVTX) != 0;
    const bool isGroups = (directory.st_mode & S_IWGRP) != 0 && directory.st_gid != 0;
    return !isSticky && (isGroups || (directory.st_mode & S_IWOTH) != 0);
}

// What keeps root from trusting a part of a path; empty for nothing.
std::string distrust(const struct stat &part)
{
    return S_ISLNK(part.st_mode)   ? " is a symbolic link"
           : part.st_uid != 0      ? " belongs to another user"
           : canOthersChange(part) ? " can be changed by others"
                                   : "";
}

// Makes a part of a path when it is missing, which few are: so it is looked for first.
void makePart(const std::string &directory, const std::string &part)
{
    struct stat status;
    const bool isThere = lstat(part.c_str(), &status) == 0;
    if (!isThere && mkdir(part.c_str(), 0750) == 0) {
        if (stat(part.c_str(), &status) == 0)
            chmod(part.c_str(),
                  0750 | (status.st_mode & S_ISGID)); // which the one above hands down
    } else if (!isThere && errno != EEXIST) {
        refuse(directory, reason(errno));
    }
    if (!isRoot())
        return;
    if (!isThere && lstat(part.c_str(), &status) != 0)
        refuse(directory, reason(errno));
    if (const std::string why = distrust(status); !why.empty())
        refuse(directory, part + why);
}

// What keeps a file from being taken for one of the product's own; empty for nothing.
std::string whyNotOwn(const struct stat &file)
{
    return S_ISLNK(file.st_mode)          ? "it is a symbolic link"
           : !S_ISREG(file.st_mode)       ? "it is not a regular file"
           : file.st_nlink > 1            ? "it has a second name (a hard link)"
           : isRoot() && file.st_uid != 0 ? "it belongs to another user"
                                          : "";
}

} // namespace

void makeOwnDirectory(const std::string &directory)
{
    if (directory.empty())
        refuse(directory, reason(ENOENT));
    std::error_code error;
    const std::string path = std::filesystem::absolute(directory, error).string() + '/';
    if (error) // the working directory may be gone
        refuse(directory, reason(error.value()));
    if (isRoot() || access(path.c_str(), W_OK | X_OK) != 0)
        for (size_t end = path.find('/', 1); end != std::string::npos;
             end = path.find('/', end + 1))
            makePart(directory, path.substr(0, end));
    if (access(path.c_str(), W_OK | X_OK) != 0)
        refuse(directory, reason(errno));
}

void requireOwnFile(const std::string &file)
{
    struct stat status;
    if (lstat(file.c_str(), &status) != 0)
        return;
    if (const std::string why = whyNotOwn(status); !why.empty())
        refuse(file, why);
}

int openOwnFile(const std::string &file, int flags, mode_t permissions)
{
    requireOwnFile(file);
    flags |= O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK; // or a FIFO of this name would hold us up
    int descriptor = -1;
    for (const int making : {0, O_CREAT | O_EXCL, 0}) { // another program may make it meanwhile
        descriptor = open(file.c_str(), flags | making, permissions);
        if (descriptor >= 0 && making != 0)
            fchmod(descriptor, permissions);
        if (descriptor >= 0 || (errno != ENOENT && errno != EEXIST))
            break;
    }
    if (descriptor < 0)
        refuse(file, reason(errno));
    // Where others have a say, it may be another file by now.
    struct stat status;
    if (fstat(descriptor, &status) == 0 && whyNotOwn(status).empty())
        return descriptor;
    close(descriptor);
    refuse(file, "it has been replaced meanwhile");
}

} // namespace yat
