// SPDX-License-Identifier: GPL-2.0-or-later
// The configuration that names the machine: with a mistake in it no machine is administered, or
// it would be another one than was meant.
#include "support.h"

#include <fstream>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

// The product in a place of its own, with an own configuration.
class Configured : public testing::Test {
protected:
    Configured()
    {
        fs::create_directories(root / "etc");
        fs::create_directories(root / "bin");
        fs::create_directories(root / "data");
        const fs::path built = fs::path(YATSIM).parent_path().parent_path();
        fs::copy(built / "lib", root / "lib");
        fs::copy(YATSIM, root / "bin" / "yatsim");
        fs::copy(OPENER, root / "bin" / "opener");
        fs::copy(built / "data" / "machines", root / "data" / "machines");
        sandbox.set("YAT_MACHINE", "");
        sandbox.set("LD_LIBRARY_PATH", (root / "lib").string());
    }

    void configure(const std::string &text)
    {
        std::ofstream(root / "etc" / "yatkit.toml") << text;
    }

    Finished runOpener(const std::string &times = "1")
    {
        return ::run({(root / "bin" / "opener").string(), times});
    }

    Finished runYatsim(const std::vector<std::string> &arguments)
    {
        std::vector<std::string> command = {(root / "bin" / "yatsim").string()};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return ::run(command);
    }

    std::string log() const
    {
        return readFile(sandbox.directory() / "log" / "opener.log");
    }

    Sandbox sandbox;
    const fs::path root = sandbox.directory() / "product";
    const std::string mistake =
        (root / "etc" / "yatkit.toml").string()
        + ":2: machine must be a name or a path in quotes; see yatkit.toml(5)";
};

const char wrong[] = "# ours\nmachine = 3\n";

} // namespace

TEST_F(Configured, MachineIsTaken)
{
    configure("machine = \"BIRCH\"\n");
    EXPECT_EQ(runOpener().errors, "1 open\nend\n");
    EXPECT_TRUE(fs::exists(sandbox.directory() / "machines" / "BIRCH.db"));
    EXPECT_NE(runYatsim({"show"}).output.find("BIRCH"), std::string::npos);
}

// The line comes last: until then the screen is in use.
TEST_F(Configured, MistakeKeepsThePlatformFromOpening)
{
    configure(wrong);
    for (const char *times : {"1", "3"}) {
        std::string expected;
        for (int i = 0; i < atoi(times); ++i)
            expected += "0\n";
        EXPECT_EQ(runOpener(times).errors, expected + "end\nopener: " + mistake + "\n");
    }
    EXPECT_NE(log().find(mistake), std::string::npos) << log();
    EXPECT_FALSE(fs::exists(sandbox.directory() / "machines"));
}

TEST_F(Configured, MistakeKeepsYatsimFromWorking)
{
    configure(wrong);
    const std::vector<std::string> commands[] = {
        {"init"},
        {"list"},
        {"show"},
        {"show", "cpu1"},
        {"fail", "cpu1"},
        {"repair", "cpu1"},
        {"pull", "cpu1"},
        {"insert", "cpu1"},
        {"journal"},
        {"export"},
        {"import", "x"},
        {"reset"},
        {"set", "time", "+1"},
        {"inject", "IfSupport", "0"},
        {"list", "--json"},
    };
    for (const auto &command : commands) {
        const auto result = runYatsim(command);
        EXPECT_EQ(result.status, 1) << command[0];
        EXPECT_EQ(result.output, "") << command[0];
        EXPECT_EQ(result.errors, "yatsim: " + mistake + "\n") << command[0];
    }
    EXPECT_FALSE(fs::exists(sandbox.directory() / "machines"));
}

TEST_F(Configured, MistakeDoesNotCountWhenTheMachineIsNamedElsewhere)
{
    configure(wrong);
    EXPECT_EQ(runYatsim({"--machine", "ALDER", "init"}).status, 0);
    EXPECT_TRUE(fs::exists(sandbox.directory() / "machines" / "ALDER.db"));
    sandbox.set("YAT_MACHINE", "CEDAR");
    EXPECT_EQ(runOpener().errors, "1 open\nend\n");
    EXPECT_TRUE(fs::exists(sandbox.directory() / "machines" / "CEDAR.db"));
}
