// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/machine.h"

#include "text/encoding.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>

namespace host {
namespace {

constexpr unsigned baseClass = 16, storageBaseClass = 0x01, ethernetClass = 0x0200;
constexpr uint8_t noSlot = 255;

std::optional<Kind> adapterKind(const Function &function)
{
    if (function.classCode >> baseClass == storageBaseClass)
        return Kind::storage;
    if (function.classCode >> 8 == ethernetClass)
        return Kind::ethernet;
    return {};
}

// The numbers of an address: its domain, bus, device and function, 0 for what it doesn't have.
struct Place {
    unsigned domain = 0, bus = 0, device = 0, function = 0;
};

Place placeOf(const std::string &address)
{
    Place place;
    sscanf(address.c_str(), "%x:%x:%x.%x", &place.domain, &place.bus, &place.device,
           &place.function);
    return place;
}

std::array<uint8_t, 8> pathOf(uint8_t first, const Place &place)
{
    const auto byte = [](unsigned number) { return static_cast<uint8_t>(number); };
    return {first,
            byte(place.bus),
            byte(place.device),
            byte(place.function),
            byte(place.domain >> 24),
            byte(place.domain >> 16),
            byte(place.domain >> 8),
            byte(place.domain)};
}

uint8_t numberOf(const std::string &label)
{
    return static_cast<uint8_t>(strtoul(label.c_str(), nullptr, 10));
}

struct Words {
    std::string english, japanese;
};

// What makes a list of devices: how many there are of each class.
struct Listing {
    const Machine &machine;
    NameOf nameOf;
    bool japanese;
    std::vector<Device> devices{};
    std::map<int, int> counts{};

    Device &add(Device device, const Words &name, const Words &detail)
    {
        device.instance = ++counts[classOf(device.kind)];
        const auto named = [&](std::string Words::*words) {
            return yat::printable(name.*words + " " + std::to_string(device.instance)
                                  + (detail.*words == "" ? "" : " (" + detail.*words + ")"));
        };
        device.english = named(&Words::english);
        device.name = named(japanese ? &Words::japanese : &Words::english);
        return devices.emplace_back(std::move(device));
    }
};

void addPackage(Listing &listing, const Package &package)
{
    Device device{.kind = Kind::package, .key = std::to_string(package.number)};
    for (size_t i = 0; i < sizeof package.number; ++i)
        device.path[i] = static_cast<uint8_t>(package.number >> 8 * i);
    listing.add(std::move(device), {"CPU module", "CPUモジュール"}, {});
}

void addAdapters(Listing &listing, const std::string &slot, uint8_t slotNumber)
{
    const int module = static_cast<int>(listing.devices.size()) - 1;
    for (const Function &function : listing.machine.functions) {
        const auto kind = adapterKind(function);
        if (!kind || function.slot != slot)
            continue;
        std::string detail = listing.nameOf(function);
        for (const std::string &interface : function.interfaces)
            detail.insert(0, interface + ", ");
        Device device{.kind = *kind,
                      .key = function.address,
                      .parent = module,
                      .path = pathOf(slotNumber, placeOf(function.address))};
        if (*kind == Kind::storage)
            listing.add(std::move(device), {"SCSI adapter", "SCSIアダプタ"}, {detail, detail});
        else
            listing.add(std::move(device), {"Ethernet adapter", "Ethernetアダプタ"},
                        {detail, detail});
    }
}

void addSlot(Listing &listing, const Slot &slot)
{
    listing.add({.kind = Kind::slot,
                 .key = slot.label,
                 .path = pathOf(numberOf(slot.label), placeOf(slot.address))},
                {"PCI module", "PCIモジュール"}, {"slot " + slot.label, "スロット " + slot.label});
    addAdapters(listing, slot.label, numberOf(slot.label));
}

void addUnslotted(Listing &listing)
{
    if (std::ranges::all_of(listing.machine.functions,
                            [](const Function &function) { return !function.slot.empty(); }))
        return;
    listing.add({.kind = Kind::unslotted, .path = {noSlot}}, {"PCI module", "PCIモジュール"},
                {"not in a slot", "スロット外"});
    addAdapters(listing, "", noSlot);
}

template <class Item, class Key>
const Item *withKey(const std::vector<Item> &items, Key key, const std::string &wanted)
{
    const auto found = std::ranges::find(items, wanted, key);
    return found == items.end() ? nullptr : &*found;
}

} // namespace

int classOf(Kind kind)
{
    switch (kind) {
    case Kind::package: return YAT_CLASS_CPU_MODULE;
    case Kind::slot:
    case Kind::unslotted: return YAT_CLASS_PCI_MODULE;
    case Kind::storage: return YAT_CLASS_SCSI_ADAPTER;
    case Kind::ethernet: return YAT_CLASS_ETHERNET_ADAPTER;
    }
    return YAT_CLASS_NONE;
}

std::string keyOf(const Device &device)
{
    switch (device.kind) {
    case Kind::package: return "package " + device.key;
    case Kind::slot: return "slot " + device.key;
    case Kind::unslotted: return "not in a slot";
    default: return device.key;
    }
}

std::vector<Device> devicesOf(const Machine &machine, NameOf nameOf, bool japanese)
{
    Listing listing{.machine = machine, .nameOf = nameOf, .japanese = japanese};
    for (const Package &package : machine.packages)
        addPackage(listing, package);
    for (const Slot &slot : machine.slots)
        addSlot(listing, slot);
    addUnslotted(listing);
    return std::move(listing.devices);
}

const Package *packageOf(const Machine &machine, const Device &device)
{
    return device.kind != Kind::package
               ? nullptr
               : withKey(
                   machine.packages,
                   [](const Package &package) { return std::to_string(package.number); },
                   device.key);
}

const Slot *slotOf(const Machine &machine, const Device &device)
{
    return device.kind == Kind::slot ? withKey(machine.slots, &Slot::label, device.key) : nullptr;
}

const Function *functionOf(const Machine &machine, const Device &device)
{
    return device.kind == Kind::storage || device.kind == Kind::ethernet
               ? withKey(machine.functions, &Function::address, device.key)
               : nullptr;
}

std::vector<const Function *> functionsBelow(const Machine &machine, const Slot &slot)
{
    std::vector<const Function *> result;
    for (const Function &function : machine.functions)
        if (std::ranges::count(function.slotAddresses, slot.address) > 0)
            result.push_back(&function);
    return result;
}

Counts countsOf(const Machine &machine, const Device &device)
{
    Counts counts;
    if (const Package *package = packageOf(machine, device))
        counts = package->counts;
    else if (const Function *function = functionOf(machine, device))
        (counts = function->reported) += function->ofDevices;
    else if (device.kind == Kind::slot || device.kind == Kind::unslotted)
        for (const Function &each : machine.functions)
            if (each.slot == device.key)
                counts += each.reported;
    return counts;
}

int onlineOf(const Package &package)
{
    return static_cast<int>(std::ranges::count(package.processors, true, &Processor::isOnline));
}

State stateOf(const Package &package)
{
    return onlineOf(package) > 0 ? State::running : State::stopped;
}

State stateOf(const Machine &machine, const Slot &slot)
{
    const bool hasFunctions =
        std::ranges::count(machine.functions, slot.label, &Function::slot) > 0;
    if (!slot.isOn)
        return State::unknown;
    if (slot.hasCard ? !*slot.hasCard : *slot.isOn && !hasFunctions)
        return State::empty;
    return *slot.isOn ? State::running : State::stopped;
}

} // namespace host
