// SPDX-License-Identifier: GPL-2.0-or-later
// yatctl with a platform that is not the simulated machine.
#include "ctl.h"

namespace fs = std::filesystem;

namespace {

// A product root of its own with that platform.
class Foreign : public testing::Test {
protected:
    explicit Foreign(const char *platform = FOREIGN)
    {
        fs::create_directories(root.path / "bin");
        fs::create_directories(root.path / "lib");
        fs::copy_file(YATCTL, root.path / "bin/yatctl");
        fs::copy_file(PROGRAMS "/../lib/libyat.so", root.path / "lib/libyat.so");
        fs::copy_file(platform, root.path / "lib/yatcore.dll");
    }

    std::vector<std::string> command(const std::string &arguments) const
    {
        return commandOf(root.path / "bin/yatctl", arguments);
    }
    Finished yatctl(const std::string &arguments) const
    {
        return run(command(arguments));
    }

    Sandbox sandbox;
    TemporaryDirectory root;
};

// The same that takes its time.
class Slow : public Foreign {
protected:
    Slow() : Foreign(SLOW) {}

    // What becomes of a command when the module goes this way, the look before it first.
    Finished on(const std::string &course, const std::string &arguments)
    {
        sandbox.set("YAT_COURSE", course);
        return yatctl(arguments + " --yes");
    }
};

const char hostile[] = "?[31mred?back??2J";

} // namespace

TEST_F(Foreign, SendsNothingToTheTerminalThatCommandsIt)
{
    EXPECT_EQ(yatctl("list").output,
              "DEVICE          NAME               STATE        FAILURES  MTBF\n"
              "cpu1            ?[31mred?back??2J  on?]0;fire?  -         -\n"
              "cpu2            cpu1               on?]0;fire?  -         -\n"
              "pci1            Twin               on?]0;fire?  -         -\n"
              "pci2            Twin               on?]0;fire?  -         -\n"
              "device7         -                  -            -         -\n"
              "device0.10/1    -                  -            -         -\n"
              "device0.10/2.7  -                  -            -         -\n"
              "device0.10/2.8  -                  -            -         -\n");
    const Json list = Json::parse(yatctl("list --json").output);
    EXPECT_EQ(list["machine"]["type"], "unknown");
    EXPECT_EQ(list["devices"][0]["name"], hostile);
    EXPECT_EQ(list["devices"][0]["state_text"], "on?]0;fire?");
    EXPECT_EQ(list["devices"][4]["class"], "unknown");
    EXPECT_EQ(list["devices"][4]["path"], "10/255");
    EXPECT_EQ(list["devices"][4]["module"], "pci2");
    for (const char *command : {"show 0", "metrics"}) {
        const std::string output = yatctl(command).output;
        EXPECT_NE(output.find(hostile), std::string::npos) << output;
        for (const char *control : {"\x1b", "\a", "\u009b", "\u202e"})
            EXPECT_EQ(output.find(control), std::string::npos) << output;
    }
    EXPECT_TRUE(yatctl("show \"a\x1b[31m\u009b\u202e\"")
                    .errors.starts_with("yatctl: no device 'a?[31m?\?', expected one of cpu1, "));
}

TEST_F(Foreign, SendsItNothingWhileItChanges)
{
    sandbox.set("YAT_TREES", "3");
    const Finished watch = yatctl("watch --interval 0.1");
    EXPECT_EQ(watch.status, 5);
    EXPECT_EQ(watch.errors, "yatctl: the platform does not report the devices\n");
    const std::vector<std::string> lines = linesOf(watch.output);
    ASSERT_EQ(lines.size(), 7u) << watch.output;
    EXPECT_TRUE(lines[0].ends_with(" cpu2: on?]0;fire? -> -")) << watch.output;
}

TEST_F(Slow, SendsItNothingWhenItAsksAndWaits)
{
    sandbox.set("YAT_COURSE", "rxs");
    const std::string shown = atTerminal(command("stop 0 --wait=30"), "y\n").output;
    for (const std::string &wanted : {std::string("Stop ") + hostile + " (cpu1)? [y/N] ",
                                      std::string("\rcpu1: on?]0;fire?\x1b[K")})
        EXPECT_NE(shown.find(wanted), std::string::npos) << shown;
}

TEST_F(Foreign, GivesRecordsThatComeToAnEnd)
{
    sandbox.set("YAT_ENDLESS", "1");
    const Finished list = yatctl("list");
    EXPECT_EQ(list.status, 5);
    EXPECT_EQ(list.errors,
              "yatctl: the platform gives devices that lie below themselves, or more than any "
              "machine has; ask for a newer version of it\n");
}

TEST_F(Foreign, MakesNoFiguresUp)
{
    const Json cpu = Json::parse(yatctl("show cpu2 --json").output);
    for (const auto &[key, value] : cpu["devices"][0].items())
        EXPECT_EQ(value.is_null(), !std::set<std::string>(
                                        {"device", "name", "class", "number", "path", "state_text"})
                                        .contains(key))
            << key;
    EXPECT_EQ(yatctl("settings").output,
              "automatic_firmware_update  -\nautomatic_module_start     -\n");
    const std::string metrics = yatctl("metrics").output;
    EXPECT_NE(metrics.find("yat_device_info{device=\"cpu2\",name=\"cpu1\""), std::string::npos);
    for (const char *name : {"yat_device_state", "yat_module_duplex", "yat_device_failures",
                             "yat_setting", "yat_cpu_module_bios_info"})
        EXPECT_EQ(metrics.find(name), std::string::npos) << name;
}

