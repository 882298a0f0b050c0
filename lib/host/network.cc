// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/network.h"

#include "common/problem.h"
#include "host/enumeration.h"
#include "host/sysfs.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <netlink/netlink.h>
#include <netlink/route/addr.h>
#include <netlink/route/nexthop.h>
#include <netlink/route/route.h>
#include <sstream>

namespace host {
namespace {

using Interfaces = std::map<int, std::string>; // names by their indices

struct Free {
    void operator()(nl_sock *socket) const
    {
        nl_socket_free(socket);
    }
    void operator()(nl_cache *cache) const
    {
        nl_cache_free(cache);
    }
};
using Socket = std::unique_ptr<nl_sock, Free>;
using Cache = std::unique_ptr<nl_cache, Free>;

// An interface and all that stand on it: bridges, bonds, virtual networks.
void addInterface(Interfaces &interfaces, const std::string &path)
{
    const auto index = readNumber(path + "/ifindex");
    if (!index)
        throw yat::Problem("the index of the interface " + lastName(path) + " can't be read");
    if (!interfaces.emplace(static_cast<int>(*index), lastName(path)).second)
        return;
    for (const std::string &name : namesIn(path))
        if (name.starts_with("upper_"))
            addInterface(interfaces, resolved(path + "/" + name));
}

[[noreturn]] void refuse(int error)
{
    throw yat::Problem(std::string("addresses and routes can't be read: ") + nl_geterror(error));
}

Socket connect()
{
    Socket socket(nl_socket_alloc());
    if (!socket)
        refuse(-NLE_NOMEM);
    if (const int error = nl_connect(socket.get(), NETLINK_ROUTE); error < 0)
        refuse(error);
    return socket;
}

template <class Object> void eachOf(nl_cache *cache, const std::function<void(Object *)> &work)
{
    const Cache owner(cache);
    for (nl_object *object = nl_cache_get_first(cache); object; object = nl_cache_get_next(object))
        work(reinterpret_cast<Object *>(object));
}

std::string textOf(nl_addr *address)
{
    char text[128];
    const std::string result = nl_addr2str(address, text, sizeof text);
    return result.substr(0, result.find('/'));
}

// This side's address of the connection that the terminal has to the server, if it has one.
std::string addressOfTerminal()
{
    const char *connection = secure_getenv("SSH_CONNECTION");
    std::istringstream words(connection ? connection : "");
    std::string word;
    for (int i = 0; i < 3; ++i) // the other side's address and port come first
        words >> word;
    return words ? word : "";
}

MaybeReason useByAddresses(const Socket &socket, const Interfaces &interfaces)
{
    nl_cache *cache = nullptr;
    if (const int error = rtnl_addr_alloc_cache(socket.get(), &cache); error < 0)
        refuse(error);
    MaybeReason use;
    eachOf<rtnl_addr>(cache, [&](rtnl_addr *each) {
        const auto found = interfaces.find(rtnl_addr_get_ifindex(each));
        if (found == interfaces.end())
            return;
        const std::string address = textOf(rtnl_addr_get_local(each));
        if (address == addressOfTerminal())
            use = {found->second + " carries the connection of this terminal, " + address,
                   "この端末の接続" + address + "が" + found->second + "を通っています"};
        else if (!use)
            use = {found->second + " has the address " + address,
                   found->second + "にアドレス" + address + "があります"};
    });
    return use;
}

MaybeReason useByRoutes(const Socket &socket, const Interfaces &interfaces)
{
    nl_cache *cache = nullptr;
    if (const int error = rtnl_route_alloc_cache(socket.get(), AF_UNSPEC, 0, &cache); error < 0)
        refuse(error);
    MaybeReason use;
    eachOf<rtnl_route>(cache, [&](rtnl_route *each) {
        for (int i = 0; i < rtnl_route_get_nnexthops(each); ++i) {
            const auto found =
                interfaces.find(rtnl_route_nh_get_ifindex(rtnl_route_nexthop_n(each, i)));
            if (use || found == interfaces.end())
                continue;
            const std::string target = textOf(rtnl_route_get_dst(each));
            use = {found->second + " has the route to " + target,
                   found->second + "に" + target + "への経路があります"};
        }
    });
    return use;
}

// Neither this server's addresses nor its routes tell of a bridge that serves virtual machines
// only.
MaybeReason useByUpper(const std::vector<std::string> &ownPaths)
{
    const std::string_view upper = "upper_";
    for (const std::string &path : ownPaths)
        for (const std::string &name : namesIn(path))
            if (name.starts_with(upper)) {
                const std::string one = lastName(path), other = name.substr(upper.size());
                return Reason{other + " uses " + one, other + "が" + one + "を使っています"};
            }
    return {};
}

} // namespace

MaybeReason useOfInterfaces(const std::vector<std::string> &paths)
{
    Interfaces interfaces;
    std::vector<std::string> ownPaths;
    for (const KernelDevice &device : kernelDevices("net"))
        if (std::ranges::any_of(
                paths, [&](const std::string &path) { return isBelow(device.path, path); })) {
            ownPaths.push_back(device.path);
            addInterface(interfaces, device.path);
        }
    if (interfaces.empty())
        return {};
    const Socket socket = connect();
    if (MaybeReason use = useByAddresses(socket, interfaces))
        return use;
    const MaybeReason use = useByRoutes(socket, interfaces);
    return use ? use : useByUpper(ownPaths);
}

} // namespace host
