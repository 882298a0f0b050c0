// SPDX-License-Identifier: GPL-2.0-or-later
// What the platform keeps in files of its own, where these are not as it left them.
#include "kernel.h"
#include "looked.h"

#include <nlohmann/json.hpp>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

constexpr int clearCpu = 1, stopCpu = 7;

class Kept : public Looked {
protected:
    Kept()
    {
        configure("operations = true\n");
        server.addProcessor(0, 0, false);
        server.addProcessor(1, 1);
        server.write("/proc/sys/kernel/random/boot_id", "this\n");
        server.write("/proc/interrupts", "       CPU0 CPU1\nMCE:  7 1 Machine check exceptions\n");
    }

    int clear()
    {
        return CALL(ClearMTBF)(record(YAT_CLASS_CPU_MODULE, 1), clearCpu + 1);
    }

    // The result and the reason of what the journal has last.
    std::string lastEntry() const
    {
        const auto entry = nlohmann::json::parse(linesOf(readFile(journal)).back());
        return entry.at("result").get<std::string>() + ": " + entry.at("reason").get<std::string>();
    }

    // Expects that the file is not used, that it is said why, and that it is left alone.
    void expectLeftAlone(const std::string &why)
    {
        const std::string text =
            memory.string()
            + " can't be used and was left alone; move it away to start afresh: " + why;
        EXPECT_EQ(cpu(1), "1 of 1 running,\nCE 0, UE 7");
        EXPECT_NE(trace().find(text), std::string::npos) << trace();
        EXPECT_EQ(clear(), 0);
        EXPECT_EQ(lastEntry(), "failed: " + text);
        EXPECT_EQ(cpu(1), "1 of 1 running,\nCE 0, UE 7");
    }

    const fs::path memory = state.path / "host.json", journal = state.path / "host.journal";
};

struct Damage {
    const char *name;
    std::string text, why;
};

void PrintTo(const Damage &damage, std::ostream *stream)
{
    *stream << damage.name;
}

std::string withPackages(const std::string &packages)
{
    return R"({"boot": "this", "baselines": {}, "packages": )" + packages + "}";
}

std::string withCounts(const std::string &counts)
{
    return R"({"boot": "this", "packages": {}, "baselines": {"package 0": )" + counts + "}}";
}

std::string withUncorrected(const std::string &number)
{
    return withCounts(R"({"corrected": 0, "uncorrected": )" + number + "}");
}

const std::string notFitting = "missing or of the wrong type: ", tooLarge = "the number of ";

const Damage damages[] = {
    {"Nothing", "", notFitting + R"("boot")"},
    {"NoJson", "{\"boot\": \"this\"", notFitting + R"("boot")"},
    {"Depth", std::string(100000, '['), notFitting + R"("boot")"},
    {"AList", "[]", notFitting + R"("boot")"},
    {"NumberForABoot", R"({"boot": 7})", notFitting + R"("boot")"},
    {"NoPackages", R"({"boot": "this", "baselines": {}})", notFitting + R"("packages")"},
    {"ListOfPackages", withPackages("[0, 1]"), notFitting + R"("packages")"},
    {"NoBaselines", R"({"boot": "this", "packages": {}})", notFitting + R"("baselines")"},
    {"WordForAProcessor", withPackages(R"({"one": 0})"),
     R"("one" is not the number of a processor)"},
    {"EmptyProcessor", withPackages(R"({"": 0})"), R"("" is not the number of a processor)"},
    {"ProcessorWithMore", withPackages(R"({"1x": 0})"), R"("1x" is not the number of a processor)"},
    {"NegativeProcessor", withPackages(R"({"-1": 0})"), R"("-1" is not the number of a processor)"},
    {"LargeProcessor", withPackages(R"({"2147483648": 0})"),
     tooLarge + R"("2147483648" is too large)"},
    {"HugeProcessor", withPackages(R"({"99999999999999999999": 0})"),
     R"("99999999999999999999" is not the number of a processor)"},
    {"NegativePackage", withPackages(R"({"1": -1})"), notFitting + R"("1")"},
    {"LargePackage", withPackages(R"({"1": 2147483648})"), tooLarge + R"("1" is too large)"},
    {"ExponentForAPackage", withPackages(R"({"1": 1e300})"), notFitting + R"("1")"},
    {"NumberForCounts", withCounts("7"), notFitting + R"("corrected")"},
    {"OneCountOnly", withCounts(R"({"corrected": 0})"), notFitting + R"("uncorrected")"},
    {"NegativeCount", withUncorrected("-1"), notFitting + R"("uncorrected")"},
    {"ExponentForACount", withUncorrected("1e300"), notFitting + R"("uncorrected")"},
    {"FractionForACount", withUncorrected("0.5"), notFitting + R"("uncorrected")"},
    {"WordForACount", withUncorrected(R"("7")"), notFitting + R"("uncorrected")"},
    {"CountBeyondAll", withUncorrected("9223372036854775808"),
     tooLarge + R"("uncorrected" is too large)"},
    {"CountBeyondTheWord", withUncorrected("18446744073709551616"),
     notFitting + R"("uncorrected")"},
    {"Length", withUncorrected("7") + std::string(1 << 20, ' '), "it is too large"},
};

class EveryDamage : public Kept, public testing::WithParamInterface<Damage> {};

} // namespace

