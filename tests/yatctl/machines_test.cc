// SPDX-License-Identifier: GPL-2.0-or-later
// Every command on every type of machine: how it ends, and whether its JSON follows the schema.
#include "ctl.h"

namespace {

struct Row {
    std::string arguments;
    int alder, birch, cedar, plain; // the exit status
    std::string subject;            // what the JSON is about when it is done; empty for no JSON
    std::string injection = "";     // how the machine answers to a call of it
};

// In this order, on one machine. Those of CPU modules need one that stands by, which a PLAIN
// machine has not, and on an ALDER it is broken until it is cleared and started. FILE is one of the
// test's own.
const std::vector<Row> rows = {
    {"list", 0, 0, 0, 0, "devices"},
    {"show cpu1", 0, 0, 0, 0, "devices"},
    {"show pci1", 0, 0, 0, 0, "devices"},
    {"show scsi1", 0, 0, 0, 4, "devices"},
    {"show ethernet1", 0, 0, 0, 0, "devices"},
    {"show cpu9", 4, 4, 4, 4, "devices"},
    {"settings", 0, 0, 0, 0, "settings"},
    {"settings automatic_firmware_update=on --check", 0, 0, 0, 0, "settings"},
    {"settings automatic_firmware_update=off --yes", 0, 0, 0, 0, "settings"},
    {"settings automatic_firmware_update=maybe --yes", 2, 2, 2, 2, "settings"},
    {"bmc", 0, 0, 0, 0, "bmc"},
    {"bmc", 5, 5, 5, 5, "bmc", "YATGetDeviceID 0"},
    {"settings automatic_module_start=on --yes", 1, 1, 1, 1, "settings", "PutBBDriverSettings 0"},
    {"metrics", 0, 0, 0, 0, ""},
    {"metrics --output FILE", 0, 0, 0, 0, ""},
    {"metrics --output FILE/below", 1, 1, 1, 1, ""},
    {"metrics --output \"\"", 2, 2, 2, 2, ""},
    {"watch --interval 0.1", 5, 5, 5, 5, "change", "CreateTreeViewData 0"},
    {"watch --interval 0", 2, 2, 2, 2, "change"},
    {"clear cpu1 --check", 0, 0, 0, 3, "operation"},
    {"clear cpu1 --yes", 0, 0, 0, 3, "operation"},
    {"clear pci1 --yes", 0, 0, 0, 3, "operation"},
    {"clear scsi1 --yes", 0, 0, 0, 4, "operation"},
    {"clear scsi1 --yes", 1, 1, 1, 4, "operation", "ClearMTBF 0"},
    {"clear ethernet1 --yes", 0, 0, 0, 3, "operation"},
    {"clear cpu1", 2, 2, 2, 2, "operation"}, // there is no terminal to ask at
    {"set-type cpu1 1 --check", 3, 3, 0, 3, "operation"},
    {"set-type cpu1 1 --yes", 3, 3, 0, 3, "operation"},
    {"set-type pci1 1 --yes", 3, 3, 0, 3, "operation"},
    {"set-type ethernet1 1 --yes", 3, 3, 3, 3, "operation"},
    {"set-type cpu1 1 --yes", 3, 3, 1, 3, "operation", "SetMtbfType 0"},
    {"clear cpu2 --yes", 0, 0, 0, 4, "operation"},
    {"start cpu2 --yes --wait", 0, 3, 3, 4, "operation"},
    {"stop cpu2 --yes", 1, 1, 1, 4, "operation", "InitBringDown 0"},
    {"stop cpu2 --check", 0, 0, 0, 4, "operation"},
    {"stop cpu2 --yes --wait", 0, 0, 0, 4, "operation"},
    {"stop cpu1 --yes", 3, 3, 3, 3, "operation"}, // the last one
    {"update cpu1 file --yes", 3, 3, 3, 3, "operation"},
    {"update cpu2 copy --check", 3, 0, 0, 4, "operation"},
    {"update cpu2 copy --yes --wait", 3, 0, 0, 4, "operation"},
    {"update cpu2 file --yes --wait", 3, 0, 0, 4, "operation"},
    {"update cpu2 copy --yes", 3, 1, 1, 4, "operation", "BurnFirmware 0"},
    {"start cpu2 --yes", 1, 1, 1, 4, "operation", "InitBringUp 0"},
    {"start cpu2 --check", 0, 0, 0, 4, "operation"},
    {"start cpu2 --yes --wait", 0, 0, 0, 4, "operation"},
    {"stop pci1 --yes --wait", 0, 0, 0, 3, "operation"},
    {"start pci1 --yes --wait", 0, 0, 0, 3, "operation"},
    {"stop ethernet1 --yes", 3, 3, 3, 3, "operation"},
    {"start", 2, 2, 2, 2, "operation"},
};

int statusOf(const Row &row, const std::string &machine)
{
    return machine == "ALDER"   ? row.alder
           : machine == "BIRCH" ? row.birch
           : machine == "CEDAR" ? row.cedar
                                : row.plain;
}

class EachCommand : public testing::TestWithParam<const char *> {
protected:
    Finished carryOut(const Row &row, const std::string &option = "")
    {
        if (!row.injection.empty())
            steer("inject " + row.injection);
        std::string arguments = row.arguments + option;
        if (const size_t at = arguments.find("FILE"); at != std::string::npos)
            arguments.replace(at, 4, (sandbox.directory() / "FILE").string());
        const Finished result = yatctl(arguments);
        if (!row.injection.empty()) // what was not called is left as it is
            steer("inject " + row.injection.substr(0, row.injection.find(' ')) + " off");
        return result;
    }

