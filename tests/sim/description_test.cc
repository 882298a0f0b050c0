// SPDX-License-Identifier: GPL-2.0-or-later
// Descriptions of machines: what is right, and what is told about what is not.
#include "common/file.h"
#include "sim/description.h"
#include "support.h"
#include "support/problem.h"
#include "yatsim/writing.h"

#include <gtest/gtest.h>
#include <sstream>

namespace {

using namespace sim;

std::vector<std::string> mistakesOf(const std::string &toml)
{
    std::istringstream lines(problemOf([&] { parseDescription(toml, "F"); }));
    std::vector<std::string> result;
    for (std::string line; std::getline(lines, line);)
        result.push_back(line);
    return result;
}

// A small machine, one mistake in it.
struct Case {
    const char *name, *part, *replacement, *mistake;
};

const char small[] = "name = \"M\"\n"                                  // 1
                     "type = \"CEDAR\"\n"                              // 2
                     "[timing]\n"                                      // 3
                     "start = 1.5\n"                                   // 4
                     "[mtbf]\n"                                        // 5
                     "threshold = 2\n"                                 // 6
                     "[supports]\n"                                    // 7
                     "cpu_module = [\"clear MTBF\"]\n"                 // 8
                     "[[cpu_module]]\n"                                // 9
                     "number = 1\n"                                    // 10
                     "name = \"AZ1\"\n"                                // 11
                     "path = [0]\n"                                    // 12
                     "state = \"duplex\"\n"                            // 13
                     "mtbf_type = \"stay down\"\n"                     // 14
                     "bios_version = \"1\"\n"                          // 15
                     "bios_status = \"ok\"\n"                          // 16
                     "failures = [3, 0.5]\n"                           // 17
                     "[[cpu_module]]\n"                                // 18
                     "number = 2\n"                                    // 19
                     "name = \"C2\"\n"                                 // 20
                     "path = [1]\n"                                    // 21
                     "state = \"duplex\"  # second\n"                  // 22
                     "mtbf_type = \"always restart\"\n"                // 23
                     "bios_version = \"1\"\n"                          // 24
                     "bios_status = \"ok\"\n"                          // 25
                     "[[pci_module]]\n"                                // 26
                     "number = 1\n"                                    // 27
                     "name = \"P1\"\n"                                 // 28
                     "path = [2, 0]\n"                                 // 29
                     "state = \"simplex\"\n"                           // 30
                     "mtbf_type = \"restart at or above threshold\"\n" // 31
                     "board = 3\n"                                     // 32
                     "[[pci_module.adapter]]\n"                        // 33
                     "class = \"SCSI\"\n"                              // 34
                     "number = 1\n"                                    // 35
                     "name = \"S1\"\n"                                 // 36
                     "path = [2, 1]\n";                                // 37

const Case cases[] = {
    {"NotToml", "type = ", "type : ", "F:2: *"},
    {"MissingName", "name = \"M\"\n", "",
     "F:1: missing key 'name', expected a text of 1 to 127 bytes without control characters"},
    {"UnknownKey", "type =", "typ = 1\ntype =",
     "F:2: unknown key 'typ' in the description, expected name, type, bmc, firmware, settings, "
     "mtbf, timing, supports, cpu_module, pci_module"},
    {"UnknownKeyInLines", "type =", "\"t\\np\" = 1\ntype =",
     "F:2: unknown key 't?p' in the description, expected name, type, bmc, firmware, settings, "
     "mtbf, timing, supports, cpu_module, pci_module"},
    {"UnknownKeyOfACpuModule", "path = [1]", "path = [1]\nspeed = 1",
     "F:22: unknown key 'speed' in a CPU module, *"},
    {"UnknownKeyOfAPciModule", "board = 3", "board = 3\nspeed = 1",
     "F:33: unknown key 'speed' in a PCI module, *"},
    {"UnknownType", "\"CEDAR\"", "\"OAK\"",
     "F:2: wrong value for 'type', expected one of \"ALDER\", \"BIRCH\", \"CEDAR\", \"PLAIN\""},
    {"NegativeTime", "1.5", "-1.5",
     "F:4: wrong value for 'start', expected a number from 0 to 86400"},
    {"TimeThatIsNoNumber", "1.5", "nan",
     "F:4: wrong value for 'start', expected a number from 0 to 86400"},
    {"TimeAsText", "1.5", "\"1.5\"",
     "F:4: wrong value for 'start', expected a number from 0 to 86400"},
    {"UnknownTiming", "start", "begin",
     "F:4: unknown key 'begin' in [timing], expected start, synchronise, stop, firmware_update"},
    {"WrongThreshold", "threshold = 2", "threshold = inf",
     "F:6: wrong value for 'threshold', expected a number from 0 to 876000"},
    {"UnknownOperation", "clear MTBF", "clear",
     "F:8: wrong value for 'cpu_module', expected a list of any of \"clear MTBF\", \"bring up\", "
     "\"bring down\", \"burn firmware\", \"set MTBF type\""},
    {"OperationThatIsNoText", "[\"clear MTBF\"]", "[7]",
     "F:8: wrong value for 'cpu_module', expected a list of any of \"clear MTBF\", \"bring up\", "
     "\"bring down\", \"burn firmware\", \"set MTBF type\""},
    {"OperationOfAnotherClass", "cpu_module = [\"clear MTBF\"]", "scsi_adapter = [\"bring up\"]",
     "F:8: wrong value for 'scsi_adapter', expected a list of any of \"clear MTBF\""},
    {"SectionThatIsNoTable", "[mtbf]\nthreshold = 2\n", "[[mtbf]]\nthreshold = 2\n",
     "F:5: wrong value for 'mtbf', expected a table"},
    {"NumberOutOfRange", "number = 1\nname = \"AZ1\"", "number = 0\nname = \"AZ1\"",
     "F:10: wrong value for 'number', expected a number from 1 to 9999"},
    {"NumberTwice", "number = 2", "number = 1",
     "F:19: number '1' is already in use; each must be unique"},
    {"NumberOfAnAdapterTwice", "path = [2, 1]\n",
     "path = [2, 1]\n[[pci_module.adapter]]\nclass = \"SCSI\"\nnumber = 1\nname = \"S2\"\n"
     "path = [2, 2]\n",
     "F:40: number '1' is already in use; each must be unique"},
    {"PathByteOutOfRange", "path = [0]", "path = [256]",
     "F:12: wrong value for 'path', expected a list of 1 to 8 numbers from 0 to 255"},
    {"StateThatDoesNotLast", "\"simplex\"", "\"starting\"",
     "F:30: wrong value for 'state', expected one of \"empty\", \"stopped\", \"simplex\", "
     "\"duplex\", "
     "\"broken\""},
    {"DuplexAlone", "\"simplex\"", "\"duplex\"",
     "F:30: wrong value for 'state', expected \"duplex\" only if the partner is \"duplex\" too"},
    {"UnknownMtbfType", "\"stay down\"", "\"0\"",
     "F:14: wrong value for 'mtbf_type', expected one of \"stay down\", \"always restart\", "
     "\"restart at or "
     "above threshold\""},
    {"MissingMtbfType", "mtbf_type = \"always restart\"\n", "",
     "F:18: missing key 'mtbf_type', expected one of \"stay down\", \"always restart\", \"restart "
     "at "
     "or above threshold\""},
    {"FailureInTheFuture", "[3, 0.5]", "[3, -1]",
     "F:17: wrong value for 'failures', expected a list of up to 64 numbers from 0 to 876000"},
    {"FewerFailuresThanThereWere", "failures = [3, 0.5]", "failure_count = 1\nfailures = [3, 0.5]",
     "F:17: wrong value for 'failure_count', expected a number from 2 to 1000000000"},
    {"UnknownBiosSource", "bios_version = \"1\"", "bios_version = \"1\"\nbios_from = \"me\"",
     "F:16: wrong value for 'bios_from', expected one of \"running module\", \"data file\""},
    {"SourceOfAnInvalidBios", "bios_version = \"1\"",
     "bios_version = \"1\"\nbios_from = \"data file\"\nbios_valid = false",
     "F:16: 'bios_from' must be left out when 'bios_valid' is false"},
    {"NameTwice", "\"C2\"", "\"az1\"", "F:20: name 'az1' is already in use; each must be unique"},
    {"NameOfAnotherClassTwice", "\"S1\"", "\"P1\"",
     "F:36: name 'P1' is already in use; each must be unique"},
    {"NameWithAControlCharacter", "\"C2\"", "\"C\\n2\"",
     "F:20: wrong value for 'name', expected a text of 1 to 127 bytes without control characters"},
    {"NameWithADelete", "\"C2\"", "\"C\\u007F\"",
     "F:20: wrong value for 'name', expected a text of 1 to 127 bytes without control characters"},
    {"BoardTwice", "board = 3", "board = 1",
     "F:32: board '1' is already in use; each must be unique"},
    {"UnknownClass", "\"SCSI\"", "\"SATA\"",
     "F:34: wrong value for 'class', expected one of \"SCSI\", \"Ethernet\""},
    {"PartnerOfItself", "board = 3", "board = 3\npartner = 1",
     "F:33: wrong value for 'partner', expected the number of another module of the same class "
     "that names this one as its partner, or 0"},
    {"PartnerOfNobody", "board = 3", "board = 3\npartner = 2",
     "F:33: wrong value for 'partner', expected the number of another module of the same class "
     "that names this one as its partner, or 0"},
    {"AdapterBelowTwo", "path = [2, 1]\n",
     "path = [2, 1]\n[[pci_module.adapter.adapter]]\nclass = \"SCSI\"\nnumber = 2\nname = \"S2\"\n"
     "path = [3]\n[[pci_module.adapter.adapter.adapter]]\n",
     "F:43: adapter nested too deeply, expected at most two levels of adapters below a module"},
};

class EveryMistake : public testing::TestWithParam<Case> {};

TEST_P(EveryMistake, NamesFileLineKeyAndWhatIsAllowed)
{
    std::string text = small;
    const std::string part = GetParam().part, expected = GetParam().mistake;
    const size_t where = text.find(part);
    ASSERT_NE(where, std::string::npos);
    const std::vector<std::string> mistakes =
        mistakesOf(text.replace(where, part.size(), GetParam().replacement));
    if (expected.ends_with("*")) {
        ASSERT_EQ(mistakes.size(), 1u);
        EXPECT_TRUE(mistakes[0].starts_with(expected.substr(0, expected.size() - 1)))
            << mistakes[0];
    } else {
        EXPECT_EQ(mistakes, std::vector<std::string>{expected});
    }
}

INSTANTIATE_TEST_SUITE_P(Description, EveryMistake, testing::ValuesIn(cases),
                         [](const auto &info) { return info.param.name; });

} // namespace

