// SPDX-License-Identifier: GPL-2.0-or-later
// The plug-in as programs use it: loaded, asked, unloaded.
#include "hwinfo/bmc.h"
#include "sim/store.h"
#include "support/files.h"
#include "support/symbols.h"
#include "support/trace.h"
#include "yat/hwinfo.h"
#include "yat/trace.h"
#include "yat/winshim.h"
#include "yatsim/steering.h"

#include <array>
#include <cstdint>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <vector>

namespace {

namespace fs = std::filesystem;

using Response = std::array<unsigned char, 16>;
using Lines = std::vector<std::string>;

const fs::path stage = STAGE;
const fs::path stagedPlugin = stage / "lib/yathwinfo.dll";
const Response untouched = [] {
    Response bytes;
    bytes.fill(0xEE);
    return bytes;
}();

struct Asked {
    int result = -1;
    Response response = untouched;
};

class PluginTest : public testing::Test {
protected:
    TemporaryDirectory directory;

    void SetUp() override
    {
        setenv("YAT_STATE_DIR", directory.path.c_str(), 1);
        ASSERT_EQ(TraceLogInit(0, "hwinfo_test", 0, 0, 0), 1);
    }
    void TearDown() override
    {
        unsetenv("YAT_MACHINE");
    }

    Asked ask(const std::string &machine, const fs::path &plugin = stagedPlugin)
    {
        if (machine.empty())
            unsetenv("YAT_MACHINE");
        else
            setenv("YAT_MACHINE", machine.c_str(), 1);
        Asked asked;
        void *const module = LoadLibrary(plugin.c_str());
        if (!module) {
            ADD_FAILURE() << dlerror();
            return asked;
        }
        if (auto *const entry = reinterpret_cast<decltype(&YATGetDeviceID)>(
                GetProcAddress(module, "YATGetDeviceID")))
            asked.result = entry(asked.response.data());
        EXPECT_EQ(FreeLibrary(module), 1);
        return asked;
    }

    // Takes the plug-in's records out of the log, each as "LEVEL FUNCTION TEXT".
    Lines takeTrace()
    {
        const fs::path file = directory.path / "log/hwinfo_test.log";
        const Lines records = readTrace(file, "yathwinfo");
        fs::resize_file(file, 0);
        return records;
    }

    // A description like CEDAR's with another line for the answer, of a machine that is made anew.
    std::string describe(const std::string &line)
    {
        fs::remove_all(directory.path / "machines");
        const fs::path file = directory.path / "machine.toml";
        const std::string cedar = readFile(stage / "data/machines/CEDAR.toml");
        const std::regex answer("\nresponse = [^\n]*");
        EXPECT_TRUE(std::regex_search(cedar, answer));
        writeFile(file, std::regex_replace(cedar, answer, "\n" + line));
        return file;
    }

    void expectFailure(const std::string &machine, const std::string &problem)
    {
        const Asked asked = ask(machine);
        EXPECT_EQ(asked.result, 0);
        EXPECT_EQ(asked.response, untouched);
        EXPECT_EQ(takeTrace(), (Lines{"0 YATGetDeviceID >", "1 YATGetDeviceID " + problem,
                                      "0 YATGetDeviceID <"}));
    }
};

bool isLoaded()
{
    return readFile("/proc/self/maps").find("yathwinfo.dll") != std::string::npos;
}

} // namespace

TEST_F(PluginTest, AnswersForEachSimulatedMachine)
{
    const std::map<std::string, Response> machines = {
        {"ALDER", {0, 32, 1, 1, 0x23, 2}},
        {"BIRCH", {0, 32, 1, 2, 0x08, 2}},
        {"CEDAR", {0, 32, 1, 4, 0x17, 2}},
        {"PLAIN", {0, 32, 1, 1, 0x00, 2}},
    };
    for (const auto &file : fs::directory_iterator(stage / "data/machines"))
        EXPECT_TRUE(machines.contains(file.path().stem().string())) << file;
    for (const auto &[machine, response] : machines) {
        const Asked asked = ask(machine);
        EXPECT_EQ(asked.result, 1) << machine;
        EXPECT_EQ(asked.response, response) << machine;
    }
    EXPECT_EQ(takeTrace().size(), 2 * machines.size()); // where each call began and ended
}

