#include "common/caller.h"

#include <filesystem>
#include <fstream>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace yat {
namespace {

// The device of the terminal that controls this process, 0 for none; see proc(5).
dev_t controllingTerminal()
{
    std::ifstream file("/proc/self/stat");
    for (std::string line; std::getline(file, line);) {
        const size_t name = line.rfind(')'); // of the program, which may have anything in it
        int parent, group, session, terminal;
        if (name != std::string::npos
            && sscanf(line.c_str() + name, ") %*c %d %d %d %d", &parent, &group, &session,
                      &terminal)
                   == 4)
            return makedev((static_cast<unsigned>(terminal) >> 8) & 0xfff,
                           (terminal & 0xff) | ((static_cast<unsigned>(terminal) >> 12) & 0xfff00));
    }
    return 0;
}

std::string nameOfTerminal(dev_t terminal)
{
    std::error_code error;
    for (const char *directory : {"/dev/pts", "/dev"})
        for (const auto &entry : std::filesystem::directory_iterator(directory, error)) {
            struct stat status;
            if (terminal != 0 && stat(entry.path().c_str(), &status) == 0 && S_ISCHR(status.st_mode)
                && status.st_rdev == terminal)
                return entry.path().string();
        }
    return {};
}

} // namespace

Caller thisCaller()
{
    const passwd *user = getpwuid(getuid());
    const char *terminal = ttyname(STDIN_FILENO);
    return {.user = user ? user->pw_name : std::to_string(getuid()),
            .terminal = terminal ? terminal : nameOfTerminal(controllingTerminal())};
}

} // namespace yat
