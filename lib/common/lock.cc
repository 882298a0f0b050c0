// SPDX-License-Identifier: GPL-2.0-or-later
#include "common/lock.h"

#include "common/ownfiles.h"
#include "common/paths.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace yat {

Lock::Lock(const std::string &name, bool waits)
    : Lock(openOwnFile(stateDirectory() + "/" + name, O_RDWR, 0600), waits)
{
}

Lock::Lock(int openFile, bool waits) : descriptor(openFile)
{
    int result;
    while ((result = flock(descriptor, waits ? LOCK_EX : LOCK_EX | LOCK_NB)) != 0
           && errno == EINTR) {
    }
    isHeld = result == 0;
}

Lock::~Lock()
{
    close(descriptor);
}

} // namespace yat
