// SPDX-License-Identifier: GPL-2.0-or-later
// What a call of the platform costs on the simulated machine: transactions and steps of SQLite,
// calls of the system, and time.
#include "bigmachine.h"
#include "report.h"
#include "support/files.h"
#include "yat/export.h"
#include "yat/facts.h"
#include "yat/ft.h"
#include "yatsim/writing.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <sqlite3.h>
#include <stdexcept>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

int steps, transactions;

} // namespace

// In the place of SQLite's, for whatever this process loads.
extern "C" YAT_API int sqlite3_step(sqlite3_stmt *statement)
{
    static const auto real =
        reinterpret_cast<decltype(&sqlite3_step)>(dlsym(RTLD_NEXT, "sqlite3_step"));
    ++steps;
    const char *sql = sqlite3_sql(statement); // none when SQLite asks itself
    if (sql && strncmp(sql, "BEGIN", 5) == 0)
        ++transactions;
    return real(statement);
}

namespace {

using Clock = std::chrono::steady_clock;

struct Action {
    const char *name;
    std::function<void()> run;
};

void expect(bool holds, const char *what)
{
    if (!holds)
        throw std::runtime_error(what);
}

yat_device *tree()
{
    yat_device *root = nullptr;
    expect(CreateTreeViewData(&root) == 1, "no device records");
    return root;
}

void readState(int kind, int code)
{
    char text[1024];
    expect(StatusChange(kind, 1, code, text) != -1, "no state");
}

void readProperty(int kind, int property)
{
    char text[1024];
    unsigned long size = sizeof text;
    expect(yat_ft_func.yat_ft_get_property(kind, 1, property, text, &size) == 0, "no property");
}

void readSettings()
{
    int value;
    for (const int kind : {YAT_SETTING_AUTO_BURN, YAT_SETTING_AUTO_BRING_UP})
        expect(GetBBDriverSettings(kind, YAT_CLASS_GENERAL, 1, &value) != 0, "no setting");
}

void writeSetting()
{
    int value = 1;
    expect(PutBBDriverSettings(YAT_SETTING_AUTO_BURN, YAT_CLASS_GENERAL, 1, &value) != 0,
           "not set");
}

void readFacts(yat_device *device)
{
    yat_facts facts = {};
    facts.size = sizeof facts;
    expect(GetDeviceFacts(device, &facts) == 1, "no facts");
}

void convert()
{
    char text[] = "4";
    int value;
    expect(yat_ft_func.Linux_ConvertDataToInt(text, &value) == 0, "no number");
}

// What the windows of the modules ask for when they are opened.
void openCpuWindow()
{
    call_yat_is_ft(0);
    readState(YAT_KIND_CPU_MODULE, YAT_STATE_CPU_MODULE);
    readProperty(YAT_KIND_CPU_MODULE, YAT_PROPERTY_BIOS_VERSION);
    readProperty(YAT_KIND_CPU_MODULE, YAT_PROPERTY_BIOS_STATUS);
    readProperty(YAT_KIND_BOARD, YAT_PROPERTY_MTBF_TYPE);
    convert();
}

void openPciWindow()
{
    call_yat_is_ft(0);
    readState(YAT_KIND_PCI_MODULE, YAT_STATE_PCI_MODULE);
    readProperty(YAT_KIND_PCI_MODULE, YAT_PROPERTY_RELATIONAL_INDEX);
    convert();
    readProperty(YAT_KIND_BOARD, YAT_PROPERTY_MTBF_TYPE);
    convert();
}

std::vector<Action> actionsOn(yat_device *cpu)
{
    return {
        {"Linux_ConvertDataToInt", convert},
        {"call_yat_is_ft", [] { call_yat_is_ft(0); }},
        {"yat_ft_get_property",
         [] { readProperty(YAT_KIND_CPU_MODULE, YAT_PROPERTY_BIOS_VERSION); }},
        {"StatusChange", [] { readState(YAT_KIND_CPU_MODULE, YAT_STATE_CPU_MODULE); }},
        {"IfSupport", [cpu] { expect(IfSupport(cpu, 7, nullptr) != 0, "not supported"); }},
        {"the window of a CPU module", openCpuWindow},
        {"the window of a PCI module", openPciWindow},
        {"GetDeviceFacts", [cpu] { readFacts(cpu); }},
        {"the window of the general settings", readSettings},
        {"PutBBDriverSettings", writeSetting},
        {"SetMtbfType", [cpu] { expect(SetMtbfType(cpu, 14, "1") == 1, "not set"); }},
        {"ClearMTBF", [cpu] { expect(ClearMTBF(cpu, 2) == 1, "not cleared"); }},
        {"CreateTreeViewData, FreeTreeViewData",
         [] {
             yat_device *root = tree();
             FreeTreeViewData(&root);
         }},
        {"ft_FunctionRelease, ft_FunctionInit, call_yat_is_ft",
         [] {
             ft_FunctionRelease();
             expect(ft_FunctionInit() == 1, "not opened");
             call_yat_is_ft(0);
         }},
    };
}

// ---- Calls of the system, which the parent counts between two marks

void mark()
{
    syscall(SYS_getppid);
}

// Runs each action once in a process that is traced. The calls of the system of each.
std::vector<int> systemCalls()
{
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        expect(ft_FunctionInit() == 1, "not opened");
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        for (const Action &action : actionsOn(tree()->children[0])) {
            action.run();
            mark();
            action.run();
            mark();
        }
        _exit(0);
    }
    std::vector<int> result;
    bool isBetween = false, isEntry = false;
    for (int status; waitpid(child, &status, 0) == child && WIFSTOPPED(status);
         ptrace(PTRACE_SYSCALL, child, nullptr, nullptr)) {
        if (WSTOPSIG(status) != SIGTRAP)
            continue;
        isEntry = !isEntry;
        user_regs_struct registers{};
        ptrace(PTRACE_GETREGS, child, nullptr, &registers);
        const bool isMark = registers.orig_rax == SYS_getppid;
        if (isEntry && isMark) {
            isBetween = !isBetween;
            if (isBetween)
                result.push_back(0);
        } else if (isEntry && isBetween) {
            ++result.back();
        }
    }
    return result;
}

