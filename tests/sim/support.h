// SPDX-License-Identifier: GPL-2.0-or-later
// What the tests of the simulated machine share: an own state directory for each, the machine's
// calls, and yatsim as the one who does what operations can't.
#pragma once

#include "support/files.h"
#include "support/process.h"
#include "yat/ft.h"

#include <filesystem>
#include <map>
#include <string>

// An own, empty state directory, and an environment that names it, a machine and a pace of time.
// All is as before afterwards.
class Sandbox {
public:
    explicit Sandbox(const std::string &machine = "CEDAR", const std::string &timeScale = "0");
    ~Sandbox();
    Sandbox(const Sandbox &) = delete;
    Sandbox &operator=(const Sandbox &) = delete;

    const std::filesystem::path &directory() const
    {
        return own.path;
    }
    std::filesystem::path stateFile() const; // of a machine that is given by its name
    void set(const std::string &variable, const std::string &value);

    // Has the machine made by a description of its own. The file, which may be of another name.
    std::string describe(const std::string &text, const std::string &file = "own.toml");

private:
    TemporaryDirectory own;
    std::string name;
    std::map<std::string, std::string> before; // "(unset)" for what was not there
};

// The interface, open, with the device records.
class Interface {
public:
    Interface();
    ~Interface();
    Interface(const Interface &) = delete;
    Interface &operator=(const Interface &) = delete;

    // The record of the device of that display name.
    yat_device *operator[](const std::string &name) const;

private:
    yat_device *root = nullptr;
};

// A state as StatusChange gives it; "(fails)" when it does.
std::string cpuState(int number);
std::string pciState(int number);

// A property as yat_ft_get_property gives it; "(fails)" when it does.
std::string property(int kind, int number, int id);

// Runs yatsim with the words of a command line; "" around words that are one.
Finished yatsim(const std::string &arguments);

// The same, and it has to succeed. Its output.
std::string steer(const std::string &arguments);

// The text of a shipped machine's description, one of its parts replaced.
std::string shipped(const std::string &machine, const std::string &part = "",
                    const std::string &replacement = "");