TEST(Description, WithoutAMistakeHasNone)
{
    EXPECT_EQ(mistakesOf(small), std::vector<std::string>());
}

TEST(Description, TellsAllItsMistakesAtOnce)
{
    EXPECT_EQ(mistakesOf("type = 3\nname = \"\"\n").size(), 2u);
    EXPECT_EQ(mistakesOf("name = \"M\"\ntype = \"ALDER\"\ncpu_module = [{}, 1]\npci_module = 1\n"),
              (std::vector<std::string>{
                  "F:3: wrong value for 'cpu_module', expected tables that begin with "
                  "[[cpu_module]]",
                  "F:4: wrong value for 'pci_module', expected tables that begin with "
                  "[[pci_module]]"}));
}

// Also those that are found by looking at two modules at once; in the order of their lines.
TEST(Description, TellsAWrongPairBesideOtherMistakes)
{
    std::string text = small;
    text.replace(text.find("\"duplex\"  # second"), 8, "\"stopped\"");
    text.replace(text.find("\"C2\""), 4, "\"\"");
    text.replace(text.find("start = 1.5"), 11, "start = -1");
    EXPECT_EQ(mistakesOf(text),
              (std::vector<std::string>{
                  "F:4: wrong value for 'start', expected a number from 0 to 86400",
                  "F:13: wrong value for 'state', expected \"duplex\" only if the partner is "
                  "\"duplex\" too",
                  "F:20: wrong value for 'name', expected a text of 1 to 127 bytes without "
                  "control characters"}));
}

