// SPDX-License-Identifier: GPL-2.0-or-later
// The server that this runs on as a machine: mrvutil beside the programs that list its hardware,
// where umockdev plays one with a thousand PCI functions.
//
//     host_bench [TURNS]
#include "host/server.h"
#include "report.h"
#include "support/files.h"
#include "support/process.h"
#include "turns.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr char ctrlA = '\x01';
constexpr size_t functions = 1000;

// What lspci reads of a function and the product does not.
void addConfiguration(const Server &server, const std::string &path, unsigned classCode)
{
    std::string bytes = "\x86\x80\xd3\x10"; // vendor and device
    bytes.resize(64);
    for (size_t i = 0; i < 3; ++i)
        bytes[9 + i] = static_cast<char>(classCode >> 8 * i);
    server.write(path + "/config", bytes);
    server.write(path + "/vendor", "0x8086\n");
    server.write(path + "/device", "0x10d3\n");
    char text[16];
    snprintf(text, sizeof text, "0x%06x\n", classCode);
    server.write(path + "/class", text);
    server.write(path + "/irq", "0\n");
    std::string resources;
    for (int i = 0; i < 7; ++i)
        resources += "0x0000000000000000 0x0000000000000000 0x0000000000000000\n";
    server.write(path + "/resource", resources);
}

void fill(const Server &server)
{
    server.addProcessor(0, 0, false);
    for (const std::string &path : addThousandFunctions(server))
        addConfiguration(server, path,
                         static_cast<unsigned>(strtoul(
                             path.find("/pci0001") == path.npos ? ethernet.c_str() : nvme.c_str(),
                             nullptr, 16)));
}

struct Listing {
    const char *name;
    std::vector<std::string> command;
};

const Listing dump = {"mrvutil -debug", {STAGE "/bin/mrvutil", "-debug"}},
              list = {"yatctl list", {STAGE "/bin/yatctl", "list"}},
              lspci = {"lspci", {"/usr/bin/lspci"}},
              lshw = {"lshw -short", {"/usr/bin/lshw", "-short"}};

// A program from its start to its end; its memory is the most that it had.
Start runToItsEnd(const Listing &listing)
{
    using Clock = std::chrono::steady_clock;
    const TemporaryDirectory directory;
    const std::string output = directory.path / "output";
    const Clock::time_point begin = Clock::now();
    const pid_t process = start(listing.command, {.prepare = [&] {
                                    dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
                                    dup2(creat(output.c_str(), 0600), STDOUT_FILENO);
                                    setenv("LD_PRELOAD", UMOCKDEV, 1);
                                }});
    rusage used;
    const bool hasEnded = wait4(process, nullptr, 0, &used) == process;
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    if (!hasEnded || linesOf(readFile(output)).size() < functions)
        throw std::runtime_error(std::string(listing.name) + " does not list all functions");
    return {.seconds = seconds, .resident = static_cast<double>(used.ru_maxrss)};
}

void printRow(const std::string &name, const std::vector<Start> &starts,
              const std::vector<Start> &peers)
{
    printf("| %s |", name.c_str());
    printTimes(starts);
    printf(" %.2f | %.0f KiB |\n", ratio(starts, peers),
           median(figures(starts, [](const Start &one) { return one.resident; })));
}

void compare(int turns)
{
    const ScreenProgram screen{.name = "mrvutil, to its first screen",
                               .command = {STAGE "/bin/mrvutil", "-d"},
                               .environment = {"LD_PRELOAD=" UMOCKDEV},
                               .shows = "Exit",
                               .endKey = ctrlA,
                               .endStatus = 1};
    const auto starts =
        takeTurns({[&] { return start(screen); }, [] { return runToItsEnd(dump); },
                   [] { return runToItsEnd(list); }, [] { return runToItsEnd(lspci); }},
                  turns);
    printf("| program | min | median | max | to lspci | RSS |\n|---|---:|---:|---:|---:|---:|\n");
    printRow(screen.name, starts[0], starts[3]);
    printRow(dump.name, starts[1], starts[3]);
    printRow(list.name, starts[2], starts[3]);
    printRow(lspci.name, starts[3], starts[3]);
    printRow(lshw.name, {runToItsEnd(lshw)}, starts[3]); // once is enough for what takes so long
    printf("\n");
}

} // namespace

int main(int argc, char **argv)
try {
    const Server server;
    fill(server);
    const TemporaryDirectory state;
    setenv("LC_ALL", "C.UTF-8", 1);
    setenv("TERM", "xterm-256color", 1);
    setenv("YAT_MACHINE", "hardware", 1);
    setenv("YAT_STATE_DIR", state.path.c_str(), 1);
    printf("%s\n\n", conditions().c_str());
    compare(argc > 1 ? std::stoi(argv[1]) : 20);
    return 0;
} catch (const std::exception &fault) {
    fprintf(stderr, "host_bench: %s\n", fault.what());
    return 1;
}
