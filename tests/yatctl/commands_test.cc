// SPDX-License-Identifier: GPL-2.0-or-later
// What the commands of yatctl do, and how they end.
#include "ctl.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

class Yatctl : public testing::Test {
protected:
    Sandbox sandbox;
};

class OnEachMachine : public testing::TestWithParam<const char *> {
protected:
    Sandbox sandbox{GetParam()};
};

const char twoSettings[] = "automatic_firmware_update  on\nautomatic_module_start     off\n";

} // namespace

// ---- Looking

TEST_P(OnEachMachine, ShowsEachDeviceThatItLists)
{
    const Json list = Json::parse(does("list --json"));
    EXPECT_EQ(list["format"], 1);
    EXPECT_EQ(list["machine"]["type"], GetParam());
    const Json known = Json::parse(steer("list --json"));
    ASSERT_EQ(list["devices"].size(), known.size());
    for (size_t i = 0; i < known.size(); ++i) {
        const Json &device = list["devices"][i];
        EXPECT_EQ(device["device"], known[i]["device"]);
        EXPECT_EQ(device["name"], known[i]["name"]);
        EXPECT_EQ(device["failures"], known[i]["failures"]);
        for (const char *key : {"device", "name"})
            EXPECT_EQ(shows("\"" + device[key].get<std::string>() + "\""), device);
        does("show " + device["device"].get<std::string>());
    }
    EXPECT_EQ(linesOf(does("list")).size(), known.size() + 1);
}

TEST_P(OnEachMachine, TellsItsSettingsAndItsController)
{
    const Json settings = Json::parse(does("settings --json"))["settings"];
    EXPECT_TRUE(settings["automatic_firmware_update"].is_boolean());
    does("settings");
    const Json bmc = Json::parse(does("bmc --json"))["bmc"];
    EXPECT_EQ(bmc["device_id"], 32);
    EXPECT_EQ(linesOf(does("bmc")).size(), 3u);
}

TEST_P(OnEachMachine, SupportsWhatTheMachineDoes)
{
    const bool isPlain = std::string(GetParam()) == "PLAIN", isCedar = GetParam()[0] == 'C';
    EXPECT_EQ(yatctl("set-type cpu1 1 --check").status, isCedar ? 0 : 3);
    EXPECT_EQ(yatctl("clear pci1 --check").status, isPlain ? 3 : 0);
    EXPECT_EQ(yatctl("stop pci1 --check").status, isPlain ? 3 : 0);
}

INSTANTIATE_TEST_SUITE_P(Machines, OnEachMachine,
                         testing::Values("ALDER", "BIRCH", "CEDAR", "PLAIN"),
                         [](const auto &info) { return std::string(info.param); });

TEST_F(Yatctl, FindsADeviceByNameWhateverItsCaseAndByPath)
{
    EXPECT_EQ(shows("ETH3")["device"], "ethernet3");
    EXPECT_EQ(shows("\"cpu MODULE 2\"")["device"], "cpu2");
    EXPECT_EQ(shows("10/2")["device"], "ethernet1");
    EXPECT_EQ(shows("10")["device"], "pci1");
    EXPECT_EQ(shows("ethernet1")["module"], "pci1");
    EXPECT_EQ(shows("cpu1")["partner"], "cpu2");
    expectFailure("show cpu9", 4,
                  "no device 'cpu9', expected one of cpu1, cpu2, pci1, scsi1, ethernet1, "
                  "ethernet2, pci2, scsi2, ethernet3, ethernet4, pci3");
}

TEST_F(Yatctl, TellsFactsOfABrokenDevice)
{
    steer("set cpu2.mtbf_type 0");
    steer("fail cpu2");
    const Json broken = shows("cpu2");
    EXPECT_EQ(broken["state"], "broken");
    EXPECT_EQ(broken["duplex"], false);
    EXPECT_EQ(broken["failures"], 1);
    EXPECT_EQ(broken["mtbf_type"], 0);
    EXPECT_EQ(broken["mtbf_seconds"], nullptr);
    EXPECT_EQ(shows("cpu1")["duplex"], false);
}

TEST_F(Yatctl, MakesUpNothingThatThePlatformDoesNotTell)
{
    steer("inject GetDeviceFacts 0 --times 0");
    const Json device = shows("cpu1");
    EXPECT_EQ(device["state_text"], "Running, duplex");
    for (const char *key : {"state", "duplex", "failures", "mtbf_threshold_seconds", "partner"})
        EXPECT_EQ(device[key], nullptr) << key;
    EXPECT_EQ(device["mtbf_type"], 2); // a property has it, too
    EXPECT_NE(does("list").find("cpu1       CPU module 1        Running, duplex  -         -\n"),
              std::string::npos);
    expectFailure("stop cpu1 --yes --wait", 3,
                  "the platform reports no states, so --wait can't be used");
    EXPECT_EQ(shows("cpu1")["state_text"], "Running, duplex");
}

// ---- Operations

