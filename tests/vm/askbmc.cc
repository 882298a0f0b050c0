// SPDX-License-Identifier: GPL-2.0-or-later
// Asks the BMC through the plug-in, as the product's programs do:
//
//     askbmc NAME [USER]
//
// prints one line: "NAME: returned 1 after 12 ms with " and the 16 bytes in hexadecimal, which
// the plug-in found filled with EE. USER is a number to become before. The plug-in's trace goes
// to the log askbmc. Or
//
//     askbmc --manner MANNER
//
// tells a played BMC how to answer from now on. Exit status 0, or 1 when that could not be done.
#include "manner.h"
#include "yat/hwinfo.h"
#include "yat/trace.h"
#include "yat/winshim.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/ipmi.h>
#include <poll.h>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

int complain(const char *what, const char *why)
{
    fprintf(stderr, "askbmc: %s: %s\n", what, why);
    return 1;
}

int ask(const char *name, const char *user)
{
    char root[4096];
    if (!TraceLogInit(0, "askbmc", 0, 0, 0) || !GetYatRootPath(root, sizeof root))
        return complain(name, "no trace log or no product root");
    if (user && setuid(static_cast<uid_t>(atoi(user))) != 0)
        return complain(user, strerror(errno));
    void *const module = LoadLibrary((std::string(root) + "/lib/yathwinfo.dll").c_str());
    const auto entry =
        reinterpret_cast<decltype(&YATGetDeviceID)>(GetProcAddress(module, "YATGetDeviceID"));
    if (!entry)
        return complain(name, dlerror());
    unsigned char response[16];
    memset(response, 0xEE, sizeof response);
    const auto begin = std::chrono::steady_clock::now();
    const int result = entry(response);
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - begin);
    std::string bytes;
    for (const unsigned char byte : response) {
        char text[4];
        snprintf(text, sizeof text, " %02X", byte);
        bytes += text;
    }
    printf("%s: returned %d after %lld ms with%s\n", name, result,
           static_cast<long long>(took.count()), bytes.c_str());
    return FreeLibrary(module) ? 0 : complain(name, "the plug-in can't be unloaded");
}

int setManner(std::string_view name)
{
    const auto *const found = std::ranges::find(mannerNames, name);
    if (found == mannerNames.end())
        return complain("--manner", "there is no such one");
    auto manner = static_cast<unsigned char>(found - mannerNames.begin());
    const int device = open("/dev/ipmi0", O_RDWR);
    ipmi_system_interface_addr address{
        .addr_type = IPMI_SYSTEM_INTERFACE_ADDR_TYPE, .channel = IPMI_BMC_CHANNEL, .lun = 0};
    ipmi_req request{.addr = reinterpret_cast<unsigned char *>(&address),
                     .addr_len = sizeof address,
                     .msgid = 0,
                     .msg = {mannerFunction, mannerCommand, 1, &manner}};
    if (device < 0 || ioctl(device, IPMICTL_SEND_COMMAND, &request) != 0)
        return complain("can't tell the BMC", strerror(errno));
    unsigned char code = 0xFF;
    ipmi_recv answer{.recv_type = 0,
                     .addr = reinterpret_cast<unsigned char *>(&address),
                     .addr_len = sizeof address,
                     .msgid = 0,
                     .msg = {0, 0, 1, &code}};
    pollfd poller{.fd = device, .events = POLLIN, .revents = 0};
    if (poll(&poller, 1, 20'000) != 1 || ioctl(device, IPMICTL_RECEIVE_MSG, &answer) != 0
        || code != 0)
        return complain("the BMC doesn't take it", std::to_string(code).c_str());
    return 0;
}

} // namespace

int main(int count, char **arguments)
{
    if (count == 3 && strcmp(arguments[1], "--manner") == 0)
        return setManner(arguments[2]);
    if (count == 2 || count == 3)
        return ask(arguments[1], arguments[2]);
    fprintf(stderr, "usage: askbmc NAME [USER] | askbmc --manner MANNER\n");
    return 1;
}
