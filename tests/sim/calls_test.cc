// SPDX-License-Identifier: GPL-2.0-or-later
// The calls themselves: what they refuse, and what they give.
#include "scenario.h"
#include "yat/trace.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

class Operations : public Scenario {};
class Properties : public Scenario {};
class Settings : public Scenario {};
class State : public Scenario {};
class MachineTime : public Scenario {};

// What an operation of any code does on a record; the codes that belong to none are tried too.
int operate(int call, yat_device *device, int code)
{
    switch (call) {
    case 0: return ClearMTBF(device, code);
    case 1: return InitBringUp(device, code);
    case 2: return InitBringDown(device, code);
    case 3: return BurnFirmware(device, code, "FWCOPY");
    default: return SetMtbfType(device, code, "1");
    }
}

// A time of the journal as a number.
double microseconds(const std::string &time)
{
    std::tm moment{};
    const char *fraction = strptime(time.c_str(), "%Y-%m-%dT%H:%M:%S", &moment);
    return static_cast<double>(timegm(&moment)) * 1e6 + (fraction ? std::stod(fraction) * 1e6 : -1);
}

// The support codes that belong to a call and a class.
int supportOf(int call, int classCode)
{
    const int cpu[] = {1, 5, 7, 9, 13}, pci[] = {15, 19, 21, 0, 23};
    switch (classCode) {
    case YAT_CLASS_CPU_MODULE: return cpu[call];
    case YAT_CLASS_PCI_MODULE: return pci[call];
    case YAT_CLASS_SCSI_ADAPTER: return call == 0 ? 25 : 0;
    default: return call == 0 ? 31 : 0;
    }
}

const char *const deviceNames[] = {"CPU module 1", "PCI module 2", "SCSI adapter 1",
                                   "Ethernet adapter 1"};

} // namespace

// ---- Operations

TEST_P(Operations, AreThoseThatTheMachineTypeHas)
{
    // Support codes of what is possible while all runs.
    const std::tuple<const char *, int, std::vector<int>> machines[] = {
        {"ALDER", YAT_MACHINE_ALDER, {1, 15, 21, 25, 31}},
        {"BIRCH", YAT_MACHINE_BIRCH, {1, 7, 15, 21, 25, 31}},
        {"CEDAR", YAT_MACHINE_CEDAR, {1, 7, 13, 15, 21, 23, 25, 31}},
    };
    for (const auto &[name, type, possible] : machines) {
        SCOPED_TRACE(name);
        begin(name);
        EXPECT_EQ(call_yat_is_ft(0), type);
        std::vector<int> found;
        for (int code = -1; code < 40; ++code)
            for (const char *device : deviceNames)
                if (can(device, code))
                    found.push_back(code);
        std::ranges::sort(found);
        EXPECT_EQ(found, possible);
        leave();
    }
    begin("BIRCH");
    EXPECT_EQ(detail("CPU module 1", 13), YAT_DETAIL_UNSUPPORTED);
    EXPECT_EQ(setType("CPU module 1", "0"), 0);
}

TEST_P(Operations, AreDataOfTheDescription)
{
    begin("CEDAR", "\"bring down\", \"burn firmware\", \"set MTBF type\"]", "\"set MTBF type\"]");
    EXPECT_EQ(detail("CPU module 1", 7), YAT_DETAIL_UNSUPPORTED);
    EXPECT_EQ(stop("CPU module 1"), 0);
    EXPECT_EQ(cpuState(1), "Running, duplex");
    EXPECT_EQ(stop("PCI module 1"), 1);
}

TEST_P(Operations, RefuseCodesThatDoNotBelongToThem)
{
    begin();
    const std::string before = view();
    for (const char *name : deviceNames)
        for (int call = 0; call < 5; ++call) {
            yat_device *device = record(name);
            const int support = supportOf(call, device->identity->ClassCode);
            for (int code = -1; code < 36; ++code)
                if (support == 0 || code != support + 1) {
                    EXPECT_EQ(operate(call, device, code), 0) << name << call << " " << code;
                }
        }
    EXPECT_EQ(view(), before);
}

