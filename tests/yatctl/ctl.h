// SPDX-License-Identifier: GPL-2.0-or-later
// What the tests of yatctl share: the program, run on a machine of its own that yatsim steers.
#pragma once

#include "support.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <set>

using Json = nlohmann::json;

// Runs yatctl with the words of a command line; "" around words that are one.
inline Finished yatctl(const std::string &arguments)
{
    return run(commandOf(YATCTL, arguments));
}

// The same, and it has to succeed. Its output.
inline std::string does(const std::string &arguments)
{
    const Finished result = yatctl(arguments);
    EXPECT_EQ(result.status, 0) << "yatctl " << arguments << ": " << result.errors;
    EXPECT_EQ(result.errors, "") << "yatctl " << arguments;
    return result.output;
}

inline Json shows(const std::string &device)
{
    return Json::parse(does("show --json " + device)).at("devices").at(0);
}

// Expects a command to end with a status, these lines on standard error, and no output.
inline void expectFailure(const std::string &arguments, int status, const std::string &line)
{
    const Finished result = yatctl(arguments);
    EXPECT_EQ(result.status, status) << "yatctl " << arguments;
    EXPECT_EQ(result.errors, "yatctl: " + line + "\n") << "yatctl " << arguments;
    EXPECT_EQ(result.output, "") << "yatctl " << arguments;
}
