// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/usage.h"

#include "common/caller.h"
#include "common/problem.h"
#include "host/blocks.h"
#include "host/network.h"
#include "host/sysfs.h"

#include <algorithm>

namespace host {
namespace {

// In the names of drivers that let a program or another system have a function: vfio-pci,
// mlx5_vfio_pci, uio_pci_generic, igb_uio, pciback.
constexpr const char *handingOut[] = {"vfio", "uio", "pciback"};

constexpr unsigned networkBaseClass = 0x02; // Ethernet, InfiniBand and others

// A function whose driver hands it to a program, or whose interface another network namespace has:
// what it is used for can't be seen from here.
MaybeReason useOutOfSight(const Function &function)
{
    if (std::ranges::any_of(handingOut, [&](const char *part) {
            return function.driver.find(part) != std::string::npos;
        }))
        return Reason{
            function.address + " is assigned to a program by the driver " + function.driver,
            function.address + "はドライバ" + function.driver + "でプログラムに渡されています"};
    if (function.classCode >> 16 == networkBaseClass && !function.driver.empty()
        && function.interfaces.empty())
        return Reason{
            "the interface of " + function.address + " may be in another network namespace",
            function.address + "のインタフェースは別のネットワーク名前空間にあるかもしれません"};
    return {};
}

MaybeReason useByTerminal(const std::vector<std::string> &paths)
{
    const std::string terminal = yat::thisCaller().terminal;
    const std::string device =
        terminal.empty() ? "" : resolved("/sys/class/tty/" + lastName(terminal));
    for (const std::string &path : paths)
        if (isBelow(device, path))
            return Reason{"this terminal, " + terminal + ", is connected to it",
                          "この端末" + terminal + "が接続されています"};
    return {};
}

MaybeReason useBelow(const std::vector<const Function *> &functions)
{
    std::vector<std::string> paths;
    for (const Function *function : functions) {
        if (MaybeReason use = useOutOfSight(*function))
            return use;
        paths.push_back(function->path);
    }
    for (const auto use : {useOfDisks, useOfInterfaces, useByTerminal})
        if (MaybeReason found = use(paths))
            return found;
    return {};
}

} // namespace

MaybeReason useOf(const Machine &machine, const Slot &slot)
try {
    return useBelow(functionsBelow(machine, slot));
} catch (const yat::Problem &problem) {
    const std::string why = problem.what();
    return Reason{"it can't be checked whether it is in use: " + why,
                  "使用状況を確認できません: " + why};
}

} // namespace host
