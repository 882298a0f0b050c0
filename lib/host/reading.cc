// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/reading.h"

#include "base/tracing.h"
#include "common/problem.h"
#include "host/functions.h"
#include "host/processors.h"
#include "host/sysfs.h"

namespace host {
namespace {

constexpr char traceSource[] = "yathost";

// Each look and each device of a large server would tell it again.
void traceOnce(const yat::Problem &problem)
{
    static std::string told;
    if (told != problem.what())
        TRACE_ERROR("%s", problem.what());
    told = problem.what();
}

std::vector<Package> readAndRemember()
{
    PackageOf known = recall().packages;
    const PackageOf before = known;
    std::vector<Package> packages = readPackages(known);
    if (known != before)
        try {
            changeMemory([&](Memory &memory) { memory.packages = known; });
        } catch (const yat::Problem &problem) { // which matters when a package is stopped only
            traceOnce(problem);
        }
    return packages;
}

std::string readBiosVersion()
{
    std::string result;
    for (const char *name : {"bios_vendor", "bios_version", "bios_date"})
        if (const auto part = readAttribute(std::string("/sys/class/dmi/id/") + name))
            result += (result.empty() ? "" : " ") + *part;
    return result;
}

} // namespace

Memory recall()
try {
    return readMemory();
} catch (const yat::Problem &problem) {
    traceOnce(problem);
    return {};
}

void rememberBaseline(const std::string &key, const Counts &before, const Counts &now)
try {
    changeMemory([&](Memory &memory) {
        if (const auto found = memory.baselines.find(key);
            found != memory.baselines.end() && found->second == before)
            found->second = now;
    });
} catch (const yat::Problem &problem) {
    traceOnce(problem);
}

Machine readMachine()
{
    Machine machine;
    machine.packages = readAndRemember();
    if (machine.packages.empty())
        throw yat::Problem("no processors are listed below /sys/devices/system/cpu");
    machine.slots = readSlots();
    machine.functions = readFunctions(machine.slots);
    machine.biosVersion = readBiosVersion();
    return machine;
}

} // namespace host
