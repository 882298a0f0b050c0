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
    void begin(const std::string &arguments, const std::string &interval = "0.1")
    {
        // It asks for the devices when it opens the machine, and at each look.
        steer("inject CreateTreeViewData real --times 3");
        writeFile(file, "");
        const auto redirect = [this] {
            dup2(open(output.c_str(), O_WRONLY), STDOUT_FILENO);
            dup2(open(complaints.c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
        };
        watcher = start(commandOf(YATCTL, "watch --interval " + interval + arguments),
                        {.environment = {}, .prepare = redirect});
        const int looks = interval == "0.1" ? 3 : 2;
        const auto end = std::chrono::steady_clock::now() + deadline;
        while (looksLeft() > 3 - looks)
            ASSERT_LT(std::chrono::steady_clock::now(), end);
    }

    static int looksLeft()
    {
        const Json injections = Json::parse(steer("show --json"))["injections"];
        return injections.empty() ? 0 : injections[0]["times"].get<int>();
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
    const std::filesystem::path complaints = sandbox.directory() / "complaints";
    std::filesystem::path output = file;
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
    expectFailure("watch --interval 0.1", 5, "the platform does not report the devices");
}

TEST_F(Watching, LooksNoMoreOftenThanItIsTo)
{
    begin("", "86400");
    for (int count = 0; count < 20; ++count)
        steer("list"); // which takes longer than a look
    EXPECT_EQ(looksLeft(), 1);
}

TEST_F(Watching, EndsWhenNothingCanBeWritten)
{
    for (const char *arguments : {"", " --json"}) {
        output = "/dev/full";
        begin(arguments);
        steer("insert pci3");
        int status = 0;
        const auto end = std::chrono::steady_clock::now() + deadline;
        while (waitpid(watcher, &status, WNOHANG) == 0) {
            ASSERT_LT(std::chrono::steady_clock::now(), end);
            steer("list"); // which takes a moment
        }
        watcher = -1;
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << status;
        EXPECT_EQ(readFile(complaints),
                  "yatctl: standard output can't be written: No space left on device\n");
        steer("pull pci3");
    }
}
