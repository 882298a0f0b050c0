// SPDX-License-Identifier: GPL-2.0-or-later
// A Linux server as a value: its processor packages, its PCI slots, and the PCI functions that the
// product has to do with. Nothing here reads anything.
#pragma once

#include "host/counts.h"
#include "yat/device.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace host {

struct Processor {
    int number = 0;
    bool isOnline = true;
    bool canGoOffline = false; // the kernel lets it
};

constexpr int unknownPackage = -1; // of processors that have been offline ever since they were seen

struct Package {
    int number = unknownPackage; // physical
    std::vector<Processor> processors;
    Counts counts;
};

// A PCI function of any kind.
struct Function {
    std::string address;    // 0000:3b:00.0
    std::string path;       // of its directory, below /sys/devices
    unsigned classCode = 0; // 0x020000 for Ethernet
    unsigned vendor = 0, device = 0;
    std::string driver;                  // empty for none
    std::string physical;                // of a virtual function: the path of the one that has it
    std::vector<std::string> interfaces; // of the network
    std::vector<std::string> slotAddresses; // of the slots that it is in may be, the nearest first
    std::string slot;                       // its label; empty for none that has a power switch
    Counts reported;                        // by PCI Express
    Counts ofDevices;                       // by its interfaces and its disks
};

// A PCI slot with a power switch.
struct Slot {
    std::string label;
    std::string directory;       // below /sys/bus/pci/slots
    std::string address;         // 0000:3b:00, or 0000:3b for the whole bus
    std::optional<bool> isOn;    // nothing when it can't be read
    std::optional<bool> hasCard; // nothing where the slot can't tell
};

struct Machine {
    std::vector<Package> packages;   // by their numbers, the unknown one last
    std::vector<Slot> slots;         // in the order of their labels
    std::vector<Function> functions; // in the order of their addresses
    std::string biosVersion;         // vendor, version and date; empty when not told
};

// What the product's devices are in such a machine.
enum class Kind { package, slot, unslotted, storage, ethernet };

struct Device {
    Kind kind = Kind::package;
    std::string key{};             // what it is found again by: its package, label or address
    int instance = 0;              // within its class
    int parent = -1;               // of an adapter: the position of its module
    std::string name{}, english{}; // the latter for logs
    std::array<uint8_t, 8> path{};
};

int classOf(Kind kind);

// What a device is remembered by.
std::string keyOf(const Device &device);

// The devices in the order of their display. Names of functions are given by the caller.
using NameOf = std::string (*)(const Function &);
std::vector<Device> devicesOf(const Machine &machine, NameOf nameOf, bool japanese);

const Package *packageOf(const Machine &machine, const Device &device);
const Slot *slotOf(const Machine &machine, const Device &device);
const Function *functionOf(const Machine &machine, const Device &device);

// The functions in a slot, at any depth: those in slots below it and virtual ones among them.
std::vector<const Function *> functionsBelow(const Machine &machine, const Slot &slot);

// The count of a device: of a PCI module that of all functions that belong to it.
Counts countsOf(const Machine &machine, const Device &device);

// ---- States

enum class State { running, stopped, empty, unknown };

State stateOf(const Package &package);
State stateOf(const Machine &machine, const Slot &slot);
int onlineOf(const Package &package);

} // namespace host
