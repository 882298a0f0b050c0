// SPDX-License-Identifier: GPL-2.0-or-later
// The question to the kernel's IPMI driver. The driver is played here: a FIFO is the device, and
// the system calls on it are answered as each test wants it.
#include "hwinfo/bmc.h"
#include "support/files.h"
#include "support/privileges.h"
#include "support/problem.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <deque>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/ipmi.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Bytes = std::vector<uint8_t>;
constexpr long ours = -1; // stands for the number of the request

struct Message {
    long number = ours;
    Bytes bytes{};
    int type = IPMI_RESPONSE_RECV_TYPE;
};

// The driver as a test wants it, and what it was asked.
struct Driver {
    std::deque<Message> messages{};
    bool repeats = false; // the last message comes again and again
    int sendError = 0, receiveError = 0;
    int controlInterruptions = 0, pollInterruptions = 0; // by signals, of the first calls
    bool brokenOff = false;                              // poll() reports an error and no message
    int pollError = 0;

    int sent = 0, controls = 0, polls = 0;
    int firstTimeout = -1, lastTimeout = -1; // given to poll()
    long number = 0;
    ipmi_system_interface_addr address{};
    ipmi_msg request{};
};
Driver *driver; // null: the real system calls

int fail(int error)
{
    errno = error;
    return -1;
}

int send(int file, const ipmi_req &request)
{
    if (driver->sendError)
        return fail(driver->sendError);
    ++driver->sent;
    driver->number = request.msgid;
    driver->request = request.msg;
    if (request.addr_len != sizeof driver->address)
        return fail(EINVAL);
    memcpy(&driver->address, request.addr, sizeof driver->address);
    for (size_t i = 0; i < driver->messages.size(); ++i) // the FIFO holds a byte for each
        if (write(file, "m", 1) != 1)
            return fail(EIO);
    return 0;
}

int receive(int file, ipmi_recv &place)
{
    char byte;
    if (driver->receiveError)
        return fail(driver->receiveError);
    if (driver->messages.empty())
        return fail(EAGAIN);
    const Message message = driver->messages.front();
    if (!driver->repeats) {
        driver->messages.pop_front();
        if (read(file, &byte, 1) != 1)
            return fail(EIO);
    }
    const size_t length = std::min<size_t>(message.bytes.size(), place.msg.data_len);
    std::copy_n(message.bytes.begin(), length, place.msg.data);
    place.msg.data_len = static_cast<unsigned short>(length);
    place.recv_type = message.type;
    place.msgid = message.number == ours ? driver->number : message.number;
    return length < message.bytes.size() ? fail(EMSGSIZE) : 0;
}

} // namespace

extern "C" {
int __real_ioctl(int file, unsigned long request, ...);
int __wrap_ioctl(int file, unsigned long request, ...);
int __real_poll(pollfd *files, nfds_t count, int milliseconds);
int __wrap_poll(pollfd *files, nfds_t count, int milliseconds);
}

int __wrap_ioctl(int file, unsigned long request, ...)
{
    va_list arguments;
    va_start(arguments, request);
    void *const argument = va_arg(arguments, void *);
    va_end(arguments);
    if (!driver)
        return __real_ioctl(file, request, argument);
    if (++driver->controls <= driver->controlInterruptions)
        return fail(EINTR);
    switch (request) {
    case IPMICTL_SEND_COMMAND: return send(file, *static_cast<ipmi_req *>(argument));
    case IPMICTL_RECEIVE_MSG_TRUNC: return receive(file, *static_cast<ipmi_recv *>(argument));
    }
    return fail(ENOTTY);
}

int __wrap_poll(pollfd *files, nfds_t count, int milliseconds)
{
    if (!driver)
        return __real_poll(files, count, milliseconds);
    if (++driver->polls == 1)
        driver->firstTimeout = milliseconds;
    driver->lastTimeout = milliseconds;
    if (driver->polls <= driver->pollInterruptions) {
        __real_poll(nullptr, 0, 1);
        return fail(EINTR);
    }
    if (driver->pollError)
        return fail(driver->pollError);
    if (driver->brokenOff) {
        files->revents = POLLERR;
        return 1;
    }
    return __real_poll(files, count, milliseconds);
}

namespace {

class DriverTest : public testing::Test {
protected:
    TemporaryDirectory directory;
    const std::string device = directory.path / "ipmi0";
    const size_t openFiles = countOpenFiles();

    void SetUp() override
    {
        ASSERT_EQ(mkfifo(device.c_str(), 0600), 0);
    }
    void TearDown() override
    {
        EXPECT_EQ(countOpenFiles(), openFiles);
    }