TEST_P(Operations, RefuseDevicesThatThereAreNot)
{
    begin();
    yat_identity identity = {.Instance = 9, .ClassCode = YAT_CLASS_CPU_MODULE, .DevicePathID = {}};
    yat_device stranger{};
    stranger.identity = &identity;
    int why = 0;
    EXPECT_EQ(IfSupport(&stranger, 7, &why), 0);
    EXPECT_EQ(why, YAT_DETAIL_NO_DEVICE);
    EXPECT_EQ(InitBringDown(&stranger, 8), 0);
    stranger.identity = nullptr;
    EXPECT_EQ(IfSupport(&stranger, 7, &why), 0);
    EXPECT_EQ(InitBringDown(&stranger, 8), 0);
    EXPECT_EQ(IfSupport(nullptr, 7, nullptr), 0);
    EXPECT_EQ(IfSupport(record("CPU module 1"), 7, nullptr), 1);
    char text[1025] = "untouched";
    EXPECT_EQ(StatusChange(YAT_KIND_CPU_MODULE, 3, YAT_STATE_CPU_MODULE, text), -1);
    EXPECT_EQ(StatusChange(YAT_KIND_CPU_MODULE, 1, YAT_STATE_PCI_MODULE, text), -1);
    EXPECT_EQ(StatusChange(YAT_KIND_PCI_MODULE, 1, YAT_STATE_CPU_MODULE, text), -1);
    EXPECT_EQ(StatusChange(YAT_KIND_BOARD, 1, YAT_STATE_CPU_MODULE, text), -1);
    EXPECT_EQ(StatusChange(YAT_KIND_CPU_MODULE, 1, YAT_STATE_CPU_MODULE, nullptr), -1);
    EXPECT_STREQ(text, "untouched");
}

TEST_P(Operations, SetTheMtbfTypeThatIsReadTwoAbove)
{
    begin("CEDAR", "board = 3", "board = 9"); // the next one has a smaller number
    const auto typeOf = [](int board) {
        return property(YAT_KIND_BOARD, board, YAT_PROPERTY_MTBF_TYPE);
    };
    const std::string board = property(YAT_KIND_PCI_MODULE, 2, YAT_PROPERTY_RELATIONAL_INDEX);
    EXPECT_EQ(board, "4");
    EXPECT_EQ(typeOf(1), "4");
    EXPECT_EQ(typeOf(4), "3");
    EXPECT_EQ(typeOf(9), "3");
    for (const char *type : {"0", "1", "2"}) {
        EXPECT_EQ(setType("CPU module 1", type), 1);
        EXPECT_EQ(setType("PCI module 2", type), 1);
        EXPECT_EQ(typeOf(1), std::string(1, static_cast<char>(*type + 2)));
        EXPECT_EQ(typeOf(4), typeOf(1));
    }
    for (const char *type : {"3", "-1", "", "00", "1 ", "x"})
        EXPECT_EQ(setType("CPU module 1", type), 0) << type;
    EXPECT_EQ(SetMtbfType(record("CPU module 1"), 14, nullptr), 0);
    EXPECT_EQ(typeOf(1), "4");
}

// ---- Properties

TEST_P(Properties, AreThoseOfTheMachineAndNoOthers)
{
    begin();
    const std::map<std::tuple<int, int, int>, std::string> expected = {
        {{1, 1, 8}, "4"},
        {{1, 2, 8}, "4"},
        {{1, 3, 8}, "3"},
        {{1, 4, 8}, "3"},
        {{2, 1, 27}, "4.1.0068"},
        {{2, 2, 27}, "4.1.0068"},
        {{3, 1, 9002}, "3"},
        {{3, 2, 9002}, "4"},
        {{3, 3, 9002}, "5"},
        {{2, 1, 28}, "Valid, running from the primary bank"},
        {{2, 2, 28}, "Valid, running from the primary bank"},
    };
    std::map<std::tuple<int, int, int>, std::string> found;
    for (int kind = -1; kind < 6; ++kind)
        for (int number = -1; number < 8; ++number)
            for (const int id : {-1, 0, 1, 7, 8, 9, 26, 27, 28, 29, 9001, 9002, 9003})
                if (const std::string value = property(kind, number, id); value != "(fails)")
                    found[{kind, number, id}] = value;
    EXPECT_EQ(found, expected);
}

TEST_P(Properties, OfTheMtbfTypeAreThereOnCedarOnly)
{
    begin("BIRCH");
    for (int board = 1; board <= 4; ++board)
        EXPECT_EQ(property(YAT_KIND_BOARD, board, YAT_PROPERTY_MTBF_TYPE), "(fails)");
    EXPECT_EQ(property(YAT_KIND_PCI_MODULE, 1, YAT_PROPERTY_RELATIONAL_INDEX), "3");
    EXPECT_EQ(property(YAT_KIND_CPU_MODULE, 1, YAT_PROPERTY_BIOS_VERSION), "2.7.0133");
}

