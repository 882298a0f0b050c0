#include "watcher.h"

#include "support.h"

#include <csignal>
#include <poll.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr unsigned longestWatch = 120; // seconds

// What every shipped machine has; false when a call failed.
bool canLook()
{
    yat_device *root = nullptr;
    char version[64];
    unsigned long size = sizeof version;
    return CreateTreeViewData(&root) == 1 && cpuState(1) != "(fails)" && pciState(1) != "(fails)"
           && call_yat_is_ft(0) >= 0 && FreeTreeViewData(&root) == 1
           && (yat_ft_func.yat_ft_get_property(YAT_KIND_CPU_MODULE, 1, YAT_PROPERTY_BIOS_VERSION,
                                               version, &size)
                   == 0
               || cpuState(1) == "Not installed");
}

[[noreturn]] void watch(int orders, int reports)
{
    alarm(longestWatch);
    if (ft_FunctionInit() != 1)
        _exit(1);
    int failures = 0;
    for (bool isFirst = true, goesOn = true; goesOn; isFirst = false) {
        failures += canLook() ? 0 : 1;
        if (isFirst && write(reports, "x", 1) != 1)
            _exit(1);
        pollfd order = {.fd = orders, .events = POLLIN, .revents = 0};
        goesOn = poll(&order, 1, 1) == 0;
    }
    const std::string report = "failures " + std::to_string(failures) + "\n" + view();
    const bool isTold = write(reports, report.data(), report.size()) > 0;
    _exit(isTold && ft_FunctionRelease() == 1 ? 0 : 1);
}

} // namespace

std::string view()
{
    std::string result = "machine " + std::to_string(call_yat_is_ft(0)) + "\n";
    for (const int kind : {YAT_SETTING_AUTO_BURN, YAT_SETTING_AUTO_BRING_UP}) {
        int value = -1;
        GetBBDriverSettings(kind, YAT_CLASS_GENERAL, 1, &value);
        result += "setting " + std::to_string(value) + "\n";
    }
    for (int number = 1; number <= 3; ++number)
        result += "cpu " + cpuState(number) + ", "
                  + property(YAT_KIND_CPU_MODULE, number, YAT_PROPERTY_BIOS_VERSION) + ", "
                  + property(YAT_KIND_CPU_MODULE, number, YAT_PROPERTY_BIOS_STATUS) + "\npci "
                  + pciState(number) + "\n";
    for (int board = 1; board <= 5; ++board)
        result += "type " + property(YAT_KIND_BOARD, board, YAT_PROPERTY_MTBF_TYPE) + "\n";
    return result;
}

Watcher::Watcher()
{
    int toChild[2], fromChild[2];
    if (pipe(toChild) != 0 || pipe(fromChild) != 0)
        throw std::runtime_error("pipe");
    child = fork();
    if (child == 0) {
        close(toChild[1]); // or the end of this process would go unseen
        close(fromChild[0]);
        watch(toChild[0], fromChild[1]);
    }
    close(toChild[0]);
    close(fromChild[1]);
    orders = toChild[1];
    reports = fromChild[0];
    char ready;
    if (read(reports, &ready, 1) != 1)
        throw std::runtime_error("the watching process does not watch");
}

Watcher::~Watcher()
{
    close(orders);
    close(reports);
    if (child > 0) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
}

std::string Watcher::finish()
{
    std::string report;
    int status = -1;
    if (write(orders, "x", 1) == 1)
        for (char byte; read(reports, &byte, 1) == 1;)
            report += byte;
    waitpid(child, &status, 0);
    child = -1;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? report : "";
}