// ---- The table

// The middle of nine means, in microseconds.
double timeOf(const Action &action)
{
    constexpr std::chrono::milliseconds enough(20);
    std::vector<double> means;
    for (int i = 0; i < 9; ++i) {
        int runs = 0;
        const auto begin = Clock::now();
        do {
            action.run();
            ++runs;
        } while (Clock::now() - begin < enough);
        means.push_back(std::chrono::duration<double, std::micro>(Clock::now() - begin).count()
                        / runs);
    }
    std::ranges::nth_element(means, means.begin() + 4);
    return means[4];
}

void report(const char *machine)
{
    const std::vector<int> ofSystem = systemCalls(); // nothing is open here yet
    expect(ft_FunctionInit() == 1, "not opened");
    yat_device *root = tree();
    const std::vector<Action> actions = actionsOn(root->children[0]);
    expect(ofSystem.size() == actions.size(), "the traced process ended early");
    for (size_t i = 0; i < actions.size(); ++i) {
        actions[i].run();
        steps = transactions = 0;
        actions[i].run();
        printf("| %s | %s | %d | %d | %d |", machine, actions[i].name, transactions, steps,
               ofSystem[i]);
        printf(" %.2f |\n", timeOf(actions[i]));
    }
    FreeTreeViewData(&root);
    ft_FunctionRelease();
}

// Their boards are the first ones.
sim::Machine withCpuModules(const sim::Machine &big)
{
    sim::Machine machine = big;
    machine.devices.clear();
    for (const int number : {1, 2}) {
        sim::Device &module = machine.devices.emplace_back();
        module.id = {YAT_CLASS_CPU_MODULE, number};
        module.name = "CPU module " + std::to_string(number);
        module.board = number;
        module.partner = 3 - number;
        module.state = sim::State::duplex;
        module.biosVersion = "1.0";
        module.biosStatus = "Valid";
    }
    for (sim::Device device : big.devices) {
        device.board += 2;
        device.parent += device.parent < 0 ? 0 : 2;
        machine.devices.push_back(device);
    }
    return machine;
}

void reportBig(const TemporaryDirectory &scratch, int devices)
{
    const std::string name = std::to_string(devices) + " devices";
    const std::string file = scratch.path / (std::to_string(devices) + ".toml");
    writeFile(file, toToml(withCpuModules(bigMachine(devices))));
    setenv("YAT_MACHINE", file.c_str(), 1);
    report(name.c_str());
}

} // namespace

int main()
try {
    const TemporaryDirectory scratch("/dev/shm");
    setenv("YAT_STATE_DIR", scratch.path.c_str(), 1);
    setenv("YAT_MACHINE", "CEDAR", 1);
    setenv("YAT_TIME_SCALE", "1", 1);
    printf("%s\n\n", conditions().c_str());
    printf("| machine | call | transactions | steps of SQLite | system calls | us |\n");
    printf("|---|---|--:|--:|--:|--:|\n");
    report("CEDAR");
    for (const int devices : {1000, 10000})
        reportBig(scratch, devices);
    return 0;
} catch (const std::exception &problem) {
    fprintf(stderr, "%s\n", problem.what());
    return 1;
}
