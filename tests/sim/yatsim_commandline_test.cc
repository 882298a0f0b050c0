// SPDX-License-Identifier: GPL-2.0-or-later
// The command line of yatsim: its help, what it refuses, and how it ends.
#include "yatsim.h"

#include <csignal>
#include <fcntl.h>
#include <tuple>
#include <unistd.h>

namespace {

const char *const subcommands[] = {"init",   "list",   "show",   "fail", "repair",
                                   "pull",   "insert", "inject", "set",  "journal",
                                   "export", "import", "reset"};

// yatsim with its standard output on this descriptor, or -1 for one that is closed.
Finished runWithOutput(const char *argument, int output, bool ignoresPipe = false)
{
    return run({YATSIM, argument}, {.prepare = [=] {
                   signal(SIGPIPE, ignoresPipe ? SIG_IGN : SIG_DFL);
                   if (output >= 0)
                       dup2(output, STDOUT_FILENO);
                   else
                       close(STDOUT_FILENO);
               }});
}

} // namespace

// ---- Help

TEST_F(Yatsim, HelpNamesEverySubcommand)
{
    const std::string help = steer("--help");
    for (const std::string subcommand : subcommands)
        EXPECT_NE(help.find("\n  " + subcommand + " "), std::string::npos) << subcommand;
    EXPECT_EQ(steer("-h"), help);
    EXPECT_FALSE(exists(sandbox.stateFile())); // whoever reads it makes no machine
}

TEST_F(Yatsim, TellsItsVersion)
{
    EXPECT_EQ(steer("--version"), "yatsim of mrvutil " PRODUCT_VERSION "\n");
}

// ---- What it takes

TEST_F(Yatsim, RefusesWhatItDoesNotKnow)
{
    expectRefusal("", "A subcommand is required; 'yatsim --help' says more");
    expectRefusal("bogus", "no subcommand 'bogus', expected one of init, list, show, fail, repair, "
                           "pull, insert, inject, set, journal, export, import, reset");
    expectRefusal("--bogus", "no option '--bogus'; 'yatsim --help' says more");
    for (const std::string option : {"--bogus", "--permanent", "--last", "--times"})
        expectRefusal("list " + option, "The following argument was not expected: " + option
                                            + "; 'yatsim list --help' says more");
    expectRefusal("fail cpu1 cpu2", "The following argument was not expected: cpu2; 'yatsim fail "
                                    "--help' says more");
    expectRefusal("fail", "DEVICE is required; 'yatsim fail --help' says more");
    expectRefusal("--machine \"\" list", "--machine: is empty; 'yatsim list --help' says more");
    for (const std::string command : {"show", "fail", "import"})
        expectRefusal(command + " \"\"", (command == "import" ? "FILE" : "DEVICE")
                                             + std::string(": is empty; 'yatsim ") + command
                                             + " --help' says more");
    expectRefusal("set time", "VALUE is required; 'yatsim set --help' says more");
    EXPECT_FALSE(exists(sandbox.stateFile()));
}

TEST_F(Yatsim, RefusesNumbersOutOfRange)
{
    const std::tuple<const char *, const char *, const char *> wrong[] = {
        {"inject InitBringUp 0 --times -1", "--times: Value -1 not in range 0 to 1000000000",
         "inject"},
        {"inject InitBringUp 0 --times 1.5", "--times: Value 1.5 not in range 0 to 1000000000",
         "inject"},
        {"inject InitBringUp 0 --delay 86400001",
         "--delay: Value 86400001 not in range 0 to 86400000", "inject"},
        {"journal --last 0", "--last: Value 0 not in range 1 to 9007199254740992", "journal"},
        {"journal --last x", "--last: Value x not in range 1 to 9007199254740992", "journal"},
    };
    for (const auto &[arguments, what, subcommand] : wrong)
        expectRefusal(arguments,
                      what + std::string("; 'yatsim ") + subcommand + " --help' says more");
}

