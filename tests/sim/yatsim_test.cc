// yatsim as an administrator types it: what it prints, what it refuses, and how it ends.
#include "support.h"

#include <algorithm>
#include <clocale>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Json = nlohmann::json;

Json asJson(const std::string &arguments)
{
    const std::string output = steer(arguments + " --json");
    return Json::parse(output);
}

// Expects a command to be refused with this line on standard error and nothing else.
void expectRefusal(const std::string &arguments, const std::string &line)
{
    const Finished result = yatsim(arguments);
    EXPECT_EQ(result.status, 1) << "yatsim " << arguments;
    EXPECT_EQ(result.output, "") << "yatsim " << arguments;
    EXPECT_EQ(result.errors, "yatsim: " + line + "\n") << "yatsim " << arguments;
}

std::string stateOf(const std::string &device)
{
    return asJson("show " + device).at("state");
}

const char devicesOfCedar[] = "cpu1, cpu2, pci1, scsi1, ethernet1, ethernet2, pci2, scsi2, "
                              "ethernet3, ethernet4, pci3";

const char *const subcommands[] = {"init", "list",   "show",   "fail", "repair",  "pull",
                                   "insert", "inject", "set", "journal", "export", "import",
                                   "reset"};

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

TEST_F(Yatsim, HelpOfASubcommandSaysWhatItTakes)
{
    const std::map<std::string, std::vector<std::string>> taken = {
        {"list", {"--json"}},
        {"show", {"[DEVICE]", "--json", "ethernet3"}},
        {"fail", {"DEVICE REQUIRED", "--permanent"}},
        {"inject", {"CALL REQUIRED", "RESULT REQUIRED", "--times N", "--delay MS", "--text TEXT",
                    "  PutBBDriverSettings\n"}},
        {"set", {"KEY REQUIRED", "VALUE REQUIRED", "  DEVICE.mtbf_type\n", "  time\n"}},
        {"journal", {"--last N ", "--json"}},
        {"export", {"--json"}},
        {"import", {"FILE REQUIRED"}},
    };
    for (const std::string subcommand : subcommands) {
        const std::string help = steer(subcommand + " --help");
        EXPECT_NE(help.find("Usage: yatsim " + subcommand + " [OPTIONS]"), std::string::npos);
        for (const std::string &part :
             taken.contains(subcommand) ? taken.at(subcommand) : std::vector<std::string>())
            EXPECT_NE(help.find(part), std::string::npos) << subcommand << ": " << part;
    }
}

// ---- The command line

TEST_F(Yatsim, RefusesWhatItDoesNotKnow)
{
    expectRefusal("", "A subcommand is required; 'yatsim --help' says more");
    expectRefusal("bogus", "no subcommand 'bogus', expected one of init, list, show, fail, repair, "
                           "pull, insert, inject, set, journal, export, import, reset");
    expectRefusal("--bogus", "no option '--bogus'; 'yatsim --help' says more");
    expectRefusal("list --bogus", "The following argument was not expected: --bogus; 'yatsim list "
                                  "--help' says more");
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
    for (const std::string name : {"ethernet3", "eth3", "ETH3", "\"Ethernet adapter 3\"",
                                   "\"ethernet ADAPTER 3\""})
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
    const auto missing = yatsim("--machine NOPE list");
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(missing.errors.starts_with("yatsim: ")
                && missing.errors.ends_with("/data/machines/NOPE.toml: can't be read: "
                                            "No such file or directory\n"))
        << missing.errors;
    expectRefusal("--machine hardware list",
                  "the configuration names the machine that this runs on, which is not simulated; "
                  "choose another one with --machine or YAT_MACHINE");
}

