// The description of a machine, as a TOML file gives it. The format is in yat-machine(5).
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace sim {

using PathIdentifier = std::array<uint8_t, 8>;

enum class State { empty, stopped, simplex, duplex, broken };

struct Adapter {
    int classCode = 0;
    int number = 0;
    std::string name;
    PathIdentifier path{};
    std::vector<Adapter> adapters; // below this one
};

struct Module {
    int classCode = 0;
    int number = 0;
    std::string name;
    PathIdentifier path{};
    State state = State::stopped;
    int board = 0;    // number of the board that carries the module
    int mtbfType = 0; // 0 stay down, 1 always restart, 2 restart above the threshold
    std::string biosVersion, biosStatus; // of a CPU module
    std::vector<Adapter> adapters;       // of a PCI module
};

struct Description {
    std::string name;
    int type = 0;                // YAT_MACHINE_...
    std::vector<uint8_t> bmcResponse; // to Get Device ID, the completion code first
    std::string dataFileVersion; // of the BIOS in the firmware data file
    bool automaticFirmwareUpdate = false;
    bool automaticModuleStart = false;
    unsigned supported = 0; // a bit for each support code
    std::vector<Module> cpuModules, pciModules; // each in instance order
};

// A mistake in a description: where it is, what is there, what was expected.
struct Mistake {
    unsigned line = 0; // 0: not in a line, but in the whole
    std::string text;
};

// Reads a description. Every mistake found is appended to mistakes; the result is only of
// use when there is none.
Description readDescription(const std::string &file, std::vector<Mistake> &mistakes);

} // namespace sim
