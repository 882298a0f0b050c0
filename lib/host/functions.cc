// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/functions.h"

#include "host/enumeration.h"
#include "host/sysfs.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <unordered_map>

namespace host {
namespace {

const std::string slotsDirectory = "/sys/bus/pci/slots";

std::optional<bool> readSwitch(const std::string &file)
{
    const auto number = readNumber(file);
    return number ? std::optional(*number != 0) : std::nullopt;
}

unsigned hexadecimal(const std::string &text, size_t from = 0)
{
    return from < text.size() ? static_cast<unsigned>(strtoul(text.c_str() + from, nullptr, 16))
                              : 0;
}

// The total of a kind of errors that PCI Express reports; nothing where it doesn't.
std::optional<uint64_t> reportedErrors(const Function &function, const std::string &kind,
                                       const std::string &total)
{
    const auto text = readAttribute(function.path + "/aer_dev_" + kind);
    return text ? numberOfLine(*text, total) : std::nullopt;
}

Counts readReportedErrors(const Function &function)
{
    const auto corrected = reportedErrors(function, "correctable", "TOTAL_ERR_COR");
    const auto nonfatal = reportedErrors(function, "nonfatal", "TOTAL_ERR_NONFATAL");
    const auto fatal = reportedErrors(function, "fatal", "TOTAL_ERR_FATAL");
    return {.isKnown = corrected || nonfatal || fatal,
            .corrected = corrected.value_or(0),
            .uncorrected = sumOfErrors(nonfatal.value_or(0), fatal.value_or(0))};
}

// The addresses of which a slot may have one when a function is in it. With ARI, a card has more
// than eight functions, and the numbers of the further ones go on where others have that of the
// device.
std::array<std::string, 2> slotAddressesOf(const std::string &path)
{
    const std::string address = lastName(path);
    const size_t dot = address.find('.'), colon = address.rfind(':');
    if (dot == std::string::npos || colon == std::string::npos)
        return {};
    const std::string bus = address.substr(0, colon);
    const bool isFirstDevice = readNumber(path + "/ari_enabled") == 1;
    return {isFirstDevice ? bus + ":00" : address.substr(0, dot), bus};
}

std::vector<std::string> slotAddressesAbove(std::string path)
{
    std::vector<std::string> addresses;
    for (; path.size() > 1; path.erase(path.rfind('/')))
        for (std::string &address : slotAddressesOf(path))
            if (!address.empty())
                addresses.push_back(std::move(address));
    return addresses;
}

Function functionOf(const KernelDevice &device)
{
    Function function{.address = lastName(device.path),
                      .path = device.path,
                      .classCode = hexadecimal(device.pciClass),
                      .vendor = hexadecimal(device.pciId),
                      .device = hexadecimal(device.pciId, device.pciId.find(':') + 1),
                      .driver = device.driver,
                      .physical = resolved(device.path + "/physfn"),
                      .interfaces = {},
                      .slotAddresses = {},
                      .slot = {},
                      .reported = {},
                      .ofDevices = {}};
    function.slotAddresses =
        slotAddressesAbove(function.physical.empty() ? function.path : function.physical);
    function.reported = readReportedErrors(function);
    return function;
}

using ByAddress = std::unordered_map<std::string, const Slot *>;

// The label of the slot that is nearest to a function.
std::string slotAbove(const ByAddress &slots, const Function &function)
{
    for (const std::string &address : function.slotAddresses)
        if (const auto found = slots.find(address); found != slots.end())
            return found->second->label;
    return {};
}

using ByPath = std::unordered_map<std::string, Function *>;

// The function above a device.
Function *functionAbove(const ByPath &functions, std::string path)
{
    for (; path.size() > 1; path.erase(path.rfind('/')))
        if (const auto found = functions.find(path); found != functions.end())
            return found->second;
    return nullptr;
}

void addInterfaces(const ByPath &functions)
{
    for (const KernelDevice &device : kernelDevices("net"))
        if (Function *function = functionAbove(functions, device.path)) {
            const auto in = readNumber(device.path + "/statistics/rx_errors");
            const auto out = readNumber(device.path + "/statistics/tx_errors");
            function->interfaces.push_back(lastName(device.path));
            function->ofDevices += {in || out, 0, sumOfErrors(in.value_or(0), out.value_or(0))};
        }
}

void addDisks(const ByPath &functions)
{
    for (const KernelDevice &device : kernelDevices("scsi"))
        if (Function *function = functionAbove(functions, device.path))
            if (const auto failed = readNumber(device.path + "/ioerr_cnt"))
                function->ofDevices += {true, 0, *failed};
}

} // namespace

std::vector<Slot> readSlots()
{
    std::vector<Slot> slots;
    for (const std::string &label : namesIn(slotsDirectory)) {
        const std::string directory = slotsDirectory + "/" + label;
        const auto address = readAttribute(directory + "/address");
        if (address && readAttribute(directory + "/power"))
            slots.push_back({.label = label,
                             .directory = directory,
                             .address = *address,
                             .isOn = readSwitch(directory + "/power"),
                             .hasCard = readSwitch(directory + "/adapter")});
    }
    return slots;
}

std::vector<Function> readFunctions(const std::vector<Slot> &slots)
{
    std::vector<Function> functions;
    for (const KernelDevice &device : kernelDevices("pci"))
        functions.push_back(functionOf(device));
    std::ranges::sort(functions, {}, &Function::address);
    ByPath byPath;
    ByAddress byAddress;
    for (const Slot &slot : slots)
        byAddress[slot.address] = &slot;
    for (Function &function : functions) {
        function.slot = slotAbove(byAddress, function);
        byPath[function.path] = &function;
    }
    addInterfaces(byPath);
    addDisks(byPath);
    return functions;
}

} // namespace host