TEST_F(Yatsim, SaysALineForEachMistakeOfADescription)
{
    const std::string file = write("wrong.toml", "name = \"x\"\ntype = \"OAK\"\ncolour = 3\n");
    const auto result = yatsim("--machine " + file + " list");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors,
              "yatsim: " + file
                  + ":2: wrong value for 'type', expected \"ALDER\", \"BIRCH\", \"CEDAR\", "
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
    expectRefusal("list", file + ", which YAT_STATE_DIR names, can't be written: Not a directory");
    sandbox.set("HOME", sandbox.directory().string());
    sandbox.set("XDG_STATE_HOME", ""); // there would be a place
    expectRefusal("list", file + ", which YAT_STATE_DIR names, can't be written: Not a directory");
}

TEST_F(Yatsim, RefusesAForeignStateAndLeavesIt)
{
    create_directories(sandbox.stateFile().parent_path());
    std::ofstream(sandbox.stateFile()) << "somebody else's";
    for (const char *arguments : {"init", "list", "fail cpu1", "reset", "journal"})
        expectRefusal(arguments, sandbox.stateFile().string()
                                     + " is damaged or of another program; it is left as it is, "
                                       "move it away to begin anew");
    EXPECT_EQ(readFile(sandbox.stateFile()), "somebody else's");
}

// ---- Standard output

