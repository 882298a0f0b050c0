// SPDX-License-Identifier: GPL-2.0-or-later
// The windows of the devices: what they read, when they are given up, what they trace.
#include "navigation.h"

#include <sstream>

// ---- The MTBF type

namespace {

const std::string selectedFirst = "(*) Stay down", selectedSecond = "(*) Always restart",
                  selectedThird = "(*) Restart at or above the threshold";

// What the windows read: the MTBF type of the module's board.
std::string typeRead(const Device &device, int type)
{
    // The PCI module's board is read first.
    const bool isPci = &device == &pciModule;
    return std::string("yat_ft_get_property 0 at=") + (isPci ? "2" : "1")
           + " text=" + std::to_string(type);
}

class EveryMtbfType : public testing::TestWithParam<std::tuple<const Device *, int>> {};

TEST_P(EveryMtbfType, PresetsItsRadioButton)
{
    const auto &[device, type] = GetParam();
    Session session({.script = typeRead(*device, type)});
    open(session, *device);
    EXPECT_EQ(session.terminal().contains(selectedFirst), type == 2);
    EXPECT_EQ(session.terminal().contains(selectedSecond), type == 3);
    EXPECT_EQ(session.terminal().contains(selectedThird), type == 4);
}

TEST_P(EveryMtbfType, WritesWhatIsSelected)
{
    const auto &[device, type] = GetParam();
    Session session({.script = typeRead(*device, type)});
    open(session, *device);
    press(session, 4);
    session.see("Change the MTBF type of this module?");
    session.send(keys::enter);
    session.see("The operation was successful.");
    const std::string written = type == 2 ? "0" : type == 3 ? "1" : "2";
    const std::string code = device == &pciModule ? "24" : "14";
    EXPECT_EQ(session.calls("SetMtbfType"),
              std::vector<std::string>{"SetMtbfType(" + std::string(device->name) + ", " + code
                                       + ", " + written + ") = 1"});
}

INSTANTIATE_TEST_SUITE_P(Devices, EveryMtbfType,
                         testing::Combine(testing::Values(&cpuModule, &pciModule),
                                          testing::Values(2, 3, 4, 1, 5)),
                         [](const auto &info) {
                             return (std::get<0>(info.param) == &cpuModule ? "Cpu" : "Pci")
                                    + std::to_string(std::get<1>(info.param));
                         });

} // namespace

TEST(MtbfType, IsWrittenAsSelectedByTheUser)
{
    for (const Device *device : {&cpuModule, &pciModule})
        for (int radio = 0; radio < 3; ++radio) {
            Session session({.script = typeRead(*device, 5)});
            open(session, *device);
            for (int i = 0; i <= radio; ++i)
                session.send(keys::tab);
            session.send(keys::space);
            session.see("(*)");
            press(session, 3 - radio);
            session.see("Change the MTBF type of this module?");
            session.send(keys::enter);
            session.see("The operation was successful.");
            EXPECT_TRUE(session.calls("SetMtbfType")
                            .at(0)
                            .ends_with(", " + std::to_string(radio) + ") = 1"));
        }
}

// Read is another value than written, and it is not read again.
TEST(MtbfType, StaysAsTheUserSelectedItWhenItIsSet)
{
    for (const Device *device : {&cpuModule, &pciModule}) {
        Session session({.script = typeRead(*device, 4)});
        open(session, *device);
        session.send(keys::tab + keys::space);
        session.see(selectedFirst);
        const size_t reads = session.calls("yat_ft_get_property").size();
        press(session, 3);
        session.see("Change the MTBF type of this module?");
        session.send(keys::enter);
        session.see("The operation was successful.");
        session.send(keys::enter);
        session.seeNot("successful");
        press(session, device == &cpuModule ? 10 : 4); // refresh
        session.see(selectedFirst);
        EXPECT_FALSE(session.terminal().contains(selectedThird));
        EXPECT_EQ(session.calls("yat_ft_get_property").size(), reads);
    }
}

TEST(MtbfType, UnavailableIsToldAtOpeningAndInsteadOfSetting)
{
    const std::string message = "The MTBF type of this module cannot be read.";
    for (const Device *device : {&cpuModule, &pciModule}) {
        const bool isPci = device == &pciModule;
        Session session({.script = std::string("yat_ft_get_property 1 at=") + (isPci ? "2" : "1")});
        session.see("Exit");
        session.send(device->path + keys::enter);
        session.see(message);
        EXPECT_FALSE(
            session.terminal().contains("Clear the MTBF count:")); // the window comes after the box
        session.send(keys::enter);
        session.see("Clear the MTBF count:");
        EXPECT_FALSE(session.terminal().contains(selectedFirst)
                     || session.terminal().contains(selectedSecond)
                     || session.terminal().contains(selectedThird));
        press(session, 4);
        session.see(message);
        session.send(keys::enter);
        session.seeNot(message);
        EXPECT_TRUE(session.calls("IfSupport").empty());
    }
}

