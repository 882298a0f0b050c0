// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/lock.h"

#include "common/ownfiles.h"
#include "common/paths.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace host {

Lock::Lock(const std::string &name, bool waits)
{
    descriptor = yat::openOwnFile(yat::stateDirectory() + "/" + name, O_RDWR, 0600);
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

} // namespace host
