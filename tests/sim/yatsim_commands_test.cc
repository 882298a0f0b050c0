// SPDX-License-Identifier: GPL-2.0-or-later
// What each subcommand of yatsim does and prints.
#include "yatsim.h"

#include <algorithm>
#include <tuple>

namespace {

std::string stateOf(const std::string &device)
{
    return asJson("show " + device).at("state");
}

} // namespace

TEST_F(Yatsim, InitMakesAStateOnce)
{
    EXPECT_EQ(steer("init"), "");
    EXPECT_TRUE(exists(sandbox.stateFile()));
    steer("pull cpu1");
    expectRefusal("init",
                  sandbox.stateFile().string() + " already exists; 'yatsim reset' rebuilds it");
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

// What turns a terminal round reaches none, whatever the form.
TEST_F(Yatsim, EscapesWhatIsNotToBeShown)
{
    const std::string file =
        write("odd.toml", shipped("CEDAR", "\"CPU module 2\"", "\"A\\u009b31m\\u202eB\""));
    for (const char *arguments :
         {"list", "list --json", "show cpu2", "show cpu2 --json", "export", "journal --json"}) {
        const Finished result = yatsim("--machine " + file + " " + arguments);
        EXPECT_EQ(result.status, 0) << arguments << result.errors;
        for (const char *raw : {"\u009b", "\u202e"})
            EXPECT_EQ(result.output.find(raw), std::string::npos) << arguments;
    }
    const Json device = Json::parse(yatsim("--machine " + file + " show cpu2 --json").output);
    EXPECT_EQ(device.at("name"), "A\u009b31m\u202eB");
    EXPECT_NE(yatsim("--machine " + file + " export").output.find("\"A\\u009B31m\\u202EB\""),
              std::string::npos);
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
    EXPECT_NE(text.find("\nMTBF type     2 (restart at or above threshold)\n"), std::string::npos);

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
    EXPECT_TRUE(
        machine.at("description_file").get<std::string>().ends_with("/data/machines/CEDAR.toml"));
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

TEST_F(Yatsim, TellsWhatTheMachineRefuses)
{
    steer("pull pci2");
    for (const std::string refusal :
         {"repair cpu2: the device is not broken", "fail pci3: the module is not installed",
          "pull pci2: the module is not installed", "insert pci1: the module is already installed",
          "pull scsi1: this operation is not supported on this device",
          "insert scsi1: this operation is not supported on this device"})
        expectRefusal(refusal.substr(0, refusal.find(':')), refusal);
    steer("fail cpu1 --permanent");
    EXPECT_EQ(asJson("show cpu1").at("defective"), true);
    EXPECT_NE(steer("show cpu1").find("Defective     yes, until it is repaired"),
              std::string::npos);
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
                  "PutBBDriverSettings, GetDeviceFacts, GetSupportReason, YATGetDeviceID");
    for (const std::string result : {"maybe", "1x", "1.5", "2147483648"})
        expectRefusal("inject InitBringUp " + result,
                      "wrong result '" + result + "', expected a 32-bit number, 'real' or 'off'");
    for (const std::string option : {"--times 1", "--delay 0", "--text x"})
        expectRefusal("inject InitBringUp off " + option,
                      "--times, --delay and --text go with a result, not with 'off'");
    EXPECT_EQ(asJson("show").at("injections").size(), 1u);
}

TEST_F(Yatsim, TakesTextsForCallsThatGiveSome)
{
    for (const char *call : {"IfSupport", "GetBBDriverSettings", "Linux_ConvertDataToInt"}) {
        expectRefusal(std::string("inject ") + call + " 1 --text foo",
                      std::string("wrong text 'foo' for ") + call + ", expected a 32-bit number");
        steer(std::string("inject ") + call + " 1 --text -5");
    }
    for (const char *call : {"InitBringDown", "ft_FunctionInit", "PutBBDriverSettings"})
        expectRefusal(std::string("inject ") + call + " real --text 1",
                      call + std::string(" returns only its result, so it takes no --text"));
    for (const char *call : {"StatusChange", "yat_ft_get_property"})
        steer(std::string("inject ") + call + " 0 --text foo");
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
    expectRefusal("set scsi1.mtbf_type 1",
                  "no key 'scsi1.mtbf_type', expected mtbf_type of a module");
    expectRefusal("set pci1.bios_version 1",
                  "no key 'pci1.bios_version', expected bios_version of a CPU module");
    const std::tuple<std::string, std::string, std::string> wrong[] = {
        {"cpu1.mtbf_type", "3",
         "0 (stay down), 1 (always restart) or 2 (restart at or above threshold)"},
        {"cpu1.bios_status", std::string(1001, 'x'), "a text of 1 to 1000 bytes"},
        {"automatic_module_start", "yes", "on or off"},
        {"mtbf_threshold", "876001", "a number of hours from 0 to 876000"},
        {"mtbf_threshold", "long", "a number of hours from 0 to 876000"},
        {"data_file", std::string(1001, 'x'), "a text of up to 1000 bytes"},
        {"time", "60", "'+' and a number of seconds from 0 to 315360000"},
        {"time", "+-60", "'+' and a number of seconds from 0 to 315360000"},
        {"time", "+315360001", "'+' and a number of seconds from 0 to 315360000"},
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

TEST_F(Yatsim, TellsTheJournalFromItsEnd)
{
    steer("fail cpu2 --permanent");
    {
        Interface interface;
        EXPECT_EQ(ClearMTBF(interface["CPU module 2"], 2), 1);
    }
    const Json rows = asJson("journal");
    ASSERT_EQ(rows.size(), 3u);
    const auto values = [&](size_t row) {
        std::string result;
        for (const char *key : {"id", "device", "operation", "code", "argument", "result"})
            result += rows[row].at(key).dump() + " ";
        return result;
    };
    EXPECT_EQ(values(1), R"(2 "cpu2" "fail" 0 "permanent" "done" )");
    EXPECT_EQ(values(2), R"(3 "cpu2" "ClearMTBF" 2 "" "done" )");
    EXPECT_FALSE(rows[2].at("user").get<std::string>().empty());
    EXPECT_EQ(rows[2].at("time").get<std::string>().size(), 27u);
    EXPECT_EQ(asJson("journal --last 2"), (Json{rows[1], rows[2]}));
    EXPECT_EQ(asJson("journal --last 100"), rows);
    const std::string text = steer("journal --last 1");
    EXPECT_TRUE(text.starts_with("ID  TIME ")) << text;
    EXPECT_EQ(std::ranges::count(text, '\n'), 2);
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
        {"init", "", "init", file, "it already exists"},
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