TEST(Description, OfAPairHasBothRunningInDuplexOrOneAlone)
{
    std::string text = small;
    for (size_t at; (at = text.find("\"duplex\"")) != std::string::npos;)
        text.replace(at, 8, "\"simplex\"");
    const std::string mistake = " wrong value for 'state', expected \"duplex\" for both modules "
                                "of a pair that runs";
    EXPECT_EQ(mistakesOf(text), (std::vector<std::string>{"F:13:" + mistake, "F:22:" + mistake}));
    text.replace(text.find("\"simplex\"  # second"), 9, "\"broken\"");
    EXPECT_EQ(mistakesOf(text), std::vector<std::string>());
}

TEST(Description, PairsNeighboursUnlessItSaysOtherwise)
{
    EXPECT_EQ(parseDescription(small, "F").devices[0].partner, 2);
    EXPECT_EQ(parseDescription(small, "F").devices[2].partner, 0);
    std::string text = small;
    text.insert(text.find("name = \"C2\""), "partner = 0\n");
    EXPECT_EQ(mistakesOf(text).size(), 2u); // so that each of the two runs in duplex alone
    text.insert(text.find("name = \"AZ1\""), "partner = 2\n");
    EXPECT_EQ(mistakesOf(text).at(0).substr(0, 31), "F:11: wrong value for 'partner'");
    text.replace(text.find("partner = 2"), 11, "partner = 0");
    for (size_t at; (at = text.find("\"duplex\"")) != std::string::npos;)
        text.replace(at, 8, "\"simplex\"");
    EXPECT_EQ(mistakesOf(text), std::vector<std::string>()); // each alone, and both run
    EXPECT_EQ(parseDescription(text, "F").devices[0].partner, 0);
}

