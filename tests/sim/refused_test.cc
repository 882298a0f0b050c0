// SPDX-License-Identifier: GPL-2.0-or-later
// What there is no machine behind: descriptions with mistakes, and state files that are not taken.
// The platform opens, each call fails by its convention, and nothing is written.
#include "scenario.h"
#include "yat/trace.h"

#include <algorithm>
#include <cerrno>
#include <fstream>

namespace fs = std::filesystem;

namespace {

class Refused : public Scenario {
protected:
    // Expects that the platform tells this, a line each, once, however many calls fail; and that
    // yatsim does.
    void expectRefused(const std::vector<std::string> &problems);

    std::string log() const
    {
        return readFile(sandbox->directory() / "log" / "scenario.log");
    }
};

class Mistakes : public Refused {
protected:
    std::string descriptionFile() const
    {
        return (sandbox->directory() / "CEDAR.toml").string();
    }

    // The place in the description with that number.
    std::string at(size_t line) const
    {
        return descriptionFile() + ":" + std::to_string(line) + ": ";
    }
};

// What reading a state leaves beside it: a log with nothing in it, and its index.
bool isEmptyLog(const fs::path &file)
{
    return file.extension() == ".db-shm"
           || (file.extension() == ".db-wal" && readFile(file).empty());
}

// Each file below a directory with what is in it, except what the programs log.
std::map<std::string, std::string> everythingIn(const fs::path &directory)
{
    std::map<std::string, std::string> result;
    for (const auto &entry : fs::recursive_directory_iterator(directory))
        if (const fs::path &path = entry.path();
            path.filename() != "log" && path.extension() != ".log" && !isEmptyLog(path))
            result[path] = entry.is_regular_file() ? readFile(path) : "";
    return result;
}

// The line that a text stands in.
size_t lineOf(const std::string &description, const std::string &text)
{
    const size_t where = description.find(text);
    if (where == std::string::npos)
        throw std::runtime_error("no " + text);
    const std::string before = description.substr(0, where);
    return 1 + static_cast<size_t>(std::ranges::count(before, '\n'));
}

void expectOperationsToFail(int classCode, const std::vector<int> &supports)
{
    yat_identity identity = {.Instance = 1, .ClassCode = classCode, .DevicePathID = {}};
    yat_device device{};
    device.identity = &identity;
    for (const int support : supports) {
        SCOPED_TRACE("class " + std::to_string(classCode) + " code " + std::to_string(support));
        int why = 77;
        EXPECT_EQ(IfSupport(&device, support, &why), 0);
        EXPECT_EQ(why, 77);
        EXPECT_EQ(ClearMTBF(&device, support + 1), 0);
        EXPECT_EQ(InitBringUp(&device, support + 1), 0);
        EXPECT_EQ(InitBringDown(&device, support + 1), 0);
        EXPECT_EQ(BurnFirmware(&device, support + 1, "FWCOPY"), 0);
        EXPECT_EQ(SetMtbfType(&device, support + 1, "1"), 0);
    }
}

void expectEveryCallToFail()
{
    yat_device own{}, *root = nullptr, *tree = &own;
    EXPECT_EQ(CreateTreeViewData(&root), 0);
    EXPECT_EQ(root, nullptr);
    EXPECT_EQ(FreeTreeViewData(&tree), 0);
    EXPECT_EQ(tree, &own);
    EXPECT_EQ(call_yat_is_ft(0), YAT_MACHINE_QUERY_FAILED);

    char text[1025] = "untouched", number[] = "4";
    unsigned long size = sizeof text;
    EXPECT_EQ(StatusChange(YAT_KIND_CPU_MODULE, 1, YAT_STATE_CPU_MODULE, text), -1);
    EXPECT_EQ(StatusChange(YAT_KIND_PCI_MODULE, 1, YAT_STATE_PCI_MODULE, text), -1);
    const std::pair<int, int> properties[] = {
        {YAT_KIND_BOARD, YAT_PROPERTY_MTBF_TYPE},
        {YAT_KIND_CPU_MODULE, YAT_PROPERTY_BIOS_VERSION},
        {YAT_KIND_CPU_MODULE, YAT_PROPERTY_BIOS_STATUS},
        {YAT_KIND_PCI_MODULE, YAT_PROPERTY_RELATIONAL_INDEX},
    };
    for (const auto &[kind, id] : properties)
        EXPECT_NE(yat_ft_func.yat_ft_get_property(kind, 1, id, text, &size), 0) << kind << id;
    EXPECT_STREQ(text, "untouched");
    EXPECT_EQ(size, sizeof text);

    expectOperationsToFail(YAT_CLASS_CPU_MODULE, {1, 5, 7, 9, 13});
    expectOperationsToFail(YAT_CLASS_PCI_MODULE, {15, 19, 21, 23});
    expectOperationsToFail(YAT_CLASS_SCSI_ADAPTER, {25});
    expectOperationsToFail(YAT_CLASS_ETHERNET_ADAPTER, {31});

    for (const int kind : {YAT_SETTING_AUTO_BURN, YAT_SETTING_AUTO_BRING_UP}) {
        int value = 77, on = 1;
        EXPECT_EQ(GetBBDriverSettings(kind, YAT_CLASS_GENERAL, 1, &value), 0);
        EXPECT_EQ(value, 77);
        EXPECT_EQ(PutBBDriverSettings(kind, YAT_CLASS_GENERAL, 1, &on), 0);
        EXPECT_EQ(on, 1);
    }
    int value = 77;
    EXPECT_EQ(yat_ft_func.Linux_ConvertDataToInt(number, &value), 0); // needs no machine
    EXPECT_EQ(value, 4);
}

void Refused::expectRefused(const std::vector<std::string> &problems)
{
    ASSERT_EQ(TraceLogInit(0, "scenario", 0, 0, 0), 1);
    std::string fromPlatform, fromYatsim;
    for (const std::string &problem : problems) {
        fromPlatform += std::string(program_invocation_short_name) + ": " + problem + "\n";
        fromYatsim += "yatsim: " + problem + "\n";
    }
    const auto before = everythingIn(sandbox->directory());
    testing::internal::CaptureStderr();
    EXPECT_EQ(ft_FunctionInit(), 1);
    EXPECT_NE(yat_ft_func.handle, nullptr);
    expectEveryCallToFail();
    EXPECT_EQ(ft_FunctionRelease(), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), fromPlatform);
    for (const std::string &problem : problems)
        EXPECT_NE(log().find(problem), std::string::npos) << log();
    for (const char *command : {"init", "list", "fail cpu1", "journal", "export"}) {
        const Finished result = yatsim(command);
        EXPECT_EQ(result.status, 1) << command;
        EXPECT_EQ(result.output, "") << command;
        EXPECT_EQ(result.errors, fromYatsim) << command;
    }
    EXPECT_TRUE(everythingIn(sandbox->directory()) == before); // too much to be printed
}

} // namespace