TEST_F(Foreign, ListsTheDevicesThatAnAmbiguousNameHas)
{
    const Finished twin = yatctl("stop twin --yes");
    EXPECT_EQ(twin.status, 4);
    EXPECT_EQ(twin.errors,
              "yatctl: more than one device 'twin': pci1 (Twin, 9), pci2 (Twin, 10)\n");
    const Finished first = yatctl("show cpu1");
    EXPECT_EQ(first.status, 4);
    EXPECT_EQ(first.errors, std::string("yatctl: more than one device 'cpu1': cpu1 (") + hostile
                                + ", 0), cpu2 (cpu1, 1)\n");
    EXPECT_EQ(yatctl("show 0").status, 0);
}

TEST_F(Foreign, NamesDevicesWithoutNumbersApart)
{
    for (const std::string name : {"device0.10/1", "device0.10/2.7", "device0.10/2.8"}) {
        const Json shown = Json::parse(yatctl("show --json " + name).output);
        EXPECT_EQ(shown["devices"][0]["device"], name);
        EXPECT_EQ(shown["devices"][0]["module"], "pci2");
    }
    const Finished shared = yatctl("show device0");
    EXPECT_EQ(shared.status, 4);
    EXPECT_EQ(shared.errors, "yatctl: more than one device 'device0': device0.10/1 (10/1), "
                             "device0.10/2.7 (10/2), device0.10/2.8 (10/2)\n");
    std::set<std::string> series;
    for (const std::string &line : linesOf(yatctl("metrics").output))
        EXPECT_TRUE(series.insert(line.substr(0, line.rfind(' '))).second) << line;
}

TEST_F(Foreign, SaysWhatItKnowsOfANo)
{
    const Finished refused = yatctl("stop pci1 --yes");
    EXPECT_EQ(refused.status, 3);
    EXPECT_EQ(refused.errors, "yatctl: stop pci1: the platform gives reason 99 without a text\n");
    EXPECT_EQ(yatctl("stop device7 --yes").status, 3);
    EXPECT_EQ(yatctl("settings automatic_module_start=on --yes").status, 1);
    EXPECT_EQ(yatctl("bmc").status, 5);
}

TEST_F(Slow, IsWaitedForUntilItHasBegunAndEnded)
{
    for (const auto &[course, command] : {std::pair{"ssstttr", "start cpu2"},
                                          {"bbbttr", "start cpu2"},
                                          {"sxxxxr", "start cpu2"},
                                          {"rrrs", "stop cpu2"},
                                          {"sssuus", "update cpu2 file"},
                                          {"iiis", "update cpu2 copy"}}) {
        const Finished result = on(course, std::string(command) + " --wait=30 --json");
        EXPECT_EQ(result.status, 0) << course << ": " << result.errors;
        const Json device = Json::parse(result.output)["devices"][0];
        const char last = std::string(course).back();
        EXPECT_EQ(device["state"], last == 'r' ? "running" : "stopped") << course;
        EXPECT_EQ(device["bios_state"], "valid") << course;
    }
}

TEST_F(Slow, IsSeenToFailOnceItHasBegun)
{
    EXPECT_EQ(on("sstb", "start cpu2 --wait=30").errors,
              "yatctl: cpu2 did not get there; it is now: on?]0;fire?\n");
    EXPECT_EQ(on("sb", "start cpu2 --wait=30").status, 1);
    EXPECT_EQ(on("ssuui", "update cpu2 file --wait=30").errors,
              "yatctl: cpu2 has no valid BIOS after the update\n");
    EXPECT_EQ(on("ss", "update cpu2 file --wait=1").errors,
              "yatctl: cpu2 has not got there after 1 s; it is now: on?]0;fire?\n");
}

// The library of a machine's maker may be older than these calls.
TEST_F(Foreign, NeedsNoLibraryThatTellsFacts)
{
    std::string library = readFile(root.path / "lib/libyat.so");
    for (const std::string name : {"GetDeviceFacts", "GetSupportReason"})
        for (size_t at; (at = library.find(name)) != std::string::npos;)
            library[at] = 'X';
    writeFile(root.path / "lib/libyat.so", library);
    fs::copy_file(PROGRAMS "/../lib/yatcore.dll", root.path / "lib/yatcore.dll",
                  fs::copy_options::overwrite_existing);
    fs::copy(PROGRAMS "/../data", root.path / "data", fs::copy_options::recursive);
    const Finished list = yatctl("list");
    EXPECT_EQ(list.status, 0) << list.errors;
    EXPECT_NE(list.output.find("cpu1       CPU module 1        Running, duplex  -         -\n"),
              std::string::npos)
        << list.output;
    const Finished refused = yatctl("start cpu1 --yes");
    EXPECT_EQ(refused.status, 3);
    EXPECT_EQ(refused.errors, "yatctl: start cpu1: the platform gives reason 4 without a text\n");
}

TEST_F(Foreign, SaysThatThePlatformIsMissing)
{
    fs::remove(root.path / "lib/yatcore.dll");
    const Finished result = yatctl("list --json");
    EXPECT_EQ(result.status, 5);
    EXPECT_EQ(Json::parse(result.output)["error"]["status"], 5);
    EXPECT_NE(result.errors.find("the platform can't be opened"), std::string::npos);
}

TEST_F(Foreign, MayHaveAPluginThatIsNotUsable)
{
    EXPECT_TRUE(yatctl("bmc").errors.starts_with("yatctl: yathwinfo.dll can't be loaded: "));
    fs::copy_file(FOREIGN, root.path / "lib/yathwinfo.dll");
    const Finished result = yatctl("bmc");
    EXPECT_EQ(result.status, 5);
    EXPECT_EQ(result.errors, "yatctl: yathwinfo.dll is not usable: it has no YATGetDeviceID\n");
}
