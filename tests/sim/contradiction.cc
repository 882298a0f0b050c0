// SPDX-License-Identifier: GPL-2.0-or-later
#include "contradiction.h"

#include <algorithm>

using namespace sim;

namespace {

bool pairRuns(const Machine &machine, const Device &device)
{
    const Device *partner = partnerOf(machine, device);
    return isRunning(device.state) || (partner && isRunning(partner->state));
}

std::string contradictionOfModule(const Machine &machine, const Device &device)
{
    const Device *partner = partnerOf(machine, device);
    const State other = partner ? partner->state : State::empty;
    if (device.state == State::duplex && other != State::duplex)
        return "runs in duplex without its partner";
    if (device.state == State::simplex && isRunning(other))
        return "runs in simplex beside its running partner";
    if (device.state == State::synchronising && other != State::simplex)
        return "synchronises with a partner that does not run";
    if (device.copies && !isRunning(other))
        return "takes its firmware from a partner that does not run";
    if ((device.state == State::firmwareUpdate) != !device.newBios.empty())
        return "has new firmware without an update, or an update without firmware";
    if ((device.copies || device.startsAfter) && device.state != State::firmwareUpdate)
        return "has a firmware update in a state that is none";
    return {};
}

std::string contradictionOfBios(const Device &device)
{
    const bool hasBios = device.id.classCode == YAT_CLASS_CPU_MODULE;
    if (hasBios && (device.biosVersion.empty() || device.biosStatus.empty()))
        return "has no BIOS";
    if (!hasBios && !(device.biosVersion.empty() && device.biosStatus.empty()))
        return "has a BIOS without being a CPU module";
    if (std::max({device.biosVersion.size(), device.biosStatus.size(), device.newBios.size()})
        > longestVersion)
        return "has too long a BIOS version or status";
    return {};
}

std::string contradictionOfFailures(const Machine &machine, const Device &device)
{
    if (device.mtbfType < stayDown || device.mtbfType > restartAboveThreshold)
        return "has an unknown MTBF type";
    if (device.since < 0 || device.since > machine.now
        || (!device.failures.empty() && device.failures.back() > machine.now))
        return "is in its state, or has failed, since a time in the future";
    if (!device.failures.empty() && device.failures.front() < -longestMtbf * hour)
        return "has failed longer ago than the longest MTBF";
    if (!std::ranges::is_sorted(device.failures) || device.failures.size() > failuresKept
        || device.failureCount < 0 || device.failureCount > mostFailures
        || static_cast<size_t>(device.failureCount) < device.failures.size())
        return "has failures out of order, too many, or more than its count";
    return {};
}

} // namespace

std::string contradiction(const Machine &machine)
{
    if (machine.mtbfThreshold < 0 || machine.mtbfThreshold > longestMtbf * hour)
        return "its MTBF threshold is out of range";
    if (machine.dataFileVersion.size() > longestVersion)
        return "its data file has too long a version";
    for (const Device &device : machine.devices) {
        std::string found = isModule(device.id) ? contradictionOfModule(machine, device)
                            : device.state != State::broken && device.state != State::duplex
                                ? "is an adapter in the state of a module"
                                : "";
        if (found.empty())
            found = contradictionOfFailures(machine, device);
        if (found.empty())
            found = contradictionOfBios(device);
        if (!found.empty())
            return device.name + " " + found;
    }
    return {};
}

bool tookPairDown(const Machine &before, const Machine &after)
{
    for (size_t i = 0; i < before.devices.size(); ++i)
        if (isModule(before.devices[i].id) && pairRuns(before, before.devices[i])
            && !pairRuns(after, after.devices[i]))
            return true;
    return false;
}
