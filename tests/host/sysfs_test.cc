// SPDX-License-Identifier: GPL-2.0-or-later
// Reading and writing the kernel's attributes, whatever they are.
#include "host/sysfs.h"
#include "support/files.h"
#include "support/process.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using std::chrono::milliseconds;

class Attribute : public testing::Test {
protected:
    std::optional<uint64_t> numberIn(const std::string &text) const
    {
        writeFile(file, text);
        return host::readNumber(file);
    }

    const TemporaryDirectory directory;
    const std::string file = directory.path / "power";
};

volatile sig_atomic_t alarms;

void countAlarm(int)
{
    alarms = alarms + 1;
}

// The process that this thread's process has started; 0 when the time is up. Asks the kernel by
// itself: umockdev's open takes a lock, which a process that is started meanwhile would wait for.
pid_t awaitChild(pid_t parent)
{
    const std::string task = std::to_string(parent);
    const std::string name = "/proc/" + task + "/task/" + task + "/children";
    const auto children = static_cast<int>(syscall(SYS_openat, AT_FDCWD, name.c_str(), O_RDONLY));
    char text[32] = "";
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (syscall(SYS_pread64, children, text, sizeof text - 1, 0L) == 0
           && std::chrono::steady_clock::now() < end)
        usleep(1000);
    close(children);
    return atoi(text);
}

} // namespace

TEST_F(Attribute, ThatTakesNothingIsGivenUp)
{
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0); // without a reader
    EXPECT_EQ(host::writeAttribute(file, "1", milliseconds(50)),
              "writing \"1\" to " + file + " did not finish in time");
    EXPECT_TRUE(WIFSIGNALED(waitForChild())); // so it does nothing later
    EXPECT_EQ(host::writeAttribute(directory.path, "1", milliseconds(5000)), "Is a directory");
}

TEST_F(Attribute, IsReadUpToAMegabyte)
{
    writeFile(file, std::string((1 << 20) + 5000, 'x'));
    EXPECT_EQ(host::readAttribute(file).value_or("").size(), 1u << 20);
}

TEST_F(Attribute, IsAFile)
{
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    const int both = open(file.c_str(), O_RDWR | O_NONBLOCK);
    ASSERT_EQ(write(both, "1\n", 2), 2);
    EXPECT_FALSE(host::readAttribute(file));
    close(both);
    EXPECT_FALSE(host::readAttribute(directory.path));
}

TEST_F(Attribute, IsANumberAsAWhole)
{
    EXPECT_EQ(numberIn("12\n"), 12u);
    EXPECT_EQ(numberIn("0x1f\n"), 31u);
    EXPECT_EQ(numberIn("18446744073709551615"), UINT64_MAX);
    for (const char *text : {"12x", "1 2", "x", "0x", "0xg", "-1", "+1", " 1", "1f",
                             "18446744073709551616", "0x10000000000000000"})
        EXPECT_FALSE(numberIn(text)) << text;
}

TEST_F(Attribute, HasANumberBehindAWordThatBeginsALine)
{
    EXPECT_EQ(host::numberOfLine("TOTAL 4\nX 1", "TOTAL"), 4u);
    EXPECT_EQ(host::numberOfLine("MY TOTAL 3\nMYTOTAL 3\nTOTALS 3\nTOTAL 4\nX 1", "TOTAL"), 4u);
    for (const char *text :
         {"", "MY TOTAL 3", "TOTALS 3", "TOTAL", "TOTAL x", "TOTAL 18446744073709551616"})
        EXPECT_FALSE(host::numberOfLine(text, "TOTAL")) << text;
}

TEST(Path, IsBelowADirectoryOrThatItself)
{
    EXPECT_TRUE(host::isBelow("/a/b", "/a/b"));
    EXPECT_TRUE(host::isBelow("/a/b/c", "/a/b"));
    EXPECT_FALSE(host::isBelow("/a/bc", "/a/b"));
    EXPECT_FALSE(host::isBelow("/a", "/a/b"));
}

TEST_F(Attribute, TellsThatItsWriterWasKilled)
{
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0); // without a reader
    const pid_t self = getpid();
    std::thread killer([&] {
        if (const pid_t writer = awaitChild(self); writer > 0)
            kill(writer, SIGKILL);
    });
    EXPECT_EQ(host::writeAttribute(file, "1", deadline),
              "the process that writes to " + file + " was killed");
    killer.join();
}

// The terminal's signals go to both processes, and the program's handlers are for one.
TEST_F(Attribute, IsWrittenByAProcessThatNoSignalDisturbs)
{
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    const pid_t self = getpid();
    int reader = -1;
    std::thread kernel([&] {
        const pid_t writer = awaitChild(self);
        for (const int signal : {SIGTERM, SIGTSTP, SIGHUP, SIGINT})
            if (writer > 0)
                kill(writer, signal);
        reader = open(file.c_str(), O_RDONLY | O_NONBLOCK);
    });
    EXPECT_EQ(host::writeAttribute(file, "1", deadline), "");
    kernel.join();
    close(reader);
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    EXPECT_EQ(sigismember(&blocked, SIGTERM), 0); // here they come in again
}

// Signals that come meanwhile neither end the wait nor make it fail.
TEST_F(Attribute, IsAwaitedWhateverSignalsComeIn)
{
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    struct sigaction action {
    }, before;
    action.sa_handler = countAlarm;
    sigaction(SIGALRM, &action, &before);
    const pid_t self = getpid();
    int reader = -1;
    std::thread kernel([&] {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, nullptr); // they are for the one who waits
        awaitChild(self);
        alarms = 0;
        const itimerval often{{0, 2000}, {0, 2000}};
        setitimer(ITIMER_REAL, &often, nullptr);
        const auto end = std::chrono::steady_clock::now() + deadline;
        while (alarms < 10 && std::chrono::steady_clock::now() < end)
            usleep(1000);
        reader = open(file.c_str(), O_RDONLY | O_NONBLOCK);
    });
    EXPECT_EQ(host::writeAttribute(file, "1", deadline), "");
    kernel.join();
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before, nullptr);
    EXPECT_GE(alarms, 10);
    close(reader);
}