TEST(MtbfType, OfAPciModuleIsReadFromItsBoard)
{
    Session session;
    open(session, pciModule);
    // The second read gets the length that the first one left.
    EXPECT_EQ(session.calls("yat_ft_get_property"),
              (std::vector<std::string>{"yat_ft_get_property(3, 1, 9002, 1025) = 0",
                                        "yat_ft_get_property(1, 3, 8, 2) = 0"}));
}

TEST(PciWindow, TakesTheBoardForNoneThatAConversionDoesNotTell)
{
    Session session({.script = "Linux_ConvertDataToInt 5 at=1"});
    session.see("Exit");
    session.send(pciModule.path + keys::enter);
    session.see(" ok ");
    EXPECT_EQ(session.calls("yat_ft_get_property").back(), "yat_ft_get_property(1, 0, 8, 2) = -1");
}

TEST(MtbfType, OfACpuModuleIsReadFromTheBoardOfItsNumber)
{
    Session session;
    open(session, cpuModule);
    EXPECT_EQ(session.calls("yat_ft_get_property"),
              std::vector<std::string>{"yat_ft_get_property(1, 1, 8, 1025) = 0"});
}

TEST(MtbfType, IsNotReadOnOtherMachines)
{
    for (const char *machine : {"ALDER", "BIRCH"})
        for (const Device *device : {&cpuModule, &pciModule}) {
            Session session({.machine = machine});
            open(session, *device);
            EXPECT_TRUE(session.calls("yat_ft_get_property").empty());
            EXPECT_FALSE(session.terminal().contains("MTBF type"));
        }
}

TEST(MtbfType, LayoutIsThatOfTheMachineTypeAskedForByTheWindow)
{
    for (const char *answer : {"-1", "0", "1", "2", "4", "-2"})
        for (const Device *device : {&cpuModule, &pciModule}) {
            Session session({.script = std::string("call_yat_is_ft ") + answer + " at=2"});
            open(session, *device);
            EXPECT_FALSE(session.terminal().contains("MTBF type"));
        }
}

// ---- A window that is given up while it is built

namespace {

struct GivenUp {
    const char *name;
    const Device *device;
    const char *script;
    const char *trace;
};

const GivenUp givenUp[] = {
    {"cpu property function", &cpuModule, "yat_ft_get_property none",
     "1 CpuSubWin <function pointer of yat_ft_get_property is NULL."},
    {"cpu conversion function", &cpuModule, "Linux_ConvertDataToInt none",
     "1 CpuSubWin <function pointer of Linux_ConvertDataToInt is NULL."},
    {"cpu conversion", &cpuModule, "Linux_ConvertDataToInt -1",
     "1 CpuSubWin Linux_ConvertDataToInt(...) returns -1."},
    {"pci property function", &pciModule, "yat_ft_get_property none",
     "1 PciSubWin <function pointer of yat_ft_get_property is NULL."},
    {"pci index", &pciModule, "yat_ft_get_property 1",
     "1 PciSubWin yat_ft_get_property failed when getting mrvIobdRelationalIndex."},
    {"pci conversion function", &pciModule, "Linux_ConvertDataToInt none",
     "1 PciSubWin <function pointer of Linux_ConvertDataToInt is NULL."},
    {"pci index conversion", &pciModule, "Linux_ConvertDataToInt -1",
     "1 PciSubWin Linux_ConvertDataToInt(...) return -1."},
    {"pci type conversion", &pciModule, "Linux_ConvertDataToInt -1 at=2",
     "1 PciSubWin Linux_ConvertDataToInt(...) returns -1."},
};

class EveryGivenUp : public testing::TestWithParam<GivenUp> {};

TEST_P(EveryGivenUp, IsTracedAndTheTreeGoesOn)
{
    // What was made so far is not freed.
    Session session({.script = GetParam().script,
                     .environment = {{"ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0"}}});
    session.see("Exit");
    session.send(GetParam().device->path + keys::enter);
    session.send(keys::tab + keys::enter);
    session.expectExit(1);
    for (const char *shown : {"Clear the MTBF count:", "Error", " ok "})
        EXPECT_EQ(session.terminal().output().find(shown), std::string::npos);
    const std::string source = GetParam().device == &cpuModule ? "cpusubwin" : "pcisubwin";
    const std::vector<std::string> trace = session.trace(source);
    ASSERT_FALSE(trace.empty());
    EXPECT_EQ(trace.back(), GetParam().trace);
}

INSTANTIATE_TEST_SUITE_P(Devices, EveryGivenUp, testing::ValuesIn(givenUp),
                         [](const auto &info) { return inTestName(info.param.name); });

} // namespace