TEST_F(PluginTest, AnswersAsTheDescriptionSays)
{
    const std::map<std::string, Response> lines = {
        {"response = [0, 1, 2, 3, 4]", {0, 1, 2, 3, 4}},
        {"response = [0, 0, 0, 0xFF, 0x9A]", {0, 0, 0, 0xFF, 0x9A}},
        {"response = [0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15]",
         {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}},
    };
    for (const auto &[line, response] : lines) {
        const Asked asked = ask(describe(line));
        EXPECT_EQ(asked.result, 1) << line;
        EXPECT_EQ(asked.response, response) << line;
    }
}

TEST_F(PluginTest, FailsWhereTheDescribedAnswerIsABadOne)
{
    expectFailure(describe("response = [0xC0]"),
                  "the BMC is busy (completion code C0, expected 00)");
    expectFailure(describe("response = [0xC3, 32, 1, 4, 0x17, 2]"),
                  "the BMC is silent, the driver gave up waiting for it (completion code C3, "
                  "expected 00)");
    expectFailure(describe("response = [0]"), "the BMC's answer has 1 bytes, expected at least 5");
    expectFailure(describe("response = [0, 32, 1, 4]"),
                  "the BMC's answer has 4 bytes, expected at least 5");
}

TEST_F(PluginTest, FailsWhereTheDescriptionIsWrong)
{
    const std::string file = directory.path / "machine.toml";
    const std::string bytes = "1 to 16 numbers from 0 to 255";
    for (const std::string value : {"[0, 1, 2, 3, 256]", "[]", "\"0\"",
                                    "[0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16]"}) {
        EXPECT_EQ(ask(describe("response = " + value)).result, 0) << value;
        const Lines records = takeTrace();
        ASSERT_EQ(records.size(), 3u) << value;
        EXPECT_TRUE(std::regex_match(
            records[1], std::regex("1 YATGetDeviceID " + file + ":11: .*response.*" + bytes)))
            << records[1];
    }
    expectFailure(describe(""), "no 'response' in [bmc] of the machine's description, so it has no "
                                "BMC");
}

TEST_F(PluginTest, TellsEveryMistakeOfADescription)
{
    const Asked asked = ask(describe("response = [-1]\nanswer = 7"));
    EXPECT_EQ(asked.result, 0);
    EXPECT_EQ(asked.response, untouched);
    EXPECT_EQ(takeTrace().size(), 4u);
}

TEST_F(PluginTest, TakesNoAnswerFromADescriptionWithAMistakeElsewhere)
{
    const std::string file = describe("response = [0, 1, 2, 3, 4]\nanswer = 7");
    expectFailure(file, file + ":12: unknown key 'answer' in [bmc], expected response");
}

TEST_F(PluginTest, FailsWithoutADescription)
{
    const std::string missing = directory.path / "missing.toml";
    EXPECT_EQ(ask(missing).result, 0);
    const Lines records = takeTrace();
    ASSERT_EQ(records.size(), 3u);
    EXPECT_TRUE(records[1].starts_with("1 YATGetDeviceID " + missing + " can't be read: "))
        << records[1];
}

TEST_F(PluginTest, AnswersWhatIsInjected)
{
    const auto injected = [&](const std::string &machine, const sim::Injection &injection) {
        setenv("YAT_MACHINE", machine.c_str(), 1);
        sim::Store store = sim::configuredStore();
        sim::inject(store, injection);
        return ask(machine);
    };
    const std::string cedar = describe("response = [0, 32, 1, 4, 0x17]");
    const Asked answered = injected(cedar, {.call = "YATGetDeviceID", .text = "0 1 2 3 4"});
    EXPECT_EQ(answered.result, 1);
    EXPECT_EQ(answered.response, (Response{0, 1, 2, 3, 4}));
    const Asked refused = injected(cedar, {.call = "YATGetDeviceID", .result = 0});
    EXPECT_EQ(refused.result, 0);
    EXPECT_EQ(refused.response, untouched);
    const Asked strange = injected(cedar, {.call = "YATGetDeviceID", .result = 7});
    EXPECT_EQ(strange.result, 7);
    EXPECT_EQ(strange.response, (Response{0, 32, 1, 4, 0x17}));
    const Asked pretended = injected(describe(""), {.call = "YATGetDeviceID", .result = -1});
    EXPECT_EQ(pretended.result, -1);
    EXPECT_EQ(pretended.response, Response());
}

