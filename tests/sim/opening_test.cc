// SPDX-License-Identifier: GPL-2.0-or-later
// Calls that open, close and ask the management controller, answered as they are told to.
#include "scenario.h"
#include "yat/hwinfo.h"
#include "yat/winshim.h"

#include <array>
#include <csignal>
#include <fstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <tuple>
#include <unistd.h>

namespace {

using Response = std::array<unsigned char, 16>;

class Opening : public Scenario {
protected:
    // The answer of the management controller, asked as programs do it.
    int askController(Response &response)
    {
        void *const module = LoadLibrary((yatRoot() + "/lib/yathwinfo.dll").c_str());
        if (!module)
            return -99;
        auto *const ask =
            reinterpret_cast<decltype(&YATGetDeviceID)>(GetProcAddress(module, "YATGetDeviceID"));
        const int result = ask ? ask(response.data()) : -98;
        FreeLibrary(module);
        return result;
    }

    static std::string yatRoot()
    {
        char root[4096] = "";
        GetYatRootPath(root, sizeof root);
        return root;
    }
};

constexpr Response ofCedar = {0, 32, 1, 4, 0x17, 2};

} // namespace

TEST_P(Opening, OpensWithTheResultThatItIsToldTo)
{
    begin();
    interface.reset();
    steer("inject ft_FunctionInit 0");
    steer("inject ft_FunctionInit 5");
    EXPECT_EQ(ft_FunctionInit(), 0);
    EXPECT_EQ(yat_ft_func.handle, nullptr);
    EXPECT_EQ(call_yat_is_ft(0), YAT_MACHINE_QUERY_FAILED);
    EXPECT_EQ(ft_FunctionRelease(), 0);
    EXPECT_EQ(ft_FunctionInit(), 5);
    EXPECT_EQ(call_yat_is_ft(0), YAT_MACHINE_CEDAR);
    EXPECT_EQ(ft_FunctionInit(), 1); // it is open
    EXPECT_EQ(ft_FunctionRelease(), 1);
    interface.emplace();
}

TEST_P(Opening, ClosesWhateverTheResultIs)
{
    begin();
    interface.reset();
    for (const int result : {0, -3}) {
        steer("inject ft_FunctionRelease " + std::to_string(result));
        ASSERT_EQ(ft_FunctionInit(), 1);
        EXPECT_EQ(ft_FunctionRelease(), result);
        EXPECT_EQ(yat_ft_func.handle, nullptr);
        EXPECT_EQ(call_yat_is_ft(0), YAT_MACHINE_QUERY_FAILED);
    }
    interface.emplace();
}

TEST_P(Opening, AsksTheControllerOfTheMachineThatThereIs)
{
    begin();
    Response response{};
    EXPECT_EQ(askController(response), 1);
    EXPECT_EQ(response, ofCedar);
    // A machine that came from elsewhere brings its own.
    const auto file = sandbox->directory() / "other.toml";
    std::ofstream(file) << shipped("CEDAR", "response = [0, 32, 1, 4, 0x17, 2]",
                                   "response = [0, 1, 2, 3, 4]");
    steer("import " + file.string());
    response.fill(9);
    EXPECT_EQ(askController(response), 1);
    EXPECT_EQ(response, (Response{0, 1, 2, 3, 4}));
    steer("reset");
    EXPECT_EQ(askController(response), 1);
    EXPECT_EQ(response, ofCedar);
    std::ofstream(file) << shipped("CEDAR", "response = [0, 32, 1, 4, 0x17, 2]", "");
    steer("import " + file.string());
    EXPECT_EQ(askController(response), 0);
    EXPECT_EQ(response, ofCedar); // untouched
}

TEST_P(Opening, AnswersForTheControllerAsItIsToldTo)
{
    begin();
    Response response{};
    steer("inject YATGetDeviceID 0");
    EXPECT_EQ(askController(response), 0);
    EXPECT_EQ(response, Response{});
    steer("inject YATGetDeviceID real --text \"0 33 2 0x85, 0x61\"");
    EXPECT_EQ(askController(response), 1);
    EXPECT_EQ(response, (Response{0, 33, 2, 0x85, 0x61}));
    steer("inject YATGetDeviceID 7");
    EXPECT_EQ(askController(response), 7);
    EXPECT_EQ(response, ofCedar);
    steer("inject YATGetDeviceID real --text \"0xC0\"");
    EXPECT_EQ(askController(response), 0); // it is busy
    EXPECT_EQ(askController(response), 1);
    for (const std::string text : {"256", "x", "0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16", "-1",
                                   " ", "0x", "1.5", "1,2;3"}) {
        const Finished result = yatsim("inject YATGetDeviceID real --text \"" + text + "\"");
        EXPECT_EQ(result.status, 1) << text;
        EXPECT_NE(result.errors.find("expected 1 to 16 numbers from 0 to 255"), std::string::npos)
            << result.errors;
    }
}