// ---- The state

TEST(State, IsReadAtOpeningAndAtRefreshOnly)
{
    for (const Device *device : {&cpuModule, &pciModule})
        for (const int tabs : {5, 6}) { // stop, start
            const bool isPci = device == &pciModule;
            Session session({.script = "StatusChange 0 at=1 text=as it was\n"
                                       "StatusChange 7 at=2 text=as it is now\n"
                                       "IfSupport 1\nInitBringUp 1\nInitBringDown 1"});
            open(session, *device);
            session.see("as it was");
            press(session, tabs);
            session.see("?");
            session.send(keys::enter);
            session.see("The operation was successful.");
            session.send(keys::enter);
            session.seeNot("successful");
            session.see("as it was");
            EXPECT_EQ(session.calls("StatusChange").size(), 1u);
            press(session, (isPci ? 8 : 14) - tabs); // refresh
            session.see("as it is now");
            EXPECT_EQ(session.calls("StatusChange").back(),
                      isPci ? "StatusChange(3, 1, 9002) = 7" : "StatusChange(2, 1, 9001) = 7");
        }
}

TEST(State, ThatCannotBeReadAnyMoreIsUnknown)
{
    for (const auto &[device, message, refreshTabs] :
         {std::tuple{&cpuModule, "The state of the CPU module cannot be read.", 14},
          {&pciModule, "The state of the PCI module cannot be read.", 8}}) {
        Session session({.script = "StatusChange 0 at=1 text=as it was\nStatusChange -1"});
        open(session, *device);
        session.see("as it was");
        press(session, refreshTabs);
        session.see(message);
        session.see("┤ Error ├");
        session.send(keys::enter);
        session.see("Unknown");
        session.seeNot("as it was");
    }
}

TEST(State, UnreadableIsToldAndShownAsUnknown)
{
    for (const auto &[device, message, refreshTabs] :
         {std::tuple{&cpuModule, "The state of the CPU module cannot be read.", 14},
          {&pciModule, "The state of the PCI module cannot be read.", 8}}) {
        Session session({.script = "StatusChange -1"});
        session.see("Exit");
        session.send(device->path + keys::enter);
        session.see(message);
        EXPECT_FALSE(session.terminal().contains("Clear the MTBF count:"));
        session.send(keys::enter);
        session.see("Unknown");
        press(session, refreshTabs);
        session.see(message);
        session.send(keys::enter);
        session.seeNot(message);
        session.see("Unknown");
    }
}

TEST(State, IsWrappedIntoItsTwoLines)
{
    Session session({.script = "StatusChange 0 text=Synchronising memory with the other module"});
    open(session, pciModule);
    session.see("PCI module state:       Synchronising");
    session.see("memory with the");
    EXPECT_FALSE(session.terminal().contains("other"));
}

TEST(State, TakesTheFocusAsLongAsItHasMoreLinesThanTheWindow)
{
    std::string state = "first";
    while (state.size() < 900)
        state += " and so on";
    Session session(
        {.rows = 12, .columns = 40, .script = "StatusChange 0 at=1 text=" + state + ", last"});
    open(session, cpuModule);
    session.send(keys::backTab);
    session.send(keys::backTab);
    session.see(", last");
    session.send(keys::backTab);
    session.see("first and so on");
    session.send(keys::tab);
    session.send(keys::enter); // Refresh
    session.see("Running, duplex");
    session.send(keys::backTab);
    session.send(keys::enter);
    session.see("Error"); // of the button before
}

TEST(State, TellsTheTerminalNothing)
{
    Session session({.script = "StatusChange 0 text=a\u202eb\u009bc\td\u2066\x1b[41m"});
    open(session, pciModule);
    session.see(" a?b?c "); // newt makes the tab blanks
    session.see(" d??[41m ");
    for (const char *raw : {"\u202e", "\u009b", "\u2066"})
        EXPECT_EQ(session.terminal().output().find(raw), std::string::npos) << raw;
}

