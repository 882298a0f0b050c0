// SPDX-License-Identifier: GPL-2.0-or-later
// The start of mrvutil to its first screen, beside programs with a screen like it. They take turns
// and are compared turn by turn.
//
//     startup_bench [TURNS]
#include "report.h"
#include "support/files.h"
#include "support/process.h"
#include "turns.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>

namespace fs = std::filesystem;

namespace {

constexpr char ctrlA = '\x01', escape = '\x1b';
constexpr int visibleDevices = 10; // of CEDAR, and what else has as many
constexpr int manyDevices = 10000;

// A product root with the platform that costs nothing in the place of the simulated machine.
void makeFreeRoot(const std::string &root)
{
    fs::create_directories(root + "/bin");
    fs::copy(STAGE "/bin/mrvutil", root + "/bin");
    fs::copy(STAGE "/data", root + "/data", fs::copy_options::recursive);
    fs::create_directories(root + "/lib");
    fs::copy(STAGE "/lib/libyat.so", root + "/lib");
    fs::copy(FREE_PLATFORM, root + "/lib/yatcore.dll");
}

// A CEDAR with so many devices: modules, each with nine adapters.
void writeBigMachine(const std::string &file, int devices)
{
    std::ofstream out(file);
    out << "name = \"Big\"\ntype = \"CEDAR\"\n";
    int adapter = 0;
    for (int module = 1; module <= devices / 10; ++module) {
        out << "[[pci_module]]\nnumber = " << module << "\nname = \"PCI module " << module
            << "\"\npath = [10]\nboard = " << module
            << "\nstate = \"simplex\"\npartner = 0\nmtbf_type = \"always restart\"\n";
        for (int i = 0; i < 9; ++i) {
            ++adapter;
            out << "[[pci_module.adapter]]\nclass = \"Ethernet\"\nnumber = " << adapter
                << "\nname = \"Ethernet adapter " << adapter << "\"\npath = [10, 1]\n";
        }
    }
}

ScreenProgram utility(const std::string &name, const std::string &root, const std::string &state,
                      const std::string &variable)
{
    return {.name = name,
            .command = {root + "/bin/mrvutil", "-d"}, // leaves the kernel's console as it is
            .environment = {"YAT_STATE_DIR=" + state, variable},
            .shows = "Exit",
            .endKey = ctrlA,
            .endStatus = 1};
}

ScreenProgram menu(const std::string &name, int entries)
{
    ScreenProgram program{.name = name,
                          .command = {"whiptail", "--menu", "FT Server Utility", "20", "60", "12"},
                          .environment = {},
                          .shows = "Cancel",
                          .endKey = escape,
                          .endStatus = 255};
    for (int i = 1; i <= entries; ++i) {
        program.command.push_back(std::to_string(i));
        program.command.push_back("CPU module " + std::to_string(i));
    }
    return program;
}

// Starts each program once a turn, and tells how they did; the peers that the others are compared
// with are the last two.
void compare(const std::vector<ScreenProgram> &programs, int turns)
{
    std::vector<std::function<Start()>> starting;
    for (const ScreenProgram &program : programs)
        starting.emplace_back([&program] { return start(program); });
    const auto starts = takeTurns(starting, turns);
    const size_t peer = programs.size() - 2, least = programs.size() - 1;
    const auto resident = [&](size_t i) {
        return median(figures(starts[i], [](const Start &one) { return one.resident; }));
    };
    printf("| program | min | median | max | to whiptail | to newt | calls | RSS | to whiptail | "
           "PSS |\n"
           "|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n");
    for (size_t i = 0; i < programs.size(); ++i) {
        const auto proportional =
            figures(starts[i], [](const Start &one) { return one.proportional; });
        printf("| %s |", programs[i].name.c_str());
        printTimes(starts[i]);
        printf(" %.2f | %.2f | %ld | %.0f KiB | %.2f | %.0f KiB |\n",
               ratio(starts[i], starts[peer]), ratio(starts[i], starts[least]),
               systemCalls(programs[i]), resident(i), resident(i) / resident(peer),
               median(proportional));
        fflush(stdout);
    }
    printf("\n");
}

// A simulated machine of so many devices.
ScreenProgram utilityOf(const TemporaryDirectory &scratch, int devices)
{
    const std::string number = std::to_string(devices);
    const std::string description = scratch.path / (number + ".toml");
    if (!fs::exists(description))
        writeBigMachine(description, devices);
    return utility("mrvutil, simulated, " + number + " devices", STAGE, scratch.path / number,
                   "YAT_MACHINE=" + description);
}

// How the start and a window grow with the machine.
void compareSizes(const TemporaryDirectory &scratch, int turns)
{
    const std::vector<int> sizes = {100, 1000, 3000, manyDevices};
    std::vector<ScreenProgram> programs;
    for (const int devices : sizes)
        programs.push_back(utilityOf(scratch, devices));
    const std::string down = "\x1bOB";
    const std::vector<std::string> toAModule = {" ", down, " ", down, "\r"};
    std::vector<std::function<Start()>> starting, opening;
    for (const ScreenProgram &program : programs) {
        starting.emplace_back([&program] { return start(program); });
        opening.emplace_back([&] { return press(program, toAModule, "PCI module 1 "); });
    }
    const auto starts = takeTurns(starting, turns), windows = takeTurns(opening, turns);
    printf("| program | to its first screen: min | median | max | us a device"
           " | to a module's window: min | median | max |\n"
           "|---|---:|---:|---:|---:|---:|---:|---:|\n");
    for (size_t i = 0; i < sizes.size(); ++i) {
        const auto seconds = figures(starts[i], [](const Start &one) { return one.seconds; });
        printf("| %s |", programs[i].name.c_str());
        printTimes(starts[i]);
        printf(" %.1f |", median(seconds) * 1e6 / sizes[i]);
        printTimes(windows[i]);
        printf("\n");
    }
    printf("\n");
}

void compareAll(const TemporaryDirectory &scratch, int turns)
{
    const std::string freeRoot = scratch.path / "root";
    makeFreeRoot(freeRoot);
    const ScreenProgram empty{.name = "a newt program with nothing in it",
                              .command = {EMPTY_NEWT},
                              .environment = {},
                              .shows = "Exit",
                              .endKey = escape,
                              .endStatus = 0};
    compare(
        {utility("mrvutil, simulated CEDAR", STAGE, scratch.path / "cedar", "YAT_MACHINE=CEDAR"),
         utility("mrvutil, platform that costs nothing", freeRoot, scratch.path / "free",
                 "BENCH_DEVICES=" + std::to_string(visibleDevices)),
         menu("whiptail, menu of as many", visibleDevices), empty},
        turns);
    const std::string many = std::to_string(manyDevices);
    compare({utilityOf(scratch, manyDevices),
             utility("mrvutil, costs nothing, " + many, freeRoot, scratch.path / "freebig",
                     "BENCH_DEVICES=" + many),
             menu("whiptail, menu of " + many, manyDevices), empty},
            std::max(turns / 10, 1));
    compareSizes(scratch, std::max(turns / 10, 1));
}

// A program that prints the devices and ends.
Start print(const std::vector<std::string> &command)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point begin = Clock::now();
    const Finished one = run(command);
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    if (one.output.find("CPU module 1") == std::string::npos)
        throw std::runtime_error(command[0] + " does not print the devices");
    return {.seconds = seconds};
}

