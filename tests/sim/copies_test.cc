// SPDX-License-Identifier: GPL-2.0-or-later
// Machines that are made like another one: by export and import, and by reset.
#include "scenario.h"

#include <fstream>

namespace {

class Copies : public Scenario {
protected:
    // Lets the machine be one like that which was exported; it has a past of its own.
    void become(const std::string &exported)
    {
        const std::string file = (sandbox->directory() / "exported.toml").string();
        std::ofstream(file) << exported;
        stop("PCI module 1");
        yatsim("fail cpu2");
        yatsim("fail ethernet4");
        steer("inject InitBringDown 0 --times 0");
        steer("import " + file);
        interface.reset(); // its records are those of the other machine
        interface.emplace();
    }

    std::string portrait();
    std::vector<std::string> future();
};

std::string supportOf(yat_device *device)
{
    std::string result;
    for (int code = 0; code < 40; ++code) {
        int why = -1;
        const int can = IfSupport(device, code, &why);
        result += " " + std::to_string(can != 0) + "/" + std::to_string(why);
    }
    return result;
}

std::string toText(yat_device *device)
{
    std::string result = std::to_string(device->Hierarchy) + " "
                         + (device->lpszTreeName ? device->lpszTreeName : "(no name)");
    if (const yat_identity *identity = device->identity) {
        result +=
            " " + std::to_string(identity->ClassCode) + "/" + std::to_string(identity->Instance);
        for (const int byte : identity->DevicePathID)
            result += " " + std::to_string(byte);
        result += supportOf(device);
    }
    result += "\n";
    for (int i = 0; i < device->NextDevNum; ++i)
        result += toText(device->children[i]);
    return result;
}

// All that can be seen of the machine: its records, what each device supports, states, properties,
// settings; and what yatsim shows beside that, except the times, which are those of another clock.
std::string Copies::portrait()
{
    yat_device *root = nullptr;
    EXPECT_EQ(CreateTreeViewData(&root), 1);
    if (!root)
        return "no machine";
    std::string result = view() + toText(root);
    EXPECT_EQ(FreeTreeViewData(&root), 1);
    for (const int kind : {YAT_KIND_BOARD, YAT_KIND_CPU_MODULE, YAT_KIND_PCI_MODULE})
        for (int number = 1; number < 8; ++number)
            for (const int id : {YAT_PROPERTY_MTBF_TYPE, YAT_PROPERTY_BIOS_VERSION,
                                 YAT_PROPERTY_BIOS_STATUS, YAT_PROPERTY_RELATIONAL_INDEX})
                result += property(kind, number, id) + "\n";
    for (auto &device : nlohmann::json::parse(steer("list --json"))) {
        for (const char *key : {"since", "failure_times"})
            device.erase(key);
        result += device.dump() + "\n";
    }
    return result;
}

// Also on a device that the machine does not have.
void operate(int (*call)(yat_device *, int), int classCode, int number, int code)
{
    yat_identity identity = {.Instance = number, .ClassCode = classCode, .DevicePathID = {}};
    yat_device device{};
    device.identity = &identity;
    call(&device, code);
}

int burnFromFile(yat_device *device, int code)
{
    return BurnFirmware(device, code, "FWBURN");
}

// What becomes of the machine when all of these things happen to it, whichever of them it takes.
std::vector<std::string> Copies::future()
{
    constexpr int cpu = YAT_CLASS_CPU_MODULE, pci = YAT_CLASS_PCI_MODULE;
    const std::function<void()> steps[] = {
        [] { yatsim("fail cpu2"); },
        [&] { pass(30); },
        [] { operate(InitBringUp, cpu, 2, 6); },
        [&] { pass(70); },
        [] { yatsim("fail pci1"); },
        [&] { pass(100); },
        [] { operate(ClearMTBF, pci, 1, 16); },
        [] { operate(InitBringUp, pci, 1, 20); },
        [&] { pass(25); },
        [] { operate(InitBringDown, cpu, 1, 8); },
        [&] { pass(10); },
        [] { operate(burnFromFile, cpu, 1, 10); },
        [&] { pass(200); },
        [] { operate(ClearMTBF, cpu, 2, 2); },
        [] { operate(InitBringUp, cpu, 2, 6); },
        [&] { pass(70); },
        [] { yatsim("repair cpu2"); },
        [] { operate(InitBringUp, cpu, 2, 6); },
        [] { yatsim("insert pci2"); },
        [] { operate(InitBringUp, pci, 2, 20); },
        [&] { pass(400); },
    };
    std::vector<std::string> result;
    for (const auto &step : steps) {
        step();
        result.push_back(view());
    }
    result.push_back(portrait());
    return result;
}

// What has happened to a machine that is copied, and its type.
struct Past {
    const char *machine;
    std::vector<std::string> commands;
};

const Past pasts[] = {
    {"ALDER", {}},
    {"BIRCH", {"pull cpu2", "set automatic_firmware_update off", "set data_file \"\""}},
    {"PLAIN", {}},
    // failures that decide what the next one does
    {"CEDAR", {"set cpu2.mtbf_type 2", "fail cpu2", "set time +36000"}},
    {"CEDAR",
     {"set cpu2.mtbf_type 2", "fail cpu2", "set time +180000", "fail cpu2", "set time +3600",
      "fail ethernet3 --permanent"}},
    {"CEDAR", {"set pci1.mtbf_type 2", "fail pci1", "set time +3600", "fail pci1"}},
    // one of each that lasts: broken, empty, stopped, alone
    {"CEDAR",
     {"set cpu2.mtbf_type 0", "fail cpu2 --permanent", "pull pci2", "set automatic_module_start on",
      "set mtbf_threshold 12.25"}},
    {"CEDAR",
     {"pull cpu2", "insert cpu2", "set cpu2.bios_status \"' quoted \xc3\xa9\"",
      "set cpu2.bios_version 1.0"}},
};

} // namespace

