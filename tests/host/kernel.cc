// SPDX-License-Identifier: GPL-2.0-or-later
#include "kernel.h"

#include <cerrno>
#include <cstdarg>
#include <dlfcn.h>
#include <libudev.h>
#include <linux/fcntl.h> // the C library's may define open itself
#include <netlink/errno.h>
#include <netlink/netlink.h>
#include <netlink/route/addr.h>
#include <netlink/route/nexthop.h>
#include <netlink/route/route.h>
#include <sys/stat.h>
#include <unistd.h>

Kernel kernel;

namespace {

template <class Call> Call *next(const char *name)
{
    return reinterpret_cast<Call *>(dlsym(RTLD_NEXT, name));
}

void addRoute(nl_cache *cache)
{
    nl_addr *target = nullptr;
    nl_addr_parse("192.0.2.0/24", AF_INET, &target);
    rtnl_route *route = rtnl_route_alloc();
    rtnl_route_set_dst(route, target);
    for (int i = 0; i < 2; ++i) { // as over two gateways
        rtnl_nexthop *hop = rtnl_route_nh_alloc();
        rtnl_route_nh_set_ifindex(hop, kernel.routedInterface);
        rtnl_route_add_nexthop(route, hop);
    }
    nl_cache_add(cache, reinterpret_cast<nl_object *>(route));
    rtnl_route_put(route);
    nl_addr_put(target);
}

} // namespace

// In the places of the libraries' functions.
#pragma GCC visibility push(default)
extern "C" {

int open(const char *file, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = flags & O_CREAT ? va_arg(arguments, unsigned) : 0;
    va_end(arguments);
    if (!kernel.listOfNames.empty() && std::string_view(file).ends_with("/pci.ids"))
        file = kernel.listOfNames.c_str();
    if (const auto refusal = kernel.refusals.find(file);
        flags & (O_EXCL | O_WRONLY) && refusal != kernel.refusals.end()) {
        errno = refusal->second;
        return errno == 0 ? dup(STDERR_FILENO) : -1;
    }
    return next<int(const char *, int, ...)>("open")(file, flags, mode);
}

int lstat(const char *file, struct stat *status)
{
    const auto refusal = kernel.refusals.find(file);
    if (refusal == kernel.refusals.end() || refusal->second == 0)
        return next<decltype(lstat)>("lstat")(file, status);
    errno = refusal->second;
    return -1;
}

int nl_connect(nl_sock *socket, int protocol)
{
    return kernel.refusedCall == "nl_connect"
               ? -NLE_PERM
               : next<decltype(nl_connect)>("nl_connect")(socket, protocol);
}

int rtnl_addr_alloc_cache(nl_sock *socket, nl_cache **cache)
{
    return kernel.refusedCall == "rtnl_addr_alloc_cache"
               ? -NLE_PERM
               : next<decltype(rtnl_addr_alloc_cache)>("rtnl_addr_alloc_cache")(socket, cache);
}

int rtnl_route_alloc_cache(nl_sock *socket, int family, int flags, nl_cache **cache)
{
    if (kernel.refusedCall == "rtnl_route_alloc_cache")
        return -NLE_PERM;
    if (kernel.routedInterface == 0)
        return next<decltype(rtnl_route_alloc_cache)>("rtnl_route_alloc_cache")(socket, family,
                                                                                flags, cache);
    const int error = nl_cache_alloc_name("route/route", cache);
    if (error == 0)
        addRoute(*cache);
    return error;
}

int udev_enumerate_add_match_subsystem(udev_enumerate *enumeration, const char *subsystem)
{
    kernel.looksAtFunctions += subsystem == std::string_view("pci") ? 1 : 0;
    return subsystem == kernel.untoldKind
               ? -EIO
               : next<decltype(udev_enumerate_add_match_subsystem)>(
                   "udev_enumerate_add_match_subsystem")(enumeration, subsystem);
}

} // extern "C"
#pragma GCC visibility pop
