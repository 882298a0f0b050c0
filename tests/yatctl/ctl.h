// SPDX-License-Identifier: GPL-2.0-or-later
// What the tests of yatctl share: the program, run on a machine of its own that yatsim steers.
#pragma once

#include "support.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

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

// What a program in a terminal of its own writes until it ends; the answer is typed at once.
inline Finished atTerminal(const std::vector<std::string> &command, const std::string &answer)
{
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        endAtDeadline();
        std::vector<char *> words;
        for (const std::string &word : command)
            words.push_back(const_cast<char *>(word.c_str()));
        words.push_back(nullptr);
        execv(words[0], words.data());
        _exit(126);
    }
    Finished result;
    EXPECT_EQ(write(terminal, answer.data(), answer.size()), static_cast<ssize_t>(answer.size()));
    char bytes[4096];
    for (ssize_t count; (count = read(terminal, bytes, sizeof bytes)) > 0;)
        result.output.append(bytes, static_cast<size_t>(count));
    int status = 0;
    waitpid(child, &status, 0);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    close(terminal);
    return result;
}

inline Finished atTerminal(const std::string &arguments, const std::string &answer)
{
    return atTerminal(commandOf(YATCTL, arguments), answer);
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