TEST_P(Copies, AreTheSameToWhoeverLooks)
{
    for (const Past &past : pasts) {
        SCOPED_TRACE(past.machine + std::string(" ") + testing::PrintToString(past.commands));
        begin(past.machine);
        for (const std::string &command : past.commands)
            steer(command);
        const std::string original = portrait(), exported = steer("export");
        const std::vector<std::string> becomes = future();
        leave();

        begin(past.machine == std::string("BIRCH") ? "CEDAR" : "BIRCH");
        ASSERT_NE(portrait(), original);
        become(exported);
        ASSERT_EQ(portrait(), original);
        EXPECT_EQ(steer("export"), exported);
        ASSERT_EQ(future(), becomes);
        leave();
    }
}

TEST_P(Copies, ForgetInjectionsAndGoOnWithTheClockAndTheJournal)
{
    begin();
    const std::string exported = steer("export");
    pass(86400);
    const auto time = nlohmann::json::parse(steer("show --json"))["time"];
    const auto before = journal();
    become(exported);
    EXPECT_EQ(stop("CPU module 2"), 1); // and not 0, as was injected
    EXPECT_EQ(nlohmann::json::parse(steer("show --json"))["time"], time);
    const auto rows = journal();
    const char *const operations[] = {"InitBringDown", "fail",   "fail",
                                      "inject",        "import", "InitBringDown"};
    ASSERT_EQ(rows.size(), before.size() + std::size(operations));
    for (size_t i = 0; i < before.size(); ++i)
        EXPECT_EQ(rows[i], before[i]);
    for (size_t i = 0; i < std::size(operations); ++i)
        EXPECT_EQ(rows[before.size() + i]["operation"], operations[i]);
}

TEST_P(Copies, ByResetAreTheMachineAsItWasMade)
{
    for (const char *machine : {"ALDER", "BIRCH", "CEDAR", "PLAIN"}) {
        SCOPED_TRACE(machine);
        begin(machine);
        const std::string made = portrait();
        const auto time = nlohmann::json::parse(steer("show --json"))["time"];
        const std::vector<std::string> becomes = future();
        steer("pull cpu1");
        EXPECT_NE(portrait(), made);
        steer("inject InitBringDown 0 --times 0");
        const auto later = nlohmann::json::parse(steer("show --json"))["time"];
        steer("reset");
        ASSERT_EQ(portrait(), made);
        const auto now = nlohmann::json::parse(steer("show --json"))["time"];
        EXPECT_GE(now, time); // the real time again
        EXPECT_LT(now, later);
        ASSERT_EQ(future(), becomes);
        EXPECT_EQ(journal()[0]["operation"], "init"); // it goes on
        leave();
    }
}

PLAY_SCENARIOS(Copies);