TEST_F(Yatctl, TakesAModuleThroughAnUpdate)
{
    sandbox.set("YAT_TIME_SCALE", "1000");
    does("stop cpu2 --yes --wait");
    EXPECT_EQ(shows("cpu2")["state"], "stopped");
    does("update cpu2 file -y --wait=30");
    EXPECT_EQ(shows("cpu2")["bios_version"], "4.1.0072");
    EXPECT_EQ(does("start cpu2 --check"), "start cpu2: supported\n");
    const Json started = Json::parse(does("start cpu2 --yes --wait --json"));
    EXPECT_EQ(started["operation"],
              (Json{{"name", "start"}, {"device", "cpu2"}, {"supported", true}, {"done", true}}));
    EXPECT_EQ(started["devices"][0]["state"], "running");
    EXPECT_EQ(started["devices"][0]["duplex"], true);
}

TEST_F(Yatctl, CopiesTheBiosOfTheModuleThatRuns)
{
    sandbox.set("YAT_TIME_SCALE", "1000");
    steer("set cpu1.bios_version 9.9");
    does("stop cpu2 --yes --wait");
    does("update cpu2 copy --yes --wait");
    EXPECT_EQ(shows("cpu2")["bios_version"], "9.9");
}

TEST_F(Yatctl, FailsWhenAnUpdateDoesNotBegin)
{
    sandbox.set("YAT_TIME_SCALE", "1000");
    does("stop cpu2 --yes --wait");
    sandbox.set("YAT_TIME_SCALE", "0");
    does("update cpu2 file --yes");
    steer("pull cpu2"); // in the middle of it
    steer("insert cpu2");
    EXPECT_EQ(shows("cpu2")["bios_state"], "invalid");
    steer("inject BurnFirmware 1");
    expectFailure(
        "update cpu2 file --yes --wait=1", 1,
        "cpu2 has not got there after 1 s; it is now: Stopped"); // as nothing has happened
}

TEST_F(Yatctl, ClearsFailuresAndSetsTypes)
{
    steer("fail eth1");
    EXPECT_EQ(shows("eth1")["failures"], 1);
    does("clear eth1 --yes");
    EXPECT_EQ(shows("eth1")["failures"], 0);
    does("set-type pci1 0 --yes");
    EXPECT_EQ(shows("pci1")["mtbf_type"], 0);
    expectFailure("set-type eth1 0 --yes", 3,
                  "set-type ethernet1: there is no such operation for a device of its class");
}

TEST_F(Yatctl, OnlyAsksWithCheck)
{
    EXPECT_EQ(does("stop cpu1 --check"), "stop cpu1: supported\n");
    EXPECT_EQ(Json::parse(does("stop cpu1 --check --json"))["operation"]["done"], false);
    EXPECT_EQ(shows("cpu1")["state"], "running");
    expectFailure("start cpu1 --check", 3, "start cpu1: the module is not stopped");
}

TEST_F(Yatctl, SaysWhyTheMachineRefuses)
{
    expectFailure("start cpu1 --yes", 3, "start cpu1: the module is not stopped");
    steer("inject IfSupport 0 --text 77");
    expectFailure("stop cpu1 --yes", 3, "stop cpu1: the platform gives reason 77 without a text");
    steer("inject IfSupport 0 --text 77");
    steer("inject GetSupportReason 1 --text \"it is Sunday\"");
    expectFailure("stop cpu1 --yes", 3, "stop cpu1: it is Sunday");
    sandbox.set("LC_ALL", "ja_JP.UTF-8");
    expectFailure("start cpu1 --yes", 3, "start cpu1: モジュールが停止していません");
}

TEST_F(Yatctl, AsksForSupportBeforeItOperates)
{
    steer("inject IfSupport 0 --text 4");
    steer("inject InitBringDown 1");
    EXPECT_EQ(yatctl("stop cpu1 --yes").status, 3);
    EXPECT_EQ(Json::parse(steer("show --json"))["injections"].size(), 1u); // it was not called
    does("stop cpu1 --yes");
    EXPECT_EQ(shows("cpu1")["state"], "running"); // as the answer was injected
}

TEST_F(Yatctl, FailsWhenTheMachineDoesNotDoIt)
{
    for (const auto &[call, arguments, name] :
         {std::tuple{"InitBringDown", "stop cpu1", "stop cpu1"},
          std::tuple{"ClearMTBF", "clear scsi1", "clear scsi1"},
          std::tuple{"SetMtbfType", "set-type cpu1 1", "set-type cpu1"}}) {
        steer(std::string("inject ") + call + " 0");
        expectFailure(std::string(arguments) + " --yes", 1,
                      std::string(name) + " failed; the trace log may say why");
    }
    steer("inject PutBBDriverSettings 0");
    expectFailure("settings automatic_module_start=on --yes", 1,
                  "automatic_module_start was not set; the trace log may say why");
}