namespace {

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

// ---- Each subcommand

TEST_F(Yatsim, InitMakesAStateOnce)
{
    EXPECT_EQ(steer("init"), "");
    EXPECT_TRUE(exists(sandbox.stateFile()));
    steer("pull cpu1");
    expectRefusal("init", sandbox.stateFile().string()
                              + " is there already; 'yatsim reset' makes it anew");
    EXPECT_EQ(stateOf("cpu1"), "empty");
}

TEST_F(Yatsim, ListShowsEveryDeviceInALine)
{
    steer("pull pci1");
    const std::string output = steer("list");
    EXPECT_EQ(std::ranges::count(output, '\n'), 12);
    EXPECT_TRUE(output.starts_with("DEVICE     NAME                STATE             SINCE"));
    EXPECT_NE(output.find("\ncpu1       CPU module 1        Running, duplex   "),
              std::string::npos);
    EXPECT_NE(output.find("\npci2       PCI module 2        Running, simplex  "),
              std::string::npos);
    EXPECT_NE(output.find("\nethernet1  Ethernet adapter 1  Not installed     "),
              std::string::npos);
}

TEST_F(Yatsim, ListAsJsonSaysWhatShowSays)
{
    steer("fail cpu2");
    const Json all = asJson("list");
    ASSERT_EQ(all.size(), 11u);
    std::string names;
    for (const Json &device : all) {
        names += (names.empty() ? "" : ", ") + device.at("device").get<std::string>();
        EXPECT_EQ(device, asJson("show " + device.at("device").get<std::string>()));
    }
    EXPECT_EQ(names, devicesOfCedar);
}

TEST_F(Yatsim, ShowsADevice)
{
    steer("set time +0"); // makes the machine
    const Json before = asJson("show cpu2");
    EXPECT_EQ(before.at("name"), "CPU module 2");
    EXPECT_EQ(before.at("state"), "duplex");
    EXPECT_TRUE(before.at("progress").is_null());
    EXPECT_EQ(before.at("failures"), 0);
    EXPECT_EQ(before.at("failure_times"), Json::array());
    EXPECT_TRUE(before.at("mtbf_hours").is_null());
    EXPECT_EQ(before.at("defective"), false);
    EXPECT_EQ(before.at("partner"), "cpu1");
    EXPECT_EQ(before.at("mtbf_type"), 2);
    EXPECT_EQ(before.at("bios_version"), "4.1.0068");
    EXPECT_EQ(before.at("bios_status"), "Valid, running from the primary bank");
    EXPECT_FALSE(before.contains("module"));

    steer("fail cpu2");
    steer("set time +180000"); // 50 hours
    steer("fail cpu2");
    steer("set time +5");
    const Json after = asJson("show cpu2");
    EXPECT_EQ(after.at("state"), "starting");
    EXPECT_EQ(after.at("progress"), 25);
    EXPECT_EQ(after.at("failures"), 2);
    EXPECT_EQ(after.at("failure_times").size(), 2u);
    EXPECT_EQ(after.at("mtbf_hours"), 50.0);
    EXPECT_EQ(after.at("since"), after.at("failure_times")[1]);

    const std::string text = steer("show cpu2");
    EXPECT_NE(text.find("State         Starting 25 %, since "), std::string::npos) << text;
    EXPECT_NE(text.find("\nMTBF          50.00 h\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\nMTBF type     2 (restart above threshold)\n"), std::string::npos);

    const Json adapter = asJson("show ethernet3");
    EXPECT_EQ(adapter.at("module"), "pci2");
    EXPECT_FALSE(adapter.contains("mtbf_type") || adapter.contains("bios_version"));
}

TEST_F(Yatsim, ShowsTheMachine)
{
    const Json machine = asJson("show");
    EXPECT_EQ(machine.at("name"), "CEDAR demonstration server");
    EXPECT_EQ(machine.at("type"), "CEDAR");
    EXPECT_EQ(machine.at("state_file"), sandbox.stateFile().string());
    EXPECT_TRUE(machine.at("description_file").get<std::string>().ends_with(
        "/data/machines/CEDAR.toml"));
    EXPECT_EQ(machine.at("description_note"), "");
    EXPECT_EQ(machine.at("time_scale"), 0.0);
    EXPECT_EQ(machine.at("automatic_firmware_update"), true);
    EXPECT_EQ(machine.at("automatic_module_start"), false);
    EXPECT_EQ(machine.at("mtbf_threshold_hours"), 24.0);
    EXPECT_EQ(machine.at("data_file"), "4.1.0072");
    EXPECT_EQ(machine.at("injections"), Json::array());
    const std::string text = steer("show");
    EXPECT_TRUE(text.starts_with("Machine                    CEDAR demonstration server\n"));
    EXPECT_NE(text.find("\nMTBF threshold             24.00 h\n"), std::string::npos) << text;
}

TEST_F(Yatsim, ShowsThatADescriptionHasChanged)
{
    const std::string file = write("own.toml", shipped("CEDAR"));
    sandbox.set("YAT_MACHINE", file);
    EXPECT_EQ(asJson("show").at("description_note"), "");
    std::ofstream(file, std::ios::app) << "# another line\n";
    EXPECT_EQ(asJson("show").at("description_note"),
              file + " has changed since; the state is kept, 'yatsim reset' makes it anew");
    steer("reset");
    EXPECT_EQ(asJson("show").at("description_note"), "");
}

TEST_F(Yatsim, FailsAndRepairsADevice)
{
    steer("fail cpu2");
    EXPECT_EQ(stateOf("cpu2"), "starting"); // again, by its MTBF type
    EXPECT_EQ(stateOf("cpu1"), "simplex");
    expectRefusal("repair cpu2", "repair cpu2: the device is not broken");
    steer("fail cpu1 --permanent");
    steer("set time +20");
    EXPECT_EQ(stateOf("cpu1"), "broken");
    EXPECT_EQ(asJson("show cpu1").at("defective"), true);
    EXPECT_NE(steer("show cpu1").find("Defective     yes, until it is repaired"),
              std::string::npos);
    steer("repair cpu1");
    EXPECT_EQ(stateOf("cpu1"), "stopped");
    EXPECT_EQ(asJson("show cpu1").at("defective"), false);
    EXPECT_EQ(asJson("show cpu1").at("failures"), 2); // they stay counted
    expectRefusal("fail pci3", "fail pci3: the module is not installed");
}

TEST_F(Yatsim, PullsAndInsertsAModule)
{
    steer("pull pci2");
    for (const char *device : {"pci2", "scsi2", "ethernet3", "ethernet4"})
        EXPECT_EQ(stateOf(device), "empty") << device;
    EXPECT_EQ(stateOf("pci1"), "simplex");
    expectRefusal("pull pci2", "pull pci2: the module is not installed");
    steer("insert pci2");
    EXPECT_EQ(stateOf("pci2"), "stopped");
    expectRefusal("insert pci2", "insert pci2: the module is installed already");
    for (const std::string subcommand : {"pull", "insert"})
        expectRefusal(subcommand + " scsi1",
                      subcommand + " scsi1: the machine does not support it for such a device");
}

TEST_F(Yatsim, InjectsResultsAndTakesThemBack)
{
    steer("inject InitBringUp 0 --times 2");
    steer("inject StatusChange real --delay 5 --text \"Gone fishing\"");
    steer("inject IfSupport -7 --times 0");
    const Json pending = asJson("show").at("injections");
    EXPECT_EQ(pending, Json::parse(R"([
        {"call": "InitBringUp", "result": 0, "times": 2, "delay_ms": 0, "text": null},
        {"call": "StatusChange", "result": null, "times": 1, "delay_ms": 5, "text": "Gone fishing"},
        {"call": "IfSupport", "result": -7, "times": 0, "delay_ms": 0, "text": null}])"));
    EXPECT_NE(steer("show").find("StatusChange real, once, after 5 ms, with \"Gone fishing\"\n"),
              std::string::npos);
    {
        Interface interface;
        EXPECT_EQ(cpuState(1), "Gone fishing");
        EXPECT_EQ(cpuState(1), "Running, duplex");
    }
    steer("inject IfSupport off");
    EXPECT_EQ(asJson("show").at("injections").size(), 1u);
    expectRefusal("inject Bogus 1",
                  "no call 'Bogus', expected one of ft_FunctionInit, ft_FunctionRelease, "
                  "CreateTreeViewData, FreeTreeViewData, call_yat_is_ft, yat_ft_get_property, "
                  "Linux_ConvertDataToInt, StatusChange, IfSupport, ClearMTBF, InitBringUp, "
                  "InitBringDown, SetMtbfType, BurnFirmware, GetBBDriverSettings, "
                  "PutBBDriverSettings, YATGetDeviceID");
    for (const std::string result : {"maybe", "1x", "1.5", "2147483648"})
        expectRefusal("inject InitBringUp " + result,
                      "wrong result '" + result
                          + "', expected a number of 32 bits, 'real' or 'off'");
    for (const std::string option : {"--times 1", "--delay 0", "--text x"})
        expectRefusal("inject InitBringUp off " + option,
                      "--times, --delay and --text go with a result, not with 'off'");
    EXPECT_EQ(asJson("show").at("injections").size(), 1u);
}

TEST_F(Yatsim, SetsValues)
{
    steer("set cpu1.mtbf_type 0");
    steer("set \"CPU module 2.bios_version\" \"9.9 (test)\"");
    steer("set cpu2.bios_status \"As set\"");
    steer("set automatic_firmware_update off");
    steer("set automatic_module_start on");
    steer("set mtbf_threshold 1.5");
    steer("set data_file 5.0.0001");
    EXPECT_EQ(asJson("show cpu1").at("mtbf_type"), 0);
    EXPECT_EQ(asJson("show cpu2").at("bios_version"), "9.9 (test)");
    EXPECT_EQ(asJson("show cpu2").at("bios_status"), "As set");
    const Json machine = asJson("show");
    EXPECT_EQ(machine.at("automatic_firmware_update"), false);
    EXPECT_EQ(machine.at("automatic_module_start"), true);
    EXPECT_EQ(machine.at("mtbf_threshold_hours"), 1.5);
    EXPECT_EQ(machine.at("data_file"), "5.0.0001");
}

TEST_F(Yatsim, SetRefusesKeysAndValues)
{
    const std::string keys = "', expected one of DEVICE.mtbf_type, DEVICE.bios_version, "
                             "DEVICE.bios_status, automatic_firmware_update, "
                             "automatic_module_start, mtbf_threshold, data_file, time";
    for (const std::string key : {"colour", "cpu1.time", "mtbf_type", "cpu1."})
        expectRefusal("set " + key + " 1", "no key '" + key + keys);
    const std::string type =
        "0 (stay down), 1 (always restart) or 2 (restart above threshold), of a module";
    const std::tuple<std::string, std::string, std::string> wrong[] = {
        {"cpu1.mtbf_type", "3", type},
        {"scsi1.mtbf_type", "1", type},
        {"pci1.bios_version", "1", "a text of 1 to 1000 bytes, of a CPU module"},
        {"automatic_module_start", "yes", "on or off"},
        {"mtbf_threshold", "876001", "hours, 0 to 876000"},
        {"time", "60", "+SECONDS, 0 to 315360000: lets so much time pass"},
        {"time", "+-60", "+SECONDS, 0 to 315360000: lets so much time pass"},
        {"time", "+315360001", "+SECONDS, 0 to 315360000: lets so much time pass"},
    };
    for (const auto &[key, value, expected] : wrong)
        expectRefusal("set " + key + " " + value,
                      "wrong value '" + value + "' for " + key + ", expected " + expected);
}

TEST_F(Yatsim, SetLetsTimePassOnAFrozenMachine)
{
    steer("pull cpu2");
    steer("insert cpu2");
    const std::string before = asJson("show").at("time");
    EXPECT_EQ(asJson("show").at("time"), before);
    steer("set time +86400.5");
    EXPECT_NE(asJson("show").at("time"), before);
    const Json journal = asJson("journal --last 1");
    EXPECT_EQ(journal[0].at("argument"), "time=+86400.5");
}

TEST_F(Yatsim, JournalHasEveryOperation)
{
    steer("fail cpu2 --permanent");
    yatsim("repair cpu1");
    steer("inject IfSupport 0");
    {
        Interface interface;
        EXPECT_EQ(ClearMTBF(interface["CPU module 2"], 2), 1);
    }
    const Json rows = asJson("journal");
    ASSERT_EQ(rows.size(), 5u);
    const std::tuple<const char *, const char *, const char *, const char *> expected[] = {
        {"init", "", nullptr, "done"},
        {"fail", "cpu2", "permanent", "done"},
        {"repair", "cpu1", "", "refused: the device is not broken"},
        {"inject", "", "IfSupport 0 --times 1", "done"},
        {"ClearMTBF", "cpu2", "", "done"},
    };
    for (size_t i = 0; i < rows.size(); ++i) {
        const auto &[operation, device, argument, result] = expected[i];
        EXPECT_EQ(rows[i].at("id"), i + 1);
        EXPECT_EQ(rows[i].at("operation"), operation);
        EXPECT_EQ(rows[i].at("device"), device);
        if (argument) {
            EXPECT_EQ(rows[i].at("argument"), argument);
        }
        EXPECT_EQ(rows[i].at("result"), result);
        EXPECT_FALSE(rows[i].at("user").get<std::string>().empty());
        EXPECT_EQ(rows[i].at("time").get<std::string>().size(), 27u);
    }
    EXPECT_EQ(rows[4].at("code"), 2);
    EXPECT_EQ(asJson("journal --last 2"), (Json{rows[3], rows[4]}));
    EXPECT_EQ(asJson("journal --last 100"), rows);
    const std::string text = steer("journal --last 1");
    EXPECT_TRUE(text.starts_with("ID  TIME ")) << text;
    EXPECT_EQ(std::ranges::count(text, '\n'), 2);
}

TEST_F(Yatsim, ResetMakesTheMachineAnewAndKeepsTheJournal)
{
    const Json before = asJson("list");
    steer("pull cpu1");
    steer("set mtbf_threshold 3");
    steer("inject IfSupport 0");
    EXPECT_EQ(steer("reset"), "");
    Json after = asJson("list");
    ASSERT_EQ(after.size(), before.size());
    for (size_t i = 0; i < after.size(); ++i)
        after[i]["since"] = before[i].at("since");
    EXPECT_EQ(after, before);
    EXPECT_EQ(asJson("show").at("mtbf_threshold_hours"), 24.0);
    EXPECT_EQ(asJson("show").at("injections"), Json::array());
    const Json journal = asJson("journal");
    ASSERT_EQ(journal.size(), 5u);
    EXPECT_EQ(journal[1].at("operation"), "pull");
    EXPECT_EQ(journal[4].at("operation"), "reset");
}

// ---- Export and import

TEST_F(Yatsim, ImportOfWhatWasExportedGivesTheSameMachine)
{
    for (const char *machine : {"ALDER", "BIRCH", "CEDAR", "PLAIN"}) {
        sandbox.set("YAT_MACHINE", machine);
        if (std::string(machine) == "CEDAR") {
            steer("fail cpu2 --permanent");
            steer("set time +200000");
            steer("set cpu1.mtbf_type 0");
            steer("set cpu1.bios_status \"\x1b[3m \xc3\xa9 quoted ' too\"");
            steer("pull pci1");
            steer("fail ethernet3 --permanent");
            steer("set automatic_module_start on");
            steer("set mtbf_threshold 12.25");
        }
        const Json devices = asJson("list"), whole = asJson("show");
        const std::string exported = steer("export");
        const Json asObject = asJson("export");
        const std::string file = write("exported.toml", exported);
        steer("reset");
        EXPECT_EQ(steer("import " + file), "");
        EXPECT_EQ(steer("export"), exported) << machine;
        EXPECT_EQ(asJson("export"), asObject) << machine;
        Json again = asJson("list");
        ASSERT_EQ(again.size(), devices.size());
        // Only the times are those of another clock.
        for (size_t i = 0; i < again.size(); ++i) {
            EXPECT_EQ(again[i].at("failure_times").size(), devices[i].at("failure_times").size());
            for (const char *key : {"since", "failure_times"})
                again[i][key] = devices[i].at(key);
        }
        EXPECT_EQ(again, devices) << machine;
        Json shown = asJson("show");
        for (const char *key : {"time", "description_note"})
            shown[key] = whole.at(key);
        EXPECT_EQ(shown, whole) << machine;
    }
}

TEST_F(Yatsim, ExportAsJsonHasTheKeysOfTheDescription)
{
    const Json description = asJson("export");
    EXPECT_EQ(description.at("name"), "CEDAR demonstration server");
    EXPECT_EQ(description.at("type"), "CEDAR");
    EXPECT_EQ(description.at("bmc").at("response"), (Json{0, 32, 1, 4, 23, 2}));
    EXPECT_EQ(description.at("firmware").at("data_file"), "4.1.0072");
    EXPECT_EQ(description.at("timing").at("synchronise"), 40.0);
    EXPECT_EQ(description.at("cpu_module")[1].at("partner"), 1);
    EXPECT_EQ(description.at("pci_module")[1].at("adapter")[2].at("path"), (Json{11, 3}));
    EXPECT_EQ(description.at("pci_module")[2].at("state"), "empty");
}

TEST_F(Yatsim, ImportOfAWrongDescriptionChangesNothing)
{
    steer("pull cpu1");
    const std::string before = steer("export");
    const std::string missing = (sandbox.directory() / "missing.toml").string();
    expectRefusal("import " + missing, missing + ": can't be read: No such file or directory");
    const std::string directory = sandbox.directory().string();
    expectRefusal("import " + directory, directory + ": can't be read: Is a directory");
    const std::string wrong =
        write("wrong.toml", shipped("CEDAR", "threshold = 24", "threshold = \"often\""));
    const auto result = yatsim("import " + wrong);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.errors.starts_with("yatsim: " + wrong + ":"));
    EXPECT_TRUE(result.errors.ends_with(
        ": wrong value for 'threshold', expected a number from 0 to 876000\n"))
        << result.errors;
    EXPECT_EQ(steer("export"), before);
    const Json rows = Json::parse(steer("journal --json"));
    ASSERT_EQ(rows.size(), 5u); // all of them were asked for
    for (const auto &[row, file] :
         std::map<size_t, std::string>{{2, missing}, {3, directory}, {4, wrong}}) {
        EXPECT_EQ(rows[row]["operation"], "import");
        EXPECT_EQ(rows[row]["argument"], file);
        EXPECT_TRUE(rows[row]["result"].get<std::string>().starts_with("refused: " + file + ":"));
    }
}

