// SPDX-License-Identifier: GPL-2.0-or-later
// The files and directories that the product makes for itself: its log, state and journals.
#pragma once

#include <string>
#include <sys/types.h>

namespace yat {

// Makes a directory and those above it, with the permissions 0750 whatever the umask is. Throws
// Problem, "DIRECTORY can't be written: REASON", also when the program runs with root's rights and
// another user can change where the path leads: no part of it may be a symbolic link, belong to
// another user, or be open to others without the sticky bit.
void makeOwnDirectory(const std::string &directory);

// Throws Problem, "FILE can't be written: REASON", for a file that is a link, has a second name, is
// no regular file, or isn't root's although the program runs with root's rights. A file that isn't
// there is fine.
void requireOwnFile(const std::string &file);

// Opens a file, made with these permissions whatever the umask is, and returns its descriptor,
// which the caller closes. The flags are those of open() that tell what for. Throws as above.
int openOwnFile(const std::string &file, int flags, mode_t permissions = 0640);

} // namespace yat
