// SPDX-License-Identifier: GPL-2.0-or-later
// Tests of missing rights. Root has to lose what makes it pass over them; its files stay within
// its reach wherever the directory for temporary files is.
#pragma once

#include <linux/capability.h>
#include <stdexcept>
#include <sys/syscall.h>
#include <unistd.h>

// While it lives, this thread has no more rights than the owner of a file has.
class WithoutPrivileges {
public:
    WithoutPrivileges()
    {
        if (syscall(SYS_capget, &header, before) != 0)
            throw std::runtime_error("capget");
        Sets none = {before[0], before[1]};
        none[0].effective = none[1].effective = 0;
        if (syscall(SYS_capset, &header, none) != 0)
            throw std::runtime_error("capset");
    }
    ~WithoutPrivileges()
    {
        syscall(SYS_capset, &header, before);
    }
    WithoutPrivileges(const WithoutPrivileges &) = delete;
    WithoutPrivileges &operator=(const WithoutPrivileges &) = delete;

private:
    using Sets = __user_cap_data_struct[2];
    __user_cap_header_struct header = {.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
    Sets before;
};

// While it lives, this thread is of a user who owns nothing, if it was root's.
class AsSomebodyElse {
public:
    AsSomebodyElse()
    {
        if (wasRoot && syscall(SYS_setresuid, 65534, 65534, 0) != 0)
            throw std::runtime_error("setresuid");
    }
    ~AsSomebodyElse()
    {
        if (wasRoot)
            syscall(SYS_setresuid, 0, 0, 0);
    }
    AsSomebodyElse(const AsSomebodyElse &) = delete;
    AsSomebodyElse &operator=(const AsSomebodyElse &) = delete;

private:
    const bool wasRoot = geteuid() == 0;
};