TEST(State, OfTheSimulatedMachineFollowsAnOperation)
{
    Session session;
    open(session, pciModule);
    session.see("Running, duplex");
    press(session, 5);
    session.see("Stop this PCI module");
    session.send(keys::enter);
    session.see("The operation was successful.");
    session.send(keys::enter);
    session.seeNot("successful");
    session.see("Running, duplex");
    press(session, 3);
    session.see("Stopping 0 %"); // where the machine's clock stands still
}

// ---- Trace

TEST(WindowTrace, IsThatOfEachWindow)
{
    const auto records = [](const Device &device, const std::string &source, int closeTabs) {
        Session session;
        open(session, device);
        press(session, closeTabs);
        session.seeNot("MTBF");
        session.send(keys::ctrlO);
        session.expectExit(1);
        std::vector<std::string> trace = session.trace(source);
        for (std::string &record : trace)
            if (const size_t address = record.find("0x"); address != std::string::npos)
                record.resize(address);
        return trace;
    };
    EXPECT_EQ(records(cpuModule, "cpusubwin", 15),
              (std::vector<std::string>{
                  "0 CpuSubWin >[IN] datap = ", "0 CpuSubWin number = 1 devName = 2",
                  "0 CpuSubWin datap->lpszTreeName=CPU module 1", "0 CpuSubWin <"}));
    EXPECT_EQ(records(pciModule, "pcisubwin", 9),
              (std::vector<std::string>{
                  "0 PciSubWin >[IN] datap=", "0 PciSubWin number = 1 devName = 3",
                  "0 PciSubWin datap->lpszTreeName=PCI module 1", "0 PciSubWin <"}));
    EXPECT_EQ(records(scsiAdapter, "scsiadapter", 2),
              (std::vector<std::string>{
                  "0 ScsiAdapter >[IN] datap=", "0 ScsiAdapter devName=8 number=1",
                  "0 ScsiAdapter datap->lpszTreeName = SCSI adapter 1", "0 ScsiAdapter <"}));
    EXPECT_EQ(records(ethernetAdapter, "ethernet", 1),
              (std::vector<std::string>{
                  "0 Ethernet >[IN] datap = ", "0 Ethernet number = 1 devName = 13",
                  "0 Ethernet datap->lpszTreeName=Ethernet adapter 1", "0 Ethernet <"}));
}

namespace {

// Expects each record of the source to name a line of its own file, one that has to do with it.
void expectOwnLines(Session &session, const std::string &source, int wanted)
{
    EXPECT_EQ(session.trace(source).size(), static_cast<size_t>(wanted));
    const std::vector<std::string> lines =
        linesOf(readFile(SOURCES "/src/devices/" + source + ".cc"));
    for (const std::string &record :
         linesOf(readFile(session.files().stateDirectory() / "log" / "YATmrvutil.log"))) {
        std::istringstream words(record);
        std::string date, time, process, level, from, function;
        size_t number = 0;
        words >> date >> time >> process >> level >> from >> function >> number;
        if (from != source)
            continue;
        ASSERT_TRUE(number > 0 && number <= lines.size()) << record;
        // Compilers differ in which line of a call that takes two has its number.
        const std::string line = (number > 1 ? lines[number - 2] : "") + lines[number - 1];
        EXPECT_TRUE(line.find("TRACE") != std::string::npos
                    || line.find('"' + function + '"') != std::string::npos)
            << record << "\n"
            << line;
    }
}

} // namespace

TEST(WindowTrace, NamesLinesOfTheWindowsOwnFile)
{
    for (const auto &[device, source] : {std::pair{&cpuModule, "cpusubwin"},
                                         {&pciModule, "pcisubwin"},
                                         {&scsiAdapter, "scsiadapter"},
                                         {&ethernetAdapter, "ethernet"}}) {
        Session session;
        open(session, *device);
        session.send(keys::backTab + keys::enter);
        session.seeNot("MTBF");
        expectOwnLines(session, source, 4);
    }
    for (const GivenUp &window : givenUp) {
        Session session(
            {.script = window.script,
             .environment = {{"ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0"}}});
        session.see("Exit");
        session.send(window.device->path + keys::enter);
        session.send(keys::tab + keys::enter);
        session.expectExit(1);
        expectOwnLines(session, window.device == &cpuModule ? "cpusubwin" : "pcisubwin", 4);
    }
    Session bios({.machine = "ALDER",
                  .script = "yat_ft_get_property none",
                  .environment = {{"ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0"}}});
    open(bios, cpuModule);
    press(bios, 5);
    EXPECT_TRUE(bios.terminal().waitUntil([&] { return bios.trace("cpusubwin").size() == 5; }));
    expectOwnLines(bios, "cpusubwin", 5);
}

