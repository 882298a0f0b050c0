// SPDX-License-Identifier: GPL-2.0-or-later
// Which machine the product administers.
#pragma once

#include <string>

namespace yat {

struct ConfiguredMachine {
    std::string name = "CEDAR";
    bool isHardware = false;       // the machine that this runs on; a simulated one otherwise
    bool isMakers = false;         // its maker's platform answers for it
    bool isPath = false;           // the name is that of the file
    std::string descriptionFile{}; // of a simulated one
    std::string platform{};        // the library that answers for it
};

// The machine that the environment (YAT_MACHINE) or else the configuration file yatkit.toml
// (machine = "...") names: "hardware" for the machine that this runs on, a path that ends in ".so"
// for the platform library of its maker, any other path for a description, any other name for
// data/machines/NAME.toml below the product root. A mistake in the file is thrown as a Problem:
// another machine than was meant must not be administered.
ConfiguredMachine configuredMachine();

// Whether the configuration allows to change the machine that this runs on (operations = true). A
// mistake in the file is thrown as a Problem.
bool areOperationsAllowed();
bool areOperationsAllowedIn(const std::string &file);

// The machine that a configuration file names; empty when it names none, or there is no such file.
std::string machineNamedIn(const std::string &file);

} // namespace yat