TEST_P(Opening, RefusesNullPointersAndWritesThemDown)
{
    begin();
    EXPECT_EQ(ClearMTBF(nullptr, 2), 0);
    EXPECT_EQ(InitBringUp(nullptr, 6), 0);
    EXPECT_EQ(InitBringDown(nullptr, 8), 0);
    EXPECT_EQ(SetMtbfType(nullptr, 14, "1"), 0);
    EXPECT_EQ(SetMtbfType(record("CPU module 1"), 14, nullptr), 0);
    EXPECT_EQ(BurnFirmware(nullptr, 10, "FWCOPY"), 0);
    EXPECT_EQ(stop("CPU module 1"), 1);
    pass(10);
    EXPECT_EQ(BurnFirmware(record("CPU module 1"), 10, nullptr), 0);
    EXPECT_EQ(PutBBDriverSettings(YAT_SETTING_AUTO_BURN, YAT_CLASS_GENERAL, 1, nullptr), 0);
    int on = 1;
    EXPECT_EQ(PutBBDriverSettings(YAT_SETTING_AUTO_BURN, 7, 3, &on), 0);
    EXPECT_EQ(PutBBDriverSettings(YAT_SETTING_AUTO_BURN, 0, 0, &on), 0);
    EXPECT_EQ(PutBBDriverSettings(9, YAT_CLASS_GENERAL, 1, &on), 0);
    const char *const wrongCode = "refused: the code does not match the operation and the device";
    const char *const noDevice = "refused: the machine has no such device";
    const std::tuple<const char *, const char *, int, const char *, const char *> expected[] = {
        {"class0/0", "ClearMTBF", 2, "", wrongCode},
        {"class0/0", "InitBringUp", 6, "", wrongCode},
        {"class0/0", "InitBringDown", 8, "", wrongCode},
        {"class0/0", "SetMtbfType", 14, "1", wrongCode},
        {"cpu1", "SetMtbfType", 14, "", "refused: wrong value"},
        {"class0/0", "BurnFirmware", 10, "FWCOPY", wrongCode},
        {"cpu1", "InitBringDown", 8, "", "done"},
        {"", "set", 0, "time=+10.000000", "done"},
        {"cpu1", "BurnFirmware", 10, "", "refused: wrong value"},
        {"", "PutBBDriverSettings", 2, "", "refused: wrong value"},
        {"class7/3", "PutBBDriverSettings", 2, "1", noDevice},
        {"class0/0", "PutBBDriverSettings", 2, "1", noDevice},
        {"", "PutBBDriverSettings", 9, "1", wrongCode},
    };
    const auto rows = journal();
    ASSERT_EQ(rows.size(), std::size(expected) + 1);
    for (size_t i = 0; i < std::size(expected); ++i) {
        const auto &[device, operation, code, argument, result] = expected[i];
        const auto &row = rows[i + 1];
        SCOPED_TRACE(row.dump());
        EXPECT_EQ(row["device"], device);
        EXPECT_EQ(row["operation"], operation);
        EXPECT_EQ(row["code"], code);
        EXPECT_EQ(row["argument"], argument);
        EXPECT_EQ(row["result"], result);
    }
}

// Each call has something to write then, be it that an injection is used up.
TEST_P(Opening, LeavesAnswersUntouchedWhereNothingCanBeWritten)
{
    begin();
    const std::string reads[] = {"StatusChange",        "yat_ft_get_property", "IfSupport",
                                 "GetBBDriverSettings", "CreateTreeViewData",  "call_yat_is_ft"};
    for (const std::string &call : reads)
        steer("inject " + call + " real --times 1000");
    const pid_t child = forkUntilDeadline();
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit none = {.rlim_cur = 0, .rlim_max = 0};
        setrlimit(RLIMIT_FSIZE, &none);
        const bool isQuiet = freopen("/dev/null", "w", stderr);
        expectEveryCallToFail();
        _exit(!isQuiet || HasFailure());
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    for (const std::string &call : reads)
        steer("inject " + call + " off");
}

PLAY_SCENARIOS(Opening);