    Bytes ask(Driver &played, int milliseconds = 60'000)
    {
        driver = &played;
        Bytes answer;
        problem = problemOf([&] { answer = hwinfo::askDriver(device, milliseconds); });
        driver = nullptr;
        return answer;
    }

    void expectBytes(Driver played, const Bytes &wanted)
    {
        EXPECT_EQ(ask(played), wanted);
        EXPECT_EQ(problem, "");
    }

    void expectProblem(Driver &played, const std::string &wanted, int milliseconds = 60'000)
    {
        EXPECT_EQ(ask(played, milliseconds), Bytes());
        EXPECT_EQ(problem, wanted);
    }

    static void expectProblem(const std::string &path, const std::string &wanted)
    {
        EXPECT_EQ(problemOf([&] { hwinfo::askDriver(path, 1000); }), wanted);
    }

    std::string problem; // of the last question
};

const Bytes good = {0, 32, 1, 0x81, 0x25, 2};

} // namespace

TEST_F(DriverTest, AsksTheSystemInterfaceOnceForTheDeviceId)
{
    Driver played{.messages = {{.bytes = good}}};
    EXPECT_EQ(ask(played), good);
    EXPECT_EQ(played.sent, 1);
    EXPECT_EQ(played.address.addr_type, 0x0C);
    EXPECT_EQ(played.address.channel, 0x0F);
    EXPECT_EQ(played.address.lun, 0);
    EXPECT_EQ(played.request.netfn, 0x06);
    EXPECT_EQ(played.request.cmd, 0x01);
    EXPECT_EQ(played.request.data_len, 0);
}

TEST_F(DriverTest, HandsAnAnswerOnAsItCame)
{
    expectBytes({.messages = {{.bytes = {0xC0}}}}, {0xC0});
    expectBytes({.messages = {{.bytes = {0, 32}}}}, {0, 32});
    expectBytes({.messages = {{.bytes = {}}}}, {});
    expectBytes({.messages = {{.bytes = Bytes(16, 5)}}}, Bytes(16, 5));
}

TEST_F(DriverTest, TakesTheBeginningOfALongAnswer)
{
    expectBytes({.messages = {{.bytes = Bytes(17, 5)}}}, Bytes(16, 5));
    expectBytes({.messages = {{.bytes = Bytes(272, 5)}}}, Bytes(16, 5));
}

TEST_F(DriverTest, PassesOverWhatIsNoAnswerToTheQuestion)
{
    expectBytes({.messages = {{.number = 4711, .bytes = {0, 9, 9, 9, 9}},
                              {.bytes = {0, 8, 8, 8, 8}, .type = IPMI_ASYNC_EVENT_RECV_TYPE},
                              {.bytes = {0, 7, 7, 7, 7}, .type = IPMI_CMD_RECV_TYPE},
                              {.number = 4712, .bytes = Bytes(100, 0)},
                              {.bytes = good}}},
                good);
}

TEST_F(DriverTest, IsNotDisturbedBySignals)
{
    expectBytes({.messages = {{.bytes = good}}, .controlInterruptions = 3}, good);
    expectBytes({.messages = {{.bytes = good}}, .pollInterruptions = 3}, good);
}

TEST_F(DriverTest, TellsASilentBmc)
{
    Driver played;
    expectProblem(played, "the BMC is silent: no answer from " + device + " within 50 ms", 50);
    EXPECT_EQ(played.sent, 1);
}

TEST_F(DriverTest, HasATimeLimitThatOtherMessagesDoNotExtend)
{
    Driver played{.messages = {{.number = 4711, .bytes = good}}, .repeats = true};
    expectProblem(played, "the BMC is silent: no answer from " + device + " within 50 ms", 50);
}

TEST_F(DriverTest, HasATimeLimitThatSignalsDoNotExtend)
{
    // Each interruption takes a millisecond at least, so the limit comes long before the last.
    Driver played{.pollInterruptions = 5000};
    expectProblem(played, "the BMC is silent: no answer from " + device + " within 50 ms", 50);
    EXPECT_LT(played.polls, 5000);
    EXPECT_LE(played.firstTimeout, 50);
    EXPECT_LT(played.lastTimeout, played.firstTimeout);
}

TEST_F(DriverTest, TellsErrorsOfTheDriver)
{
    Driver refusing{.sendError = EINVAL};
    expectProblem(refusing, "sending to " + device + ": Invalid argument");
    Driver failing{.messages = {{.bytes = good}}, .receiveError = ENODEV};
    expectProblem(failing, "receiving from " + device + ": No such device");
    Driver cancelled{.messages = {{.bytes = good}}, .receiveError = ECANCELED};
    expectProblem(cancelled, "receiving from " + device + ": Operation canceled");
    Driver gone{.brokenOff = true};
    expectProblem(gone, "receiving from " + device + ": Input/output error");
    Driver deaf{.pollError = ENOMEM};
    expectProblem(deaf, "receiving from " + device + ": Cannot allocate memory");
}

TEST_F(DriverTest, TellsAMissingDeviceAndWhatToLoad)
{
    const std::string missing = directory.path / "missing";
    expectProblem(missing,
                  "no " + missing
                      + " (No such file or directory): load the kernel modules ipmi_msghandler, "
                        "ipmi_devintf and ipmi_si; if they are loaded, they found no BMC");
}

TEST_F(DriverTest, TellsADeviceWithoutItsDriver)
{
    const std::string socket = directory.path / "socket"; // can't be opened either
    ASSERT_EQ(mknod(socket.c_str(), S_IFSOCK | 0600, 0), 0);
    expectProblem(socket,
                  "no " + socket
                      + " (No such device or address): load the kernel modules ipmi_msghandler, "
                        "ipmi_devintf and ipmi_si; if they are loaded, they found no BMC");
}

TEST_F(DriverTest, TellsMissingRights)
{
    chmod(device.c_str(), 0);
    const WithoutPrivileges since;
    expectProblem(device,
                  "no permission to open " + device
                      + " for reading and writing (Permission denied): run as root, or as a user "
                        "with that right");
}

TEST_F(DriverTest, TellsWhatIsNoIpmiDevice)
{
    expectProblem("/dev/null", "sending to /dev/null: Inappropriate ioctl for device");
    expectProblem(directory.path, "opening " + directory.path.string() + ": Is a directory");
}
