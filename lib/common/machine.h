// Which machine the product administers.
#pragma once

#include <string>

namespace yat {

// The machine that the environment (YAT_MACHINE) or else the configuration file yatkit.toml
// (machine = "...") names: "hardware" for the machine that this runs on, any other name or path
// for a description of a simulated one. CEDAR when neither does.
std::string machineName();

// The machine that a configuration file names; empty when it names none, or there is no such file.
// What is wrong with the file goes into mistake, as "FILE:LINE: TEXT".
std::string configuredMachine(const std::string &file, std::string *mistake = nullptr);

// What is wrong with the configuration file, as far as it counts; empty when nothing is. Whoever
// asks a machine looks here first: another one than was meant must not be administered.
std::string configurationMistake();

// True for the machine that this runs on, false for a simulated one.
bool machineIsHardware();

// The file that describes the simulated machine: a name with a '/' is its path, any other one
// stands for data/machines/NAME.toml below the product root.
std::string descriptionFile();

} // namespace yat
