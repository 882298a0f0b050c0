// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/processors.h"

#include "host/enumeration.h"
#include "host/sysfs.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <unistd.h>

namespace host {
namespace {

const std::string memoryControllers = "/sys/devices/system/edac/mc";

const std::string allProcessors = "/sys/devices/system/cpu";
constexpr unsigned mostProcessors = 1 << 16; // Linux has 8192 at most

// The numbers in a list as 0-3,8; nothing for garbage.
std::optional<std::set<int>> numbersOf(const std::string &list)
{
    std::set<int> numbers;
    const char *at = list.data(), *const end = at + list.size();
    for (;;) {
        unsigned first = 0;
        auto read = std::from_chars(at, end, first);
        unsigned last = first;
        if (read.ec == std::errc() && read.ptr != end && *read.ptr == '-')
            read = std::from_chars(read.ptr + 1, end, last);
        if (read.ec != std::errc() || last < first || last >= mostProcessors)
            return {};
        for (; first <= last; ++first)
            numbers.insert(static_cast<int>(first));
        if (read.ptr == end)
            return numbers;
        if (*read.ptr != ',')
            return {};
        at = read.ptr + 1;
    }
}

Processor readProcessor(const Online &online, int number)
{
    return {.number = number,
            .isOnline = isOnline(online, number),
            .canGoOffline = access(onlineFile(number).c_str(), F_OK) == 0};
}

// The package that the kernel tells; nothing for garbage, or of a processor that is offline.
std::optional<int> toldPackage(const std::string &directory)
{
    const std::string file = directory + "/topology/physical_package_id";
    if (const auto number = readNumber(file); number && *number <= INT_MAX)
        return static_cast<int>(*number);
    // On some machines it reads so for the only package there is.
    return readAttribute(file) == "-1" ? std::optional(0) : std::nullopt;
}

Package &packageNumbered(std::vector<Package> &packages, int number)
{
    for (Package &package : packages)
        if (package.number == number)
            return package;
    return packages.emplace_back(Package{.number = number, .processors = {}, .counts = {}});
}

// The package that all processors of a NUMA node are in; the only one, where there is but one.
const Package *packageOfNode(const std::vector<Package> &packages, const std::string &node)
{
    if (packages.size() == 1)
        return &packages.front();
    for (const std::string &name : namesIn("/sys/devices/system/node/node" + node))
        for (const Package &package : packages)
            for (const Processor &processor : package.processors)
                if (name == "cpu" + std::to_string(processor.number))
                    return &package;
    return nullptr;
}

// What the memory controllers have counted. One whose package can't be told counts nowhere.
void addMemoryErrors(std::vector<Package> &packages)
{
    for (const std::string &name : namesIn(memoryControllers)) {
        const std::string directory = memoryControllers + "/" + name;
        const auto corrected = readNumber(directory + "/ce_count");
        const auto uncorrected = readNumber(directory + "/ue_count");
        const Package *package =
            packageOfNode(packages, readAttribute(directory + "/device/numa_node").value_or("-1"));
        if (package && (corrected || uncorrected))
            packageNumbered(packages, package->number).counts +=
                {true, corrected.value_or(0), uncorrected.value_or(0)};
    }
}

// The numbers in a row of /proc/interrupts, which has a column for each processor online.
std::map<int, uint64_t> rowOf(const std::string &interrupts, const std::string &name)
{
    std::istringstream lines(interrupts);
    std::string header, line, word;
    std::getline(lines, header);
    std::map<int, uint64_t> result;
    while (std::getline(lines, line)) {
        std::istringstream row(line), columns(header);
        if (!(row >> word) || word != name)
            continue;
        for (uint64_t count; columns >> word && row >> count;)
            if (word.starts_with("CPU"))
                result[atoi(word.c_str() + strlen("CPU"))] = count;
    }
    return result;
}

std::vector<uint64_t> ofPackage(const std::map<int, uint64_t> &row, const Package &package)
{
    std::vector<uint64_t> result;
    for (const Processor &processor : package.processors)
        if (const auto found = row.find(processor.number); found != row.end())
            result.push_back(found->second);
    return result;
}

// Machine checks stop all processors of a package at once, as a rule, and each of them counts. The
// interrupts for corrected errors count where no memory controller does.
void addMachineChecks(std::vector<Package> &packages)
{
    const std::string interrupts = readAttribute("/proc/interrupts").value_or("");
    const auto exceptions = rowOf(interrupts, "MCE:"), corrected = rowOf(interrupts, "THR:");
    for (Package &package : packages) {
        const auto stops = ofPackage(exceptions, package);
        if (stops.empty())
            continue;
        if (!package.counts.isKnown)
            for (const uint64_t count : ofPackage(corrected, package))
                package.counts += {false, count, 0};
        package.counts += {true, 0, *std::ranges::max_element(stops)};
    }
}

} // namespace

std::string onlineFile(int processor)
{
    return allProcessors + "/cpu" + std::to_string(processor) + "/online";
}

Online readOnline()
{
    return numbersOf(readAttribute(allProcessors + "/online").value_or(""));
}

bool isOnline(const Online &online, int processor)
{
    // Without a switch it is always there.
    return online ? online->contains(processor)
                  : readNumber(onlineFile(processor)).value_or(1) != 0;
}

bool areSiblingsOff()
{
    const std::string control = readAttribute(allProcessors + "/smt/control").value_or("");
    return control == "off" || control == "forceoff";
}

std::vector<Package> readPackages(PackageOf &known)
{
    const Online online = readOnline();
    const bool siblingsAreOff = areSiblingsOff();
    std::vector<Package> packages;
    for (const KernelDevice &device : kernelDevices("cpu")) {
        const int number = atoi(lastName(device.path).c_str() + strlen("cpu"));
        if (const auto told = toldPackage(device.path))
            known[number] = *told;
        const auto place = known.find(number);
        const Processor processor = readProcessor(online, number);
        if (place == known.end() && siblingsAreOff && !processor.isOnline)
            continue; // as a module of its own it could be seen, and never started
        packageNumbered(packages, place == known.end() ? unknownPackage : place->second)
            .processors.push_back(processor);
    }
    for (Package &package : packages)
        std::ranges::sort(package.processors, {}, &Processor::number);
    // The unknown one comes last.
    std::ranges::sort(packages, {},
                      [](const Package &package) { return static_cast<unsigned>(package.number); });
    addMemoryErrors(packages);
    addMachineChecks(packages);
    return packages;
}

} // namespace host