// These in turns; the others are compared with the first one.
void comparePrinting(const TemporaryDirectory &scratch, int turns)
{
    const std::vector<std::vector<std::string>> commands = {
        {STAGE "/bin/mrvutil", "-debug"},
        {STAGE "/bin/yatctl", "list"},
        {STAGE "/bin/yatctl", "list", "--json"},
        {STAGE "/bin/yatsim", "list"},
    };
    setenv("YAT_STATE_DIR", (scratch.path / "cedar").c_str(), 1);
    setenv("YAT_MACHINE", "CEDAR", 1);
    std::vector<std::function<Start()>> printing;
    for (const std::vector<std::string> &command : commands)
        printing.emplace_back([&command] { return print(command); });
    const auto starts = takeTurns(printing, turns);
    printf("| program, to its end | min | median | max | to mrvutil -debug |\n"
           "|---|---:|---:|---:|---:|\n");
    for (size_t i = 0; i < commands.size(); ++i) {
        std::string name = fs::path(commands[i][0]).filename();
        for (size_t word = 1; word < commands[i].size(); ++word)
            name += " " + commands[i][word];
        printf("| %s |", name.c_str());
        printTimes(starts[i]);
        printf(" %.2f |\n", ratio(starts[i], starts[0]));
    }
    printf("\n");
}

} // namespace

int main(int argc, char **argv)
try {
    const int turns = argc > 1 ? std::stoi(argv[1]) : 50;
    const TemporaryDirectory scratch;
    setenv("LC_ALL", "C.UTF-8", 1);
    setenv("TERM", "xterm-256color", 1);
    printf("%s\n\n", conditions().c_str());
    comparePrinting(scratch, turns);
    compareAll(scratch, turns);
    return 0;
} catch (const std::exception &fault) {
    fprintf(stderr, "startup_bench: %s\n", fault.what());
    return 1;
}
