// SPDX-License-Identifier: GPL-2.0-or-later
// What the tests of yatsim share.
#pragma once

#include "support.h"

#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>

using Json = nlohmann::json;

inline Json asJson(const std::string &arguments)
{
    const std::string output = steer(arguments + " --json");
    return Json::parse(output);
}

// Expects a command to be refused with this line on standard error and nothing else.
inline void expectRefusal(const std::string &arguments, const std::string &line)
{
    const Finished result = yatsim(arguments);
    EXPECT_EQ(result.status, 1) << "yatsim " << arguments;
    EXPECT_EQ(result.output, "") << "yatsim " << arguments;
    EXPECT_EQ(result.errors, "yatsim: " + line + "\n") << "yatsim " << arguments;
}

constexpr char devicesOfCedar[] = "cpu1, cpu2, pci1, scsi1, ethernet1, ethernet2, pci2, scsi2, "
                                  "ethernet3, ethernet4, pci3";

class Yatsim : public testing::Test {
protected:
    Sandbox sandbox;

    std::string write(const std::string &name, const std::string &text)
    {
        const std::string file = (sandbox.directory() / name).string();
        std::ofstream(file) << text;
        return file;
    }
};