// What is asked for and is not to be had is in the journal, too.
TEST_F(Yatsim, WritesDownWhatItRefusesByItself)
{
    struct Refused {
        const char *arguments;
        std::string device, operation, argument, reason;
    };
    const std::string file = write("own.toml", shipped("CEDAR"));
    sandbox.set("YAT_MACHINE", file);
    steer("init");
    write("own.toml", "type = 1");
    const Refused cases[] = {
        {"init", "", "init", file, "it is there already"},
        {"fail cpu9", "cpu9", "fail", "", "the machine has no such device"},
        {"fail cpu9 --permanent", "cpu9", "fail", "permanent", "the machine has no such device"},
        {"pull \"CPU module 7\"", "CPU module 7", "pull", "", "the machine has no such device"},
        {"set cpu9.mtbf_type 1", "cpu9", "set", "mtbf_type=1", "the machine has no such device"},
        {"set colour red", "", "set", "colour=red", "wrong value"},
        {"set cpu1.colour red", "cpu1", "set", "colour=red", "wrong value"},
        {"set cpu1.mtbf_type 9", "cpu1", "set", "mtbf_type=9", "wrong value"},
        {"inject Bogus 1", "", "inject", "Bogus 1", "wrong value"},
        {"inject InitBringUp often", "", "inject", "InitBringUp often", "wrong value"},
        {"reset", "", "reset", file, file + ":1: missing key"},
    };
    for (const Refused &refused : cases) {
        SCOPED_TRACE(refused.arguments);
        EXPECT_EQ(yatsim(refused.arguments).status, 1);
        const Json row = Json::parse(steer("journal --last 1 --json"))[0];
        EXPECT_EQ(row["device"], refused.device);
        EXPECT_EQ(row["operation"], refused.operation);
        EXPECT_EQ(row["argument"], refused.argument);
        const std::string result = row["result"];
        EXPECT_TRUE(result.starts_with("refused: " + refused.reason)) << result;
        EXPECT_EQ(result.find('\n'), std::string::npos);
    }
    EXPECT_EQ(Json::parse(steer("journal --json")).size(), 1 + std::size(cases));
}

