// Which machine the product administers.
#pragma once

#include <string>

namespace yat {

// The machine that the environment (YAT_MACHINE) or else the configuration file yatkit.toml
// (machine = "...") names: "hardware" for the machine that this runs on, any other name or path
// for a description of a simulated one. CEDAR when neither does.
std::string machineName();

// The machine that a configuration file names; empty when there is none, or no such file.
std::string configuredMachine(const std::string &file);

// True for the machine that this runs on, false for a simulated one.
bool machineIsHardware();

// The file that describes the simulated machine: a name with a '/' is its path, any other one
// stands for data/machines/NAME.toml below the product root.
std::string descriptionFile();

} // namespace yat