TEST(Description, SetsMtbfTypesOnlyWhereTheMachineHasThem)
{
    EXPECT_EQ(
        mistakesOf(shipped("BIRCH", "\"burn firmware\"", "\"set MTBF type\"")),
        std::vector<std::string>{
            "F:30: wrong value for 'cpu_module', expected \"set MTBF type\" only on a machine "
            "of type \"CEDAR\""});
}

TEST(Description, OfAnUnknownTypeIsBlamedForTheTypeOnly)
{
    EXPECT_EQ(mistakesOf(shipped("CEDAR", "type = \"CEDAR\"", "type = \"OAK\"")),
              std::vector<std::string>{"F:6: wrong value for 'type', expected one of \"ALDER\", "
                                       "\"BIRCH\", \"CEDAR\", \"PLAIN\""});
}

TEST(Description, HasUnitsOfItsOwn)
{
    const Machine machine = parseDescription(small, "F");
    EXPECT_EQ(machine.timing.start, 1'500'000);
    EXPECT_EQ(machine.timing.stop, Timing().stop); // what is not said stays as usual
    EXPECT_EQ(machine.mtbfThreshold, 2 * hour);
    EXPECT_EQ(machine.devices[0].failures, (std::vector<Time>{-3 * hour, -hour / 2}));
}

TEST(Description, ThatCantBeReadSaysWhy)
{
    EXPECT_EQ(problemOf([] { yat::readFile("/nowhere/M.toml"); }),
              "/nowhere/M.toml can't be read: No such file or directory");
    EXPECT_EQ(problemOf([] { yat::readFile("/"); }), "/ can't be read: Is a directory");
    const TemporaryDirectory directory;
    const std::string large = directory.path / "large", fifo = directory.path / "fifo";
    writeFile(large, "");
    for (const int megabytes : {17, 50, 100'000}) { // of which no more than 16 are read
        std::filesystem::resize_file(large, static_cast<uintmax_t>(megabytes) << 20);
        EXPECT_EQ(problemOf([&] { yat::readFile(large); }),
                  large + " can't be read: File too large");
    }
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(problemOf([&] { yat::readFile(fifo); }),
              fifo + " can't be read: Operation not supported");
}

TEST(Description, WrittenReadsBackAsItself)
{
    const std::string status = "bios_status = \"ok\"";
    std::vector<std::string> texts = {small};
    for (const std::string strange :
         {R"(\n)", R"(\n\tx)", R"(x\n)", R"(\r\n)", "\x27\x27\x27", R"(\"\"\"\n)", R"(\u0001\\)"}) {
        texts.push_back(small);
        texts.back().replace(texts.back().find(status), status.size(),
                             "bios_status = \"" + strange + "\"");
    }
    for (const char *machine : {"ALDER", "BIRCH", "CEDAR", "PLAIN"})
        texts.push_back(shipped(machine));
    for (const std::string &text : texts) {
        const Machine machine = parseDescription(text, "F");
        EXPECT_EQ(parseDescription(toToml(machine), "F"), machine) << toToml(machine);
    }
}
