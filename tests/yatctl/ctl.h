// SPDX-License-Identifier: GPL-2.0-or-later
// What the tests of yatctl share: the program, run on a machine of its own that yatsim steers.
#pragma once

#include "support.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

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

// What the schema says to these JSON texts; its status is 0 when they follow it.
inline Finished checkedBySchema(const std::vector<std::string> &texts)
{
    const TemporaryDirectory place;
    std::vector<std::string> check = {"/usr/bin/python3", "-m", "jsonschema"};
    for (const std::string &text : texts) {
        check.insert(check.end(), {"-i", place.path / std::to_string(check.size())});
        writeFile(check.back(), text);
    }
    check.push_back(SOURCES "/data/yatctl.schema.json");
    return run(check);
}