// ---- Texts that somebody else wrote

TEST_F(Yatsim, PrintsValidJsonWhateverItWasGiven)
{
    const std::string strange = "\"a\x01\x1b[3m\xe3\x81\x82 \\\"";
    steer("set data_file " + strange);
    steer("inject StatusChange 1 --text " + strange);
    steer("set cpu1.bios_version " + strange);
    for (const char *arguments : {"show", "show cpu1", "list", "journal", "export"}) {
        const Json json = asJson(arguments);
        EXPECT_NE(json.dump().find("\xe3\x81\x82"), std::string::npos) << arguments;
    }
    for (const char *arguments : {"show", "show cpu1", "list", "journal"})
        EXPECT_EQ(steer(arguments).find('\x1b'), std::string::npos) << arguments;
    EXPECT_EQ(yatsim("fail " + strange).errors.find('\x1b'), std::string::npos);
}

// It would be another text in the state.
TEST_F(Yatsim, RefusesWhatIsNotInTheEncodingOfTheLocale)
{
    steer("init");
    expectRefusal("set data_file \"a\xff\"", "'a\xef\xbf\xbd' is not in the encoding of the locale, "
                                             "UTF-8");
    expectRefusal("inject StatusChange 1 --text \"\xff\"",
                  "'\xef\xbf\xbd' is not in the encoding of the locale, UTF-8");
    sandbox.set("LC_ALL", "C");
    expectRefusal("set cpu1.bios_status \xe3\x81\x82",
                  "'?" "?" "?' is not in the encoding of the locale, ANSI_X3.4-1968");
    EXPECT_EQ(Json::parse(steer("journal --json")).size(), 1u);
}

