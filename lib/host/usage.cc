#include "host/usage.h"

#include "common/caller.h"
#include "host/blocks.h"
#include "host/network.h"
#include "host/sysfs.h"

namespace host {
namespace {

// A function whose driver hands it to a program, or whose interface another network namespace has:
// what it is used for can't be seen from here.
std::string useOutOfSight(const Function &function)
{
    if (function.driver == "vfio-pci" || function.driver.starts_with("uio"))
        return function.address + " is handed to a program by the driver " + function.driver;
    if (function.classCode >> 8 == ethernetClass && !function.driver.empty()
        && function.interfaces.empty())
        return "the interface of " + function.address + " may be in another network namespace";
    return {};
}

std::string useByTerminal(const std::vector<std::string> &paths)
{
    const std::string terminal = yat::thisCaller().terminal;
    const std::string device =
        terminal.empty() ? "" : resolved("/sys/class/tty/" + lastName(terminal));
    for (const std::string &path : paths)
        if (isBelow(device, path))
            return "this terminal, " + terminal + ", is connected to it";
    return {};
}

} // namespace

std::string useOf(const Machine &machine, const Slot &slot)
{
    std::vector<std::string> paths;
    for (const Function *function : functionsBelow(machine, slot)) {
        if (std::string use = useOutOfSight(*function); !use.empty())
            return use;
        paths.push_back(function->path);
    }
    for (const auto use : {useOfDisks, useOfInterfaces, useByTerminal})
        if (std::string found = use(paths); !found.empty())
            return found;
    return {};
}

} // namespace host