TEST_F(Yatctl, FailsWithWhatAModuleIsInsteadOfWhatItWasToBe)
{
    sandbox.set("YAT_TIME_SCALE", "1000");
    does("stop cpu2 --yes --wait");
    steer("set cpu2.mtbf_type 0");
    sandbox.set("YAT_TIME_SCALE", "0");
    expectFailure("start cpu2 --yes --wait=1", 1,
                  "cpu2 has not got there after 1 s; it is now: Starting 0 %");
    steer("fail cpu2");
    EXPECT_EQ(shows("cpu2")["state"], "broken");
    does("clear cpu2 --yes");
    steer("inject InitBringUp 1");
    expectFailure("start cpu2 --yes --wait=1", 1,
                  "cpu2 has not got there after 1 s; it is now: Stopped");
    steer("pull cpu2");
    steer("inject IfSupport 1");
    steer("inject InitBringUp 1");
    expectFailure("start cpu2 --yes --wait=30", 1,
                  "cpu2 did not get there; it is now: Not installed");
}

// ---- Settings

TEST_F(Yatctl, ShowsAndChangesSettings)
{
    EXPECT_EQ(does("settings"), twoSettings);
    const Json changed = Json::parse(
        does("settings automatic_firmware_update=off automatic_module_start=on --yes --json"));
    EXPECT_EQ(changed["settings"],
              (Json{{"automatic_firmware_update", false}, {"automatic_module_start", true}}));
    EXPECT_EQ(Json::parse(steer("show --json"))["automatic_module_start"], true);
}

TEST_F(Yatctl, ChangesNoSettingWhenOneIsWrong)
{
    EXPECT_EQ(yatctl("settings automatic_module_start=on nonsense=on --yes").status, 2);
    EXPECT_EQ(does("settings"), twoSettings);
    does("settings automatic_module_start=on --check");
    EXPECT_EQ(does("settings"), twoSettings);
    steer("inject GetBBDriverSettings 0 --times 2");
    EXPECT_EQ(does("settings"), "automatic_firmware_update  -\nautomatic_module_start     -\n");
}

// ---- A platform that can't be reached

TEST_F(Yatctl, SaysThatThePlatformCantBeReached)
{
    steer("inject ft_FunctionInit 0");
    const Finished closed = yatctl("list");
    EXPECT_EQ(closed.status, 5);
    EXPECT_TRUE(closed.errors.starts_with("yatctl: the platform can't be opened\n"));
    steer("inject CreateTreeViewData 0");
    expectFailure("list", 5, "the platform does not report the devices");
    steer("inject call_yat_is_ft -1");
    expectFailure("list", 5, "the platform does not report the type of the machine");
    steer("inject YATGetDeviceID 0");
    const Finished silent = yatctl("bmc");
    EXPECT_EQ(silent.status, 5);
    EXPECT_NE(silent.errors.find("the management controller does not answer"), std::string::npos);
    sandbox.set("YAT_MACHINE", "NOSUCH");
    EXPECT_EQ(yatctl("list").status, 5);
    EXPECT_EQ(yatctl("stop cpu1 --yes").status, 5);
}

// ---- Together

TEST_F(Yatctl, RunsBesideTheOtherProgramsAtOnce)
{
    steer("list"); // which makes the machine
    constexpr int rounds = 8;
    const std::vector<std::vector<std::string>> commands = {
        commandOf(YATCTL, "set-type cpu1 1 --yes"),
        commandOf(YATCTL, "list --json"),
        commandOf(YATSIM, "set cpu2.mtbf_type 0"),
        {PROGRAMS "/mrvutil", "-debug"}};
    std::vector<std::pair<pid_t, size_t>> running;
    for (int round = 0; round < rounds; ++round)
        for (size_t i = 0; i < commands.size(); ++i)
            running.emplace_back(start(commands[i], {.environment = {},
                                                     .prepare =
                                                         [] {
                                                             endAtDeadline();
                                                             dup2(open("/dev/null", O_WRONLY),
                                                                  STDOUT_FILENO);
                                                         }}),
                                 i);
    for (const auto &[process, command] : running) {
        int status = 0;
        waitpid(process, &status, 0);
        const int done = command == 3 ? 1 : 0; // mrvutil's own idea
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == done) << command << " " << status;
    }
    int types = 0;
    for (const Json &row : Json::parse(steer("journal --json")))
        types += row["operation"] == "SetMtbfType" && row["result"] == "done";
    EXPECT_EQ(types, rounds);
    EXPECT_EQ(shows("cpu1")["mtbf_type"], 1);
    EXPECT_EQ(shows("cpu2")["mtbf_type"], 0);
}

TEST_F(Yatctl, SharesTheMachineWithTheOtherPrograms)
{
    sandbox.set("YAT_TIME_SCALE", "1000");
    steer("pull pci1");
    EXPECT_EQ(shows("pci1")["state"], "not_installed");
    steer("insert pci1");
    does("start pci1 --yes --wait");
    EXPECT_EQ(Json::parse(steer("show pci1 --json"))["state"], "duplex");
    const Json journal = Json::parse(steer("journal --json --last 1"));
    EXPECT_EQ(journal[0]["operation"], "InitBringUp");
    const Finished dump = run({PROGRAMS "/mrvutil", "-debug"});
    EXPECT_EQ(dump.status, 1);
    EXPECT_NE(dump.output.find("PCI module 1"), std::string::npos);
    EXPECT_NE(readFile(sandbox.directory() / "log/yatctl.log").find("start pci1  returns 1."),
              std::string::npos);
}