    Sandbox sandbox{GetParam(), "1000"};
};

} // namespace

TEST_P(EachCommand, EndsAsTheMachineHasIt)
{
    for (const Row &row : rows) {
        const Finished result = carryOut(row);
        EXPECT_EQ(result.status, statusOf(row, GetParam())) << row.arguments << result.errors;
        EXPECT_EQ(result.errors.empty(), result.status == 0) << row.arguments << result.errors;
        if (result.status != 0) {
            EXPECT_EQ(result.output, "") << row.arguments;
        }
    }
}

TEST_P(EachCommand, TellsProgramsTheSame)
{
    std::vector<std::string> texts;
    for (const Row &row : rows) {
        if (row.subject.empty())
            continue;
        const Finished result = carryOut(row, " --json");
        ASSERT_EQ(result.status, statusOf(row, GetParam())) << row.arguments << result.errors;
        const Json json = Json::parse(result.output);
        EXPECT_EQ(json.contains(row.subject), result.status == 0) << row.arguments;
        ASSERT_EQ(json.contains("error"), result.status != 0) << row.arguments;
        if (result.status != 0) {
            EXPECT_EQ(json["error"]["status"], result.status) << row.arguments;
        }
        texts.push_back(result.output);
    }
    const Finished valid = checkedBySchema(texts);
    EXPECT_EQ(valid.status, 0) << valid.errors << valid.output;
}

TEST_P(EachCommand, SaysWhenThePlatformCantBeReached)
{
    steer("list"); // which makes the machine
    std::vector<std::string> texts;
    for (const char *arguments :
         {"list", "show cpu1", "start cpu1 --yes", "stop cpu1 --yes", "clear cpu1 --yes",
          "set-type cpu1 1 --yes", "update cpu1 copy --yes", "settings", "watch", "metrics"}) {
        const bool hasJson = arguments != std::string("metrics");
        steer("inject call_yat_is_ft -1");
        const Finished result = yatctl(arguments + std::string(hasJson ? " --json" : ""));
        EXPECT_EQ(result.status, 5) << arguments;
        EXPECT_EQ(result.errors, "yatctl: the platform does not report the type of the machine\n");
        if (hasJson)
            texts.push_back(result.output);
    }
    const Finished valid = checkedBySchema(texts);
    EXPECT_EQ(valid.status, 0) << valid.errors << valid.output;
}

INSTANTIATE_TEST_SUITE_P(Machines, EachCommand, testing::Values("ALDER", "BIRCH", "CEDAR", "PLAIN"),
                         [](const auto &info) { return std::string(info.param); });