TEST(DeviceWindow, OfAnAdapterReadsNothing)
{
    for (const Device *device : {&scsiAdapter, &ethernetAdapter}) {
        Session session;
        open(session, *device);
        EXPECT_EQ(session.calls().back(), "call_yat_is_ft(0) = 3");
    }
}

TEST(DeviceWindow, CutsItsTitleAtTheEndOfItsBuffer)
{
    const std::string name(70, 'n'), utility = " --FT Server Utility";
    for (const auto &[record, length] :
         {std::pair{"0 1 2 1 0 ", std::string::npos}, {"0 1 3 1 0 ", size_t{79}}}) {
        // The first group is that of the CPU modules, whatever its class.
        Session session({.rows = 40, .columns = 160, .tree = record + name + "\n"});
        session.see("Exit");
        session.send(cpuModule.path + keys::enter);
        session.see("Clear the MTBF count:");
        session.see("┤ " + (name + utility).substr(0, length) + " ├");
    }
}

// ---- The second of two modules, and results that are neither 0 nor 1 nor -1

TEST(SecondModule, IsTheOneThatIsReadAndWorkedOn)
{
    for (const auto &[device, type, board, state, code] :
         {std::tuple{&secondCpuModule, "SetMtbfType(CPU module 2, 14, 1) = 1",
                     "yat_ft_get_property(1, 2, 8, 1025) = 0", "StatusChange(2, 2, 9001) = 0",
                     "IfSupport(CPU module 2, 13, 0) = 1"},
          {&secondPciModule, "SetMtbfType(PCI module 2, 24, 1) = 1",
           "yat_ft_get_property(1, 4, 8, 2) = 0", "StatusChange(3, 2, 9002) = 0",
           "IfSupport(PCI module 2, 23, 0) = 1"}}) {
        Session session(
            {.rows = 40, .script = "IfSupport 1\nSetMtbfType 1\nStatusChange 0 text=as it is"});
        open(session, *device);
        session.see(std::string("┤ ") + device->name + " --FT Server Utility ├");
        session.see("as it is");
        EXPECT_EQ(session.calls("StatusChange"), Calls{state});
        EXPECT_EQ(session.calls("yat_ft_get_property").back(), board);
        session.send(keys::tab + keys::tab + keys::space); // the second type
        press(session, 2);
        session.see("Change the MTBF type of this module?");
        session.send(keys::enter);
        session.see("The operation was successful.");
        EXPECT_EQ(session.calls("IfSupport"), Calls{code});
        EXPECT_EQ(session.calls("SetMtbfType"), Calls{type});
        const bool isCpu = device == &secondCpuModule;
        expectInOrder(session.trace(), {isCpu ? "0 CpuSubWin number = 2 devName = 2"
                                              : "0 PciSubWin number = 2 devName = 3"});
    }
}

TEST(Results, OfThePlatformCountAsEachCallHasThem)
{
    // Supported is whatever is not 0; done only 1; a state and a number whatever is not -1.
    Session session({.script = "IfSupport -3\nInitBringDown 2\nLinux_ConvertDataToInt -2\n"
                               "StatusChange -2 text=odd"});
    open(session, secondCpuModule);
    session.see("odd");
    press(session, 5);
    session.see("Stop this CPU module?");
    session.send(keys::enter);
    session.see("The device could not be stopped.");
    EXPECT_EQ(session.calls("InitBringDown"), Calls{"InitBringDown(CPU module 2, 8) = 2"});
}

TEST(Results, OfAPropertyAreRefusalsWhereTheyAreNotZero)
{
    for (const char *result : {"1", "-1", "7", "-2"}) {
        Session session({.script = std::string("yat_ft_get_property ") + result});
        session.see("Exit");
        session.send(secondCpuModule.path + keys::enter);
        session.see("The MTBF type of this module cannot be read.");
        session.send(keys::enter);
        session.see("Clear the MTBF count:");
        press(session, 9);
        session.see("The BIOS version cannot be read.");
        session.send(keys::enter);
        session.see("The BIOS status cannot be read.");
        session.send(keys::enter);
        session.see("BIOS status:");
        EXPECT_EQ(session.calls("yat_ft_get_property"),
                  (Calls{std::string("yat_ft_get_property(1, 2, 8, 1025) = ") + result,
                         std::string("yat_ft_get_property(2, 2, 27, 1024) = ") + result,
                         std::string("yat_ft_get_property(2, 2, 28, 1024) = ") + result}));
    }
}