// A file has the name that its bytes are.
TEST_F(Yatsim, ImportsFilesOfAnyName)
{
    const std::string file = write("\xe6\xa9\x9f\xe6\xa2\xb0\xff.toml", shipped("CEDAR"));
    for (const char *locale : {"C.UTF-8", "C", "ja_JP.EUC-JP", "xx_YY.UTF-8"}) {
        sandbox.set("LC_ALL", locale);
        const auto result = yatsim("import " + file);
        EXPECT_EQ(result.status, 0) << result.errors;
        asJson("journal");
        EXPECT_EQ(yatsim("import " + file + "x").status, 1);
    }
    sandbox.set("LC_ALL", "xx_YY.UTF-8"); // not on this machine: UTF-8 all the same
    steer("set cpu1.bios_status \xe3\x81\x82");
    EXPECT_NE(steer("show cpu1").find("\xe3\x81\x82"), std::string::npos);
}

TEST_F(Yatsim, TakesTextsForCallsThatGiveSome)
{
    for (const char *call : {"IfSupport", "GetBBDriverSettings", "Linux_ConvertDataToInt"}) {
        expectRefusal(std::string("inject ") + call + " 1 --text foo",
                      std::string("wrong text 'foo' for ") + call
                          + ", expected a number of 32 bits");
        steer(std::string("inject ") + call + " 1 --text -5");
    }
    for (const char *call : {"InitBringDown", "ft_FunctionInit", "PutBBDriverSettings"})
        expectRefusal(std::string("inject ") + call + " real --text 1",
                      call + std::string(" gives nothing but its result, so it takes no --text"));
    for (const char *call : {"StatusChange", "yat_ft_get_property"})
        steer(std::string("inject ") + call + " 0 --text foo");
}