TEST_P(Properties, StayWithinTheBuffer)
{
    begin();
    const std::string value = "4.1.0068";
    for (unsigned long size = 0; size < 12; ++size) {
        char buffer[16];
        memset(buffer, '#', sizeof buffer);
        unsigned long length = size;
        const int result = yat_ft_func.yat_ft_get_property(
            YAT_KIND_CPU_MODULE, 1, YAT_PROPERTY_BIOS_VERSION, buffer, &length);
        const bool fits = size > value.size();
        EXPECT_EQ(result == 0, fits) << size;
        EXPECT_EQ(length, fits ? value.size() + 1 : size);
        const std::string whole(buffer, sizeof buffer);
        EXPECT_EQ(whole, fits ? value + '\0' + std::string(7, '#') : std::string(16, '#'));
    }
    char buffer[16];
    unsigned long length = sizeof buffer;
    EXPECT_NE(yat_ft_func.yat_ft_get_property(2, 1, 27, nullptr, &length), 0);
    EXPECT_NE(yat_ft_func.yat_ft_get_property(2, 1, 27, buffer, nullptr), 0);
}

TEST_P(Properties, AreConvertedToNumbers)
{
    begin();
    const std::tuple<const char *, int, int> cases[] = {
        {"4", 0, 4},
        {" 4 ", 0, 4},
        {"-7", 0, -7},
        {"+7", 0, 7},
        {"007", 0, 7},
        {"2147483647", 0, 2147483647},
        {"\t3\n", 0, 3},
        {"-2147483648", 0, -2147483647 - 1},
        {"2147483648", -1, 99},
        {"-2147483649", -1, 99},
        {"", -1, 99},
        {" ", -1, 99},
        {"x", -1, 99},
        {"4x", -1, 99},
        {"4 4", -1, 99},
        {"+-4", -1, 99},
        {"-", -1, 99},
        {"4.0", -1, 99},
        {"0x4", -1, 99},
    };
    for (const auto &[text, result, number] : cases) {
        int value = 99;
        EXPECT_EQ(yat_ft_func.Linux_ConvertDataToInt(std::string(text).data(), &value), result)
            << text;
        EXPECT_EQ(value, number) << text;
    }
    int value = 99;
    char text[] = "4";
    EXPECT_EQ(yat_ft_func.Linux_ConvertDataToInt(nullptr, &value), -1);
    EXPECT_EQ(yat_ft_func.Linux_ConvertDataToInt(text, nullptr), -1);
}

// ---- Settings

TEST_P(Settings, AreWrittenAsOneAndReadAsTwo)
{
    begin();
    const auto read = [](int kind) {
        int value = -1;
        EXPECT_NE(GetBBDriverSettings(kind, YAT_CLASS_GENERAL, 1, &value), 0);
        return value;
    };
    const auto write = [](int kind, int value) {
        return PutBBDriverSettings(kind, YAT_CLASS_GENERAL, 1, &value);
    };
    EXPECT_EQ(read(YAT_SETTING_AUTO_BURN), 2);
    EXPECT_NE(read(YAT_SETTING_AUTO_BRING_UP), 2);
    EXPECT_NE(write(YAT_SETTING_AUTO_BURN, 0), 0);
    EXPECT_NE(write(YAT_SETTING_AUTO_BRING_UP, 1), 0);
    EXPECT_NE(read(YAT_SETTING_AUTO_BURN), 2);
    EXPECT_EQ(read(YAT_SETTING_AUTO_BRING_UP), 2);
    for (const int value : {2, -1, 7})
        EXPECT_EQ(write(YAT_SETTING_AUTO_BURN, value), 0);
    EXPECT_NE(read(YAT_SETTING_AUTO_BURN), 2);
}

