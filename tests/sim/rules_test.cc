// What holds for the machine as a whole: the words of its states, its adapters, and which state
// files it takes.
#include "scenario.h"
#include "sim/sqlite.h"

#include <cwchar>
#include <set>

namespace {

class Words : public Scenario {
protected:
    void look(int seconds);
    void expectWordsToFit(const char *language);

    std::set<std::string> words;
};
class Adapters : public Scenario {};
class StateFiles : public Scenario {
protected:
    // Changes the state as another program would.
    void tamper(const char *sql)
    {
        sim::Database(sandbox->stateFile().string(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)
            .script(sql);
    }
};

// The text before the progress.
std::string wordOf(const std::string &state)
{
    const size_t end = state.find_last_not_of("0123456789% ");
    return state.substr(0, end + 1);
}

void Words::look(int seconds)
{
    for (int i = 0; i <= seconds; ++i, pass(1))
        for (const std::string &state : {cpuState(1), cpuState(2), pciState(3)}) {
            words.insert(wordOf(state));
            wchar_t wide[64];
            const size_t length = mbstowcs(wide, state.c_str(), std::size(wide));
            ASSERT_LT(length, std::size(wide)) << state;
            EXPECT_LE(wcswidth(wide, length), 19) << state;
        }
}

// Each state of a module, at the beginning and at the end of it.
void Words::expectWordsToFit(const char *language)
{
    prepare();
    sandbox->set("LC_ALL", language);
    open();
    look(0);
    stop("CPU module 2");
    look(10);
    burn("CPU module 2", "FWCOPY");
    pass(50);
    look(10);
    start("CPU module 2");
    look(21);
    pass(30);
    look(10);
    steer("fail cpu2 --permanent");
    pass(20);
    look(0);
    EXPECT_EQ(words.size(), 9u) << testing::PrintToString(words);
}

} // namespace

TEST_P(Words, InEnglishFitIntoTheWindow)
{
    expectWordsToFit("en_US.UTF-8");
}

TEST_P(Words, InJapaneseFitIntoTheWindow)
{
    expectWordsToFit("ja_JP.UTF-8");
}

// The threshold is an hour here.
TEST_P(Adapters, ThatBrokeWorkAgainWhenTheirFailuresAreCleared)
{
    begin("CEDAR", "threshold = 24 ", "threshold = 1 ");
    for (const auto &[device, name] : std::map<std::string, std::string>{
             {"scsi1", "SCSI adapter 1"}, {"ethernet2", "Ethernet adapter 2"}}) {
        steer("fail " + device);
        EXPECT_EQ(shown(device)["state"], "duplex");
        pass(1800);
        steer("fail " + device);
        EXPECT_EQ(shown(device)["state"], "broken");
        EXPECT_EQ(shown(device)["failures"], 2);
        EXPECT_EQ(shown(device)["mtbf_hours"], 0.5);
        EXPECT_EQ(pciState(1), "Running, duplex");
        EXPECT_EQ(clearMtbf(name), 1);
        EXPECT_EQ(shown(device)["state"], "duplex");
        EXPECT_EQ(shown(device)["failures"], 0);
        EXPECT_TRUE(shown(device)["mtbf_hours"].is_null());
    }
}

TEST_P(StateFiles, OfTheFirstVersionAreTaken)
{
    prepare();
    steer("init");
    steer("fail cpu2 --permanent");
    tamper("DROP TABLE injection; PRAGMA user_version = 1");
    open();
    EXPECT_EQ(cpuState(1), "Running, simplex");
    EXPECT_EQ(journal().size(), 2u);
    steer("inject InitBringDown 0");
    EXPECT_EQ(stop("PCI module 1"), 0);
    EXPECT_EQ(stop("PCI module 1"), 1);
    EXPECT_EQ(journal().size(), 5u);
}

TEST_P(Adapters, GoDownWithTheirModuleAndAreNotBrokenByThat)
{
    begin();
    EXPECT_EQ(setType("PCI module 1", "0"), 1);
    steer("fail ethernet1 --permanent");
    steer("fail pci1");
    EXPECT_EQ(pciState(1), "Broken");
    EXPECT_EQ(shown("scsi1")["state"], "stopped");
    EXPECT_EQ(shown("ethernet1")["state"], "broken");
    EXPECT_EQ(yatsim("fail scsi1").errors, "yatsim: fail scsi1: the device does not run\n");
    EXPECT_EQ(yatsim("repair scsi1").errors, "yatsim: repair scsi1: the device is not broken\n");
    steer("pull pci1");
    for (const char *device : {"scsi1", "ethernet1"})
        EXPECT_EQ(shown(device)["state"], "empty");
    steer("insert pci1");
    EXPECT_EQ(shown("scsi1")["state"], "stopped");
    EXPECT_EQ(shown("ethernet1")["state"], "broken");
}

PLAY_SCENARIOS(Words);
PLAY_SCENARIOS(Adapters);
PLAY_SCENARIOS(StateFiles);
