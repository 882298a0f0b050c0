#include "host/lock.h"

#include "common/paths.h"
#include "common/problem.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace host {

Lock::Lock(const std::string &name, bool waits)
{
    const std::string file = yat::stateDirectory() + "/" + name;
    descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (descriptor < 0)
        throw yat::Problem(file + ": can't be written: " + yat::reason(errno));
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