TEST_P(Settings, ThatThereAreNotFail)
{
    begin();
    const std::tuple<int, int, int> cases[] = {{0, YAT_CLASS_GENERAL, 1}, {1, YAT_CLASS_GENERAL, 1},
                                               {4, YAT_CLASS_GENERAL, 1}, {2, YAT_CLASS_GENERAL, 0},
                                               {2, YAT_CLASS_GENERAL, 2}, {2, 20002, 1}};
    for (const auto &[kind, object, index] : cases) {
        int value = 1;
        EXPECT_EQ(PutBBDriverSettings(kind, object, index, &value), 0);
        value = 77;
        EXPECT_EQ(GetBBDriverSettings(kind, object, index, &value), 0);
        EXPECT_EQ(value, 77);
    }
    EXPECT_EQ(GetBBDriverSettings(2, YAT_CLASS_GENERAL, 1, nullptr), 0);
    EXPECT_EQ(PutBBDriverSettings(2, YAT_CLASS_GENERAL, 1, nullptr), 0);
}

// ---- State and journal

TEST_P(State, IsThereAgainInTheNextProgram)
{
    begin();
    stop("CPU module 2");
    pass(4);
    int on = 1;
    PutBBDriverSettings(YAT_SETTING_AUTO_BRING_UP, YAT_CLASS_GENERAL, 1, &on);
    setType("PCI module 1", "0");
    const std::string before = view();
    interface.reset();
    interface.emplace();
    EXPECT_EQ(view(), before);
    EXPECT_EQ(cpuState(2), "Stopping 40 %");
}

TEST_P(State, IsKeptWhenTheDescriptionChanges)
{
    prepare("CEDAR", "name = \"CEDAR", "name = \"SEVERAL");
    open();
    stop("CPU module 2");
    interface.reset();
    const fs::path file = sandbox->directory() / "CEDAR.toml";
    std::ofstream(file) << shipped("ALDER");
    interface.emplace();
    EXPECT_EQ(call_yat_is_ft(0), YAT_MACHINE_CEDAR);
    EXPECT_EQ(cpuState(2), "Stopping 0 %");
    steer("reset");
    EXPECT_EQ(call_yat_is_ft(0), YAT_MACHINE_ALDER);
    EXPECT_EQ(cpuState(2), "Broken");
}

// ---- Time

TEST_P(MachineTime, StandsStill)
{
    begin(); // at a pace of 0
    stop("CPU module 2");
    pass(5);
    const auto before = nlohmann::json::parse(steer("show --json"))["time"];
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(cpuState(2), "Stopping 50 %");
    EXPECT_EQ(nlohmann::json::parse(steer("show --json"))["time"], before);
}

TEST_P(MachineTime, RunsFasterWhenItIsToldTo)
{
    begin("CEDAR", "", "", "300");
    EXPECT_EQ(stop("CPU module 2"), 1);
    const auto limit = std::chrono::steady_clock::now() + deadline;
    std::vector<int> seen = {0};
    for (std::string state; (state = cpuState(2)) != "Stopped";) {
        ASSERT_LT(std::chrono::steady_clock::now(), limit) << state;
        int percent = -1;
        ASSERT_EQ(sscanf(state.c_str(), "Stopping %d", &percent), 1) << state;
        EXPECT_GE(percent, seen.back());
        seen.push_back(percent);
    }
    EXPECT_EQ(clearMtbf("CPU module 2"), 1);
    // How far the two operations are apart, however long this process was kept from going on.
    const auto rows = journal();
    const auto moment = [&](size_t row, const char *clock) {
        return microseconds(rows.at(row).at(clock).get<std::string>());
    };
    const double passed = moment(2, "time") - moment(1, "time");
    EXPECT_GT(passed, 10e6);
    EXPECT_NEAR(passed, 300 * (moment(2, "real_time") - moment(1, "real_time")), 1000);
}

TEST_P(MachineTime, IsRealUnlessItIsToldOtherwise)
{
    prepare();
    sandbox->set("YAT_TIME_SCALE", "");
    open();
    const auto at = [](const char *key) {
        return nlohmann::json::parse(steer("journal --last 1 --json"))[0][key]
            .get<std::string>()
            .substr(0, 26);
    };
    EXPECT_EQ(clearMtbf("CPU module 2"), 1); // which lasts, so that the other process sees the same
    EXPECT_EQ(at("time"), at("real_time"));
    EXPECT_EQ(nlohmann::json::parse(steer("show --json"))["time_scale"], 1);
}

PLAY_SCENARIOS(Operations);
PLAY_SCENARIOS(Properties);
PLAY_SCENARIOS(Settings);
PLAY_SCENARIOS(State);
PLAY_SCENARIOS(MachineTime);