TEST_F(Yatsim, RefusesDevicesThatThereAreNot)
{
    for (const std::string subcommand : {"show", "fail", "repair", "pull", "insert"})
        for (const std::string device : {"cpu3", "cpu", "cpu01", "\"CPU module 3\""}) {
            std::string name = device;
            std::erase(name, '"');
            expectRefusal(subcommand + " " + device,
                          "no device '" + name + "', expected one of " + devicesOfCedar);
        }
    expectRefusal("set cpu3.mtbf_type 1",
                  std::string("no device 'cpu3', expected one of ") + devicesOfCedar);
}

TEST_F(Yatsim, TakesADeviceByEachOfItsNames)
{
    for (const std::string name :
         {"ethernet3", "eth3", "ETH3", "\"Ethernet adapter 3\"", "\"ethernet ADAPTER 3\""})
        EXPECT_EQ(asJson("show " + name).at("device"), "ethernet3") << name;
}

TEST_F(Yatsim, TakesTheMachineFromItsOption)
{
    EXPECT_EQ(asJson("--machine ALDER show").at("type"), "ALDER");
    EXPECT_EQ(asJson("show --machine BIRCH").at("type"), "BIRCH");
    EXPECT_EQ(asJson("show").at("type"), "CEDAR");
    const std::string file =
        write("own.toml", shipped("CEDAR", "CEDAR demonstration server", "My own"));
    EXPECT_EQ(asJson("--machine " + file + " show").at("name"), "My own");
}

TEST_F(Yatsim, RefusesAMachineThatThereIsNot)
{
    expectRefusal("--machine NOPE list",
                  "there is no machine 'NOPE' in data/machines; name one of those there, or the "
                  "path of a description");
    expectRefusal("--machine hardware list",
                  "the configuration names \"hardware\", which is not simulated; choose a machine "
                  "with --machine or YAT_MACHINE");
}

TEST_F(Yatsim, SaysALineForEachMistakeOfADescription)
{
    const std::string file = write("wrong.toml", "name = \"x\"\ntype = \"OAK\"\ncolour = 3\n");
    const auto result = yatsim("--machine " + file + " list");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors,
              "yatsim: " + file
                  + ":2: wrong value for 'type', expected one of \"ALDER\", \"BIRCH\", \"CEDAR\", "
                    "\"PLAIN\"\n"
                  + "yatsim: " + file
                  + ":3: unknown key 'colour' in the description, expected name, type, bmc, "
                    "firmware, settings, mtbf, timing, supports, cpu_module, pci_module\n");
}

TEST_F(Yatsim, SaysWhereTheStateCantBeWritten)
{
    const std::string file = write("file", "no directory");
    sandbox.set("YAT_STATE_DIR", file);
    sandbox.set("XDG_STATE_HOME", file);
    sandbox.set("HOME", file);
    expectRefusal("list", file + " can't be written: Not a directory");
    sandbox.set("HOME", sandbox.directory().string());
    sandbox.set("XDG_STATE_HOME", ""); // there would be a place
    expectRefusal("list", file + " can't be written: Not a directory");
}

// ---- Standard output

TEST_F(Yatsim, SaysWhenStandardOutputCantBeWritten)
{
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(full, 0);
    const std::string complaint = "yatsim: standard output can't be written: ";
    for (const char *argument : {"list", "show", "journal", "export", "--help"}) {
        Finished told = runWithOutput(argument, full);
        EXPECT_EQ(told.status, 1) << argument;
        EXPECT_EQ(told.errors, complaint + "No space left on device\n");
        told = runWithOutput(argument, -1);
        EXPECT_EQ(told.status, 1) << argument;
        EXPECT_EQ(told.errors, complaint + "Bad file descriptor\n");
    }
    close(full);
}

TEST_F(Yatsim, EndsQuietlyWhenNobodyReadsOn)
{
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    close(ends[0]);
    Finished ended = runWithOutput("list", ends[1]);
    EXPECT_EQ(ended.status, -SIGPIPE);
    EXPECT_EQ(ended.errors, "");
    ended = runWithOutput("list", ends[1], true);
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.errors, "yatsim: standard output can't be written: Broken pipe\n");
    close(ends[1]);
}
