// SPDX-License-Identifier: GPL-2.0-or-later
// The machine as the calls of include/yat tell it. Texts are in UTF-8 and can be shown.
#pragma once

#include "yat/facts.h"
#include "yat/ft.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace yatctl {

struct Device {
    yat_device *record = nullptr;
    int classCode = YAT_CLASS_NONE, number = 0;
    std::string shortName, name, path; // "cpu1", of no other; as shown; "10/2", a number a level
    size_t carrier = SIZE_MAX;         // of an adapter: the place of its module in the list
    std::string module{};              // its short name

    // As they were when they were read last.
    bool tellsFacts = false;
    yat_facts facts{};
    std::string stateText{}; // of a module; empty for none
    std::optional<int64_t> mtbfType{};
    std::string biosVersion{}, biosStatus{}; // of a CPU module
};

// The platform, open while this lives.
struct Machine {
    Machine(); // throws a Failure when it can't be reached
    ~Machine();
    Machine(const Machine &) = delete;
    Machine &operator=(const Machine &) = delete;

    yat_device *root = nullptr;
    int type = YAT_MACHINE_QUERY_FAILED;
    std::vector<Device> devices; // each module followed by its adapters
};

// Asks for the devices anew: those there were are gone, and nothing is read of the others.
void findDevices(Machine &machine);

// Reads what a device does now.
void read(Device &device);

// The device of a short name, of the name shown or of a path, whatever its case. Throws a Failure
// when there is none, or more than one.
Device &deviceNamed(Machine &machine, const std::string &name);

bool isModule(const Device &device);

std::string_view classWord(int classCode);
std::string_view typeWord(int machineType);

// A fact, if the platform told it.
std::optional<int64_t> fact(const Device &device, uint32_t bit, int64_t value);

// Its state as a word for programs; "unknown" for one that has no word; empty when it isn't told.
std::string_view stateWord(const Device &device);
std::string_view biosWord(const Device &device);
extern const std::vector<std::string_view> stateWords;

// Short name of the other one of its pair; empty for none.
std::string partnerOf(const Device &device);

// What people are shown as the state.
std::string shownState(const Device &device);

// The reason for a no of IfSupport, as far as it is told.
std::string reasonFor(const Device &device, int code, int detail);

} // namespace yatctl