TEST_P(EveryDamage, IsSaidAndLeftAlone)
{
    writeFile(memory, GetParam().text);
    expectLeftAlone(GetParam().why);
    EXPECT_EQ(readFile(memory), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Host, EveryDamage, testing::ValuesIn(damages),
                         [](const auto &info) { return std::string(info.param.name); });

TEST_F(Kept, CountsAreUsedUpToTheLargest)
{
    writeFile(memory, withUncorrected("7"));
    EXPECT_EQ(cpu(1), "1 of 1 running,\nCE 0, UE 0");
    writeFile(memory, withUncorrected("9223372036854775807"));
    EXPECT_EQ(cpu(1), "1 of 1 running,\nCE 0, UE 7"); // the counter began anew
    EXPECT_EQ(clear(), 1) << trace();
    EXPECT_EQ(cpu(1), "1 of 1 running,\nCE 0, UE 0");
}

// What is shown for a moment may be from before it, and is not taken for a counter that fell.
TEST_F(Kept, ClearByAnotherProgramAfterALookIsNotLost)
{
    yat_facts facts{};
    facts.size = sizeof facts;
    EXPECT_EQ(CALL(GetDeviceFacts)(record(YAT_CLASS_CPU_MODULE, 1), &facts), 1);
    server.write("/proc/interrupts", "       CPU0 CPU1\nMCE:  9 1 Machine check exceptions\n");
    writeFile(memory, withUncorrected("9"));
    cpu(1);
    EXPECT_EQ(cpu(1), "1 of 1 running,\nCE 0, UE 0");
}

TEST_F(Kept, MemoryOfAnotherStartIsReplaced)
{
    writeFile(memory, R"({"boot": "another", "packages": 7})");
    EXPECT_EQ(clear(), 1) << trace();
    EXPECT_EQ(cpu(1), "1 of 1 running,\nCE 0, UE 0");
}

TEST_F(Kept, MemoryIsNoLinkAndNothingElseThanAFile)
{
    writeFile(state.path / "other", withUncorrected("7"));
    fs::create_symlink("other", memory);
    expectLeftAlone(memory.string() + " can't be written: it is a symbolic link");
    fs::remove(memory);
    fs::create_symlink("nowhere", memory);
    expectLeftAlone(memory.string() + " can't be written: it is a symbolic link");
    fs::remove(memory);
    fs::create_hard_link(state.path / "other", memory);
    expectLeftAlone(memory.string() + " can't be written: it has a second name (a hard link)");
    fs::remove(memory);
    ASSERT_EQ(mkfifo(memory.c_str(), 0600), 0);
    expectLeftAlone(memory.string() + " can't be written: it is not a regular file");
}

TEST_F(Kept, MemoryThatCantBeLookedAtIsLeftAlone)
{
    writeFile(memory, withUncorrected("7"));
    kernel.refusals[memory] = EIO;
    expectLeftAlone("Input/output error");
    kernel = {};
    EXPECT_EQ(cpu(1), "1 of 1 running,\nCE 0, UE 0");
}

TEST_F(Kept, DamageIsTracedOnce)
{
    writeFile(memory, "");
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(cpu(2), "1 of 1 running,\nCE 0, UE 1");
    const std::string text = trace();
    EXPECT_EQ(text.find("was left alone"), text.rfind("was left alone")) << text;
}

TEST_F(Kept, CountersBeyondAllAreTheLargest)
{
    const std::string card = server.addFunction("0000:02:00.0", ethernet);
    server.write(card + "/aer_dev_correctable", "TOTAL_ERR_COR 18446744073709551615\n");
    server.write(card + "/aer_dev_fatal", "TOTAL_ERR_FATAL 9223372036854775808\n");
    server.write(card + "/aer_dev_nonfatal", "TOTAL_ERR_NONFATAL 9223372036854775808\n");
    const std::string path = server.addInterface(card, "ens3");
    for (const char *way : {"rx", "tx"})
        server.write(path + "/statistics/" + way + "_errors", "18446744073709551615\n");
    const auto failures = [&] { return facts(YAT_CLASS_ETHERNET_ADAPTER, 1).failures; };
    EXPECT_EQ(failures(), INT64_MAX);
    EXPECT_EQ(pci(1), "Running,\nCE 9223372036854775807, UE 9223372036854775807");
    EXPECT_EQ(CALL(ClearMTBF)(record(YAT_CLASS_ETHERNET_ADAPTER, 1), 32), 1) << trace();
    EXPECT_EQ(failures(), 0) << trace();
}

// ---- The journal

TEST_F(Kept, WhatCannotBeWrittenDownIsNotDone)
{
    fs::create_directory(journal);
    EXPECT_EQ(CALL(InitBringDown)(record(YAT_CLASS_CPU_MODULE, 2), stopCpu + 1), 0);
    EXPECT_EQ(server.read("/sys/devices/system/cpu/cpu1/online"), "1\n");
    EXPECT_NE(trace().find(journal.string() + " can't be written: it is not a regular file"),
              std::string::npos)
        << trace();
    EXPECT_EQ(clear(), 0);
    EXPECT_EQ(cpu(1), "1 of 1 running,\nCE 0, UE 7");
    fs::remove(journal);
    EXPECT_EQ(CALL(InitBringDown)(record(YAT_CLASS_CPU_MODULE, 2), stopCpu + 1), 1) << trace();
    EXPECT_EQ(lastEntry(), "done: ");
}
