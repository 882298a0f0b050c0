// The description of a machine, as a TOML file gives it. The format is in yat-machine(5).
#pragma once

#include "sim/terms.h"

#include <cstdint>
#include <string>
#include <vector>

namespace sim {

struct Adapter {
    int classCode = 0;
    int number = 0;
    std::string name;
    PathIdentifier path{};
    bool broken = false;
    bool defective = false;        // fails at each start until it is repaired
    int failureCount = 0;          // at least as many as there are failures
    std::vector<Time> failures;    // how long ago
    std::vector<Adapter> adapters; // below this one
    bool operator==(const Adapter &) const = default;
};

struct Module {
    int classCode = 0;
    int number = 0;
    std::string name;
    PathIdentifier path{};
    State state = State::stopped;
    int board = 0;   // number of the board that carries the module
    int partner = 0; // number of the module that makes a pair with this one, 0 for none
    int mtbfType = restartAboveThreshold;
    bool defective = false;
    int failureCount = 0;
    std::vector<Time> failures;          // how long ago
    std::string biosVersion, biosStatus; // of a CPU module
    Bios bios = Bios::described;
    std::vector<Adapter> adapters; // of a PCI module
    bool operator==(const Module &) const = default;
};

struct Description : Properties {
    std::vector<Module> cpuModules, pciModules; // each in instance order
    bool operator==(const Description &) const = default;
};

// Reads a description that is in a file of that name. All its mistakes are thrown as one
// yat::Problem, a line each: "FILE:LINE: what is wrong, what was expected".
Description parseDescription(const std::string &toml, const std::string &file);

} // namespace sim
