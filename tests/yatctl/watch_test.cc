// SPDX-License-Identifier: GPL-2.0-or-later
// What yatctl watch tells of a machine that changes.
#include "ctl.h"

#include <csignal>
#include <fcntl.h>
#include <regex>
#include <sys/wait.h>

namespace {

class Watching : public testing::Test {
protected:
    ~Watching() override
    {
        if (watcher > 0) {
            kill(watcher, SIGTERM);
            waitpid(watcher, nullptr, 0);
        }
    }

    // Returns once it has looked at the whole machine.
    void begin(const std::string &arguments)
    {
        // It asks for the devices when it opens the machine, and at each look.
        steer("inject CreateTreeViewData real --times 3");
        writeFile(file, "");
        watcher = start(commandOf(YATCTL, "watch --interval 0.1" + arguments),
                        {.environment = {},
                         .prepare = [&] { dup2(open(file.c_str(), O_WRONLY), STDOUT_FILENO); }});
        const auto end = std::chrono::steady_clock::now() + deadline;
        while (!Json::parse(steer("show --json"))["injections"].empty())
            ASSERT_LT(std::chrono::steady_clock::now(), end);
    }

    // What it has told, once that is so many lines.
    std::vector<std::string> lines(size_t count)
    {
        const auto end = std::chrono::steady_clock::now() + deadline;
        std::vector<std::string> told;
        while (told.size() < count && std::chrono::steady_clock::now() < end) {
            steer("list"); // which takes a moment
            told = linesOf(readFile(file));
        }
        return told;
    }

    Sandbox sandbox;
    const std::filesystem::path file = sandbox.directory() / "changes";
    pid_t watcher = -1;
};

} // namespace

TEST_F(Watching, TellsEachChangeInALine)
{
    begin("");
    steer("insert pci3");
    ASSERT_EQ(lines(1).size(), 1u);
    steer("pull pci3");
    const std::vector<std::string> told = lines(2);
    ASSERT_EQ(told.size(), 2u);
    const std::string time = "\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\+00:00 ";
    EXPECT_TRUE(std::regex_match(told[0], std::regex(time + "pci3: Not installed -> Stopped")))
        << told[0];
    EXPECT_TRUE(std::regex_match(told[1], std::regex(time + "pci3: Stopped -> Not installed")))
        << told[1];
}

class WatchingEachMachine : public Watching, public testing::WithParamInterface<const char *> {
protected:
    WatchingEachMachine()
    {
        sandbox.set("YAT_MACHINE", GetParam());
    }
};

TEST_P(WatchingEachMachine, TellsProgramsTheStatesAsOtherCommandsDo)
{
    begin(" --json");
    const Json before = shows("pci1");
    steer("pull pci1");
    // What is on it changes as well, and so does its partner; one look may not see all of that.
    std::vector<std::string> told;
    Json change;
    for (size_t count = 1; change.is_null(); ++count) {
        told = lines(count);
        ASSERT_GE(told.size(), count);
        for (const std::string &line : told)
            if (const Json each = Json::parse(line).at("change"); each["device"] == "pci1")
                change = each;
    }
    const Json after = shows("pci1");
    for (const char *key : {"state", "state_text", "progress", "duplex"}) {
        EXPECT_EQ(change["from"].at(key), before[key]) << key;
        EXPECT_EQ(change["to"].at(key), after[key]) << key;
    }
    EXPECT_EQ(change["to"]["state"], "not_installed");
    const Finished valid = checkedBySchema(told);
    EXPECT_EQ(valid.status, 0) << valid.errors << valid.output;
}

INSTANTIATE_TEST_SUITE_P(Machines, WatchingEachMachine,
                         testing::Values("ALDER", "BIRCH", "CEDAR", "PLAIN"),
                         [](const auto &info) { return std::string(info.param); });

TEST_F(Watching, EndsWhenThePlatformDoes)
{
    steer("inject CreateTreeViewData real");
    steer("inject CreateTreeViewData 0");
    expectFailure("watch --interval 0.1", 5, "the platform does not tell the devices");
}
