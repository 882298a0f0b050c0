// SPDX-License-Identifier: GPL-2.0-or-later
#include "session.h"

#include <cstdlib>
#include <fstream>
#include <sys/wait.h>

namespace fs = std::filesystem;

namespace {

// Both pictures, the lines that differ marked.
std::string difference(const std::string &expected, const std::string &actual)
{
    const std::vector<std::string> wanted = linesOf(expected), found = linesOf(actual);
    std::string result;
    for (size_t i = 0; i < std::max(wanted.size(), found.size()); ++i) {
        const std::string left = i < wanted.size() ? wanted[i] : "";
        const std::string right = i < found.size() ? found[i] : "";
        result += (left == right ? "   " : "-- ") + left + "\n";
        if (left != right)
            result += "++ " + right + "\n";
    }
    return result;
}

TerminalOptions terminalOptions(const RunOptions &options, const Workspace &workspace)
{
    return {.command = workspace.command(),
            .environment = workspace.environment(),
            .rows = options.rows,
            .columns = options.columns,
            .encoding = options.encoding,
            .ignoreHangup = options.ignoreHangup};
}

} // namespace

Session::Session(const RunOptions &options)
    : workspace(options), running(terminalOptions(options, workspace))
{
}

void Session::send(const std::string &keys)
{
    running.waitUntilIdle();
    running.send(keys);
}

void Session::see(const std::string &text)
{
    EXPECT_TRUE(running.waitUntil([&] { return running.contains(text); }))
        << "no \"" << text << "\" on\n"
        << running.picture();
}

void Session::seeNot(const std::string &text)
{
    EXPECT_TRUE(running.waitUntil([&] { return !running.contains(text); }))
        << "still \"" << text << "\" on\n"
        << running.picture();
}

void Session::sendUntil(const std::string &keys, const std::function<bool()> &condition)
{
    const auto end = std::chrono::steady_clock::now() + deadline;
    bool holds = false;
    while (!holds && !testing::Test::HasFailure() && std::chrono::steady_clock::now() < end) {
        send(keys);
        holds = running.waitUntil(condition, std::chrono::milliseconds(500));
    }
    EXPECT_TRUE(holds) << running.picture();
}

void Session::expectScreen(const std::string &name)
{
    const fs::path file = fs::path(SCREENS) / (name + ".screen");
    if (getenv("UPDATE_SCREENS")) {
        running.settle(std::chrono::milliseconds(600));
        fs::create_directories(file.parent_path());
        std::ofstream(file) << running.picture();
        return;
    }
    const std::string expected = readFile(file);
    ASSERT_FALSE(expected.empty()) << "there is no " << file;
    EXPECT_TRUE(running.waitUntil([&] { return running.picture() == expected; }))
        << name << "\n"
        << difference(expected, running.picture());
}

std::string Session::stillPicture()
{
    running.waitUntilIdle();
    running.settle(std::chrono::milliseconds(30));
    return running.picture();
}

void Session::expectExit(int status)
{
    const int result = running.wait();
    ASSERT_NE(result, -1) << "still running:\n" << running.picture();
    EXPECT_TRUE(WIFEXITED(result)) << "wait status " << result;
    EXPECT_EQ(WEXITSTATUS(result), status) << running.output();
    expectModesAsBefore();
}

void Session::expectSignal(int signal)
{
    const int result = running.wait();
    ASSERT_NE(result, -1) << "still running:\n" << running.picture();
    EXPECT_TRUE(WIFSIGNALED(result)) << "wait status " << result;
    EXPECT_EQ(WTERMSIG(result), signal) << running.output();
    expectModesAsBefore();
}

void Session::expectModesAsBefore()
{
    EXPECT_TRUE(running.isHungUp() || running.modesAreAsBefore());
}

std::vector<std::string> Session::trace(const std::string &source)
{
    running.waitUntilIdle();
    return workspace.trace(source);
}

std::vector<std::string> Session::calls(const std::string &beginning)
{
    running.waitUntilIdle();
    std::vector<std::string> result = workspace.calls();
    std::erase_if(result, [&](const std::string &call) { return !call.starts_with(beginning); });
    return result;
}
