// SPDX-License-Identifier: GPL-2.0-or-later
// The BMC behind the kernel's IPMI driver.
#include "common/problem.h"
#include "hwinfo/bmc.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <linux/ipmi.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace hwinfo {
namespace {

using Clock = std::chrono::steady_clock;

constexpr long messageNumber = 1; // the only request of this open file

struct OpenDevice {
    int file = -1;
    explicit OpenDevice(const std::string &path) : file(open(path.c_str(), O_RDWR | O_CLOEXEC)) {}
    ~OpenDevice()
    {
        if (file >= 0)
            close(file);
    }
    OpenDevice(const OpenDevice &) = delete;
    OpenDevice &operator=(const OpenDevice &) = delete;
};

std::string openingProblem(const std::string &device, int error)
{
    switch (error) {
    case ENOENT:
    case ENODEV:
    case ENXIO:
        return "no " + device + " (" + yat::reason(error)
               + "): load the kernel modules ipmi_msghandler, ipmi_devintf and ipmi_si; if they "
                 "are loaded, they found no BMC";
    case EACCES:
    case EPERM:
        return "no permission to open " + device + " for reading and writing (" + yat::reason(error)
               + "): run as root, or as a user with that right";
    }
    return "opening " + device + ": " + yat::reason(error);
}

// 0, or the error number. A signal doesn't end it.
int control(const OpenDevice &device, unsigned long request, void *argument)
{
    int result;
    do {
        result = ioctl(device.file, request, argument);
    } while (result < 0 && errno == EINTR);
    return result < 0 ? errno : 0;
}

int sendGetDeviceId(const OpenDevice &device)
{
    ipmi_system_interface_addr address{
        .addr_type = IPMI_SYSTEM_INTERFACE_ADDR_TYPE, .channel = IPMI_BMC_CHANNEL, .lun = 0};
    ipmi_req request{
        .addr = reinterpret_cast<unsigned char *>(&address),
        .addr_len = sizeof address,
        .msgid = messageNumber,
        .msg = {.netfn = IPMI_NETFN_APP_REQUEST,
                .cmd = IPMI_GET_DEVICE_ID_CMD,
                .data_len = 0,
                .data = nullptr},
    };
    return control(device, IPMICTL_SEND_COMMAND, &request);
}

// Takes a message out of the driver's queue. Returns 0 for the answer, EAGAIN for anything else,
// or the error number.
int receive(const OpenDevice &device, std::vector<uint8_t> &bytes)
{
    Response data{};
    ipmi_addr address{};
    ipmi_recv message{
        .recv_type = 0,
        .addr = reinterpret_cast<unsigned char *>(&address),
        .addr_len = sizeof address,
        .msgid = 0,
        .msg = {.netfn = 0, .cmd = 0, .data_len = data.size(), .data = data.data()},
    };
    const int error = control(device, IPMICTL_RECEIVE_MSG_TRUNC, &message);
    if (error != 0 && error != EMSGSIZE) // a message that was cut has been taken nevertheless
        return error;
    if (message.recv_type != IPMI_RESPONSE_RECV_TYPE || message.msgid != messageNumber)
        return EAGAIN;
    bytes.assign(data.begin(), data.begin() + std::min<size_t>(message.msg.data_len, data.size()));
    return 0;
}

// Rounded up, or the last millisecond would be spent in a busy loop.
int millisecondsUntil(Clock::time_point deadline)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::max<Clock::rep>(left.count(), 0));
}

// Waits for the answer. Returns 0, ETIMEDOUT or the error number.
int awaitAnswer(const OpenDevice &device, Clock::time_point deadline, std::vector<uint8_t> &bytes)
{
    do {
        pollfd poller{.fd = device.file, .events = POLLIN, .revents = 0};
        const int ready = poll(&poller, 1, millisecondsUntil(deadline));
        if (ready == 0)
            return ETIMEDOUT;
        if (ready < 0 && errno != EINTR)
            return errno;
        if (ready < 0)
            continue;
        const int error = receive(device, bytes);
        if (error != EAGAIN)
            return error;
        if (!(poller.revents & POLLIN)) // nothing to wait for any more
            return EIO;
    } while (millisecondsUntil(deadline) > 0);
    return ETIMEDOUT;
}

} // namespace

std::vector<uint8_t> askDriver(const std::string &path, int milliseconds)
{
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
    const OpenDevice device(path);
    if (device.file < 0)
        throw yat::Problem(openingProblem(path, errno));
    if (const int error = sendGetDeviceId(device))
        throw yat::Problem("sending to " + path + ": " + yat::reason(error));
    std::vector<uint8_t> answer;
    const int error = awaitAnswer(device, deadline, answer);
    if (error == ETIMEDOUT)
        throw yat::Problem("the BMC is silent: no answer from " + path + " within "
                           + std::to_string(milliseconds) + " ms");
    if (error != 0)
        throw yat::Problem("receiving from " + path + ": " + yat::reason(error));
    return answer;
}

} // namespace hwinfo