// ---- Descriptions

TEST_P(Mistakes, AreToldAllOfThem)
{
    prepare("CEDAR", "threshold = 24 ", "threshold = -1 ");
    std::string text = readFile(descriptionFile());
    text.replace(text.find("stop = 10"), 9, "stop = \"soon\"");
    std::ofstream(descriptionFile()) << text;
    expectRefused({at(lineOf(text, "threshold = -1"))
                       + "wrong value for 'threshold', expected a number from 0 to 876000",
                   at(lineOf(text, "stop = \"soon\""))
                       + "wrong value for 'stop', expected a number from 0 to 86400"});
}

TEST_P(Mistakes, AreADescriptionThatThereIsNot)
{
    prepare();
    const std::string file = (sandbox->directory() / "missing.toml").string();
    sandbox->set("YAT_MACHINE", file);
    expectRefused({file + ": can't be read: No such file or directory"});
}

// What was wrong keeps nothing that would be in the way later.
TEST_P(Mistakes, AreForgottenWhenTheyAreCorrected)
{
    prepare("CEDAR", "threshold = 24 ", "threshold = \"often\" ");
    const std::string text = readFile(descriptionFile());
    testing::internal::CaptureStderr();
    ASSERT_EQ(ft_FunctionInit(), 1);
    EXPECT_EQ(cpuState(1), "(fails)");
    std::ofstream(descriptionFile()) << shipped("CEDAR");
    EXPECT_EQ(cpuState(1), "Running, duplex"); // also while it is open
    EXPECT_EQ(ft_FunctionRelease(), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string(program_invocation_short_name) + ": " + at(lineOf(text, "threshold"))
                  + "wrong value for 'threshold', expected a number from 0 to 876000\n");
    open();
    EXPECT_EQ(stop("CPU module 2"), 1);
}

// ---- State files

TEST_P(Refused, IsADamagedStateWhichIsLeftAlone)
{
    prepare();
    steer("init");
    std::ofstream(sandbox->stateFile()) << "my letter to grandmother";
    expectRefused({sandbox->stateFile().string()
                   + " is damaged or belongs to another program and was left alone; move it away "
                     "to start afresh"});
    EXPECT_EQ(readFile(sandbox->stateFile()), "my letter to grandmother");
}

PLAY_ALONE(Mistakes);
PLAY_ALONE(Refused);