TEST_F(Yatsim, KeepsTheJournalReadableBesideALongArgument)
{
    steer("fail cpu1");
    const std::string before = steer("journal");
    const std::string value(900, 'x');
    steer("set data_file " + value);
    const std::string after = steer("journal");
    EXPECT_TRUE(after.starts_with(before)) << after;
    EXPECT_NE(after.find("data_file=" + value + "  done"), std::string::npos);
}

// However its path is written.
TEST_F(Yatsim, KnowsTheDescriptionThatAMachineWasMadeFrom)
{
    const std::string file = write("own.toml", shipped("CEDAR"));
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(sandbox.directory());
    steer("--machine ./own.toml init");
    EXPECT_EQ(asJson("--machine " + file + " show").at("description_note"), "");
    EXPECT_EQ(asJson("--machine ./../" + sandbox.directory().filename().string() + "/own.toml show")
                  .at("description_note"),
              "");
    EXPECT_EQ(asJson("--machine ./own.toml journal")[0].at("argument"), file);
    std::filesystem::current_path(before);
}

TEST_F(Yatsim, ImportsNothingWithoutEnd)
{
    expectRefusal("import /dev/zero", "/dev/zero: can't be read: File too large");
}

TEST_F(Yatsim, PrintsInTheEncodingOfTheLocale)
{
    steer("set cpu1.bios_status \xe3\x81\x82");
    sandbox.set("LC_ALL", "C");
    for (const char byte : steer("show cpu1"))
        EXPECT_TRUE(static_cast<unsigned char>(byte) < 0x80);
}