TEST_F(PluginTest, AsksTheHardwareWhereThatIsChosen)
{
    if (fs::exists("/dev/ipmi0"))
        GTEST_SKIP() << "this machine has a BMC, and what it answers is not known here";
    expectFailure("hardware", "no /dev/ipmi0 (No such file or directory): load the kernel modules "
                              "ipmi_msghandler, ipmi_devintf and ipmi_si; if they are loaded, they "
                              "found no BMC");
}

TEST_F(PluginTest, FollowsTheConfigurationOfItsOwnRoot)
{
    const fs::path root = directory.path / "root";
    for (const char *folder : {"lib", "etc", "data"})
        fs::create_directories(root / folder);
    fs::copy(stagedPlugin, root / "lib");
    fs::copy(stage / "lib/libyat.so", root / "lib");
    fs::copy(stage / "data/machines", root / "data/machines");
    const auto configure = [&](const std::string &machine) {
        writeFile(root / "etc/yatkit.toml", "machine = \"" + machine + "\"\n");
        return ask("", root / "lib/yathwinfo.dll");
    };
    unsetenv("YAT_STATE_DIR");
    EXPECT_EQ(configure("BIRCH").response, (Response{0, 32, 1, 2, 0x08, 2}));
    EXPECT_TRUE(fs::exists(root / "var/machines/BIRCH.db"));
    EXPECT_EQ(configure("ALDER").response, (Response{0, 32, 1, 1, 0x23, 2}));
    if (!fs::exists("/dev/ipmi0")) {
        EXPECT_EQ(configure("hardware").result, 0);
    }
    takeTrace();
    // A mistake must not lead to another machine than was meant.
    EXPECT_EQ(configure("BIRCH\" x").result, 0);
    const Lines trace = takeTrace();
    EXPECT_NE(trace.at(1).find("/etc/yatkit.toml:1: "), std::string::npos) << trace.at(1);
}

TEST_F(PluginTest, RefusesANullResponse)
{
    void *const module = LoadLibrary(stagedPlugin.c_str());
    ASSERT_TRUE(module);
    const auto entry =
        reinterpret_cast<decltype(&YATGetDeviceID)>(GetProcAddress(module, "YATGetDeviceID"));
    EXPECT_EQ(entry(nullptr), 0);
    FreeLibrary(module);
    EXPECT_EQ(takeTrace(), (Lines{"0 YATGetDeviceID >",
                                  "1 YATGetDeviceID <[OUT]param error.response is NULL."}));
}

TEST_F(PluginTest, LeavesNothingBehind)
{
    EXPECT_FALSE(isLoaded());
    void *const module = LoadLibrary(stagedPlugin.c_str());
    ASSERT_TRUE(module);
    EXPECT_TRUE(isLoaded());
    FreeLibrary(module);
    ask("CEDAR"); // opens the log
    const size_t openFiles = countOpenFiles();
    for (int i = 0; i < 20; ++i) {
        ask("CEDAR");
        ask("hardware");
        ask(directory.path / "missing.toml");
        ASSERT_FALSE(isLoaded());
    }
    EXPECT_EQ(countOpenFiles(), openFiles);
}

TEST_F(PluginTest, ShowsOneSymbol)
{
    const std::vector<Symbol> symbols = definedSymbols(stagedPlugin);
    ASSERT_EQ(symbols.size(), 1u);
    EXPECT_EQ(symbols[0].name, "YATGetDeviceID");
    EXPECT_EQ(symbols[0].kind, 'T');
}
