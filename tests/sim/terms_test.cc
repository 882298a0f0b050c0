// SPDX-License-Identifier: GPL-2.0-or-later
// The tables of words, and the words for the devices of a machine.
#include "sim/description.h"
#include "sim/words.h"
#include "support.h"
#include "support/files.h"
#include "yatsim/steering.h"

#include <clocale>
#include <cwchar>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <sstream>

namespace {

using namespace sim;

Machine machineOf(const std::string &shippedName)
{
    return movedTo(parseDescription(shipped(shippedName), shippedName), 0);
}

// A row of the codes of the operations that include/yat/ft.h tells: the class, and a support code
// with its operation code for each operation that it has.
std::set<std::string> codesToldIn(const std::string &columns, const std::string &row)
{
    std::set<std::string> result;
    const std::regex codes("([0-9]+), ([0-9]+)");
    const std::string device = row.substr(row.find_first_not_of("* "), 3);
    for (std::sregex_iterator pair(row.begin(), row.end(), codes), end; pair != end; ++pair) {
        const size_t at = static_cast<size_t>(pair->position());
        const size_t begin = columns.rfind(' ', at) + 1;
        const std::string verb = columns.substr(begin, columns.find(' ', begin) - begin);
        result.insert(device + " " + verb + " " + (*pair)[0].str());
    }
    return result;
}

} // namespace

TEST(SupportCodes, AreThoseThatTheHeaderTells)
{
    std::set<std::string> told, known;
    std::string columns;
    std::istringstream header(readFile(std::filesystem::path(SOURCES) / "include/yat/ft.h"));
    for (std::string line; std::getline(header, line);)
        if (line.find("device    ClearMTBF") != std::string::npos)
            columns = line;
        else if (!columns.empty() && line.size() > 4)
            told.merge(codesToldIn(columns, line));
        else if (!columns.empty())
            break;
    const std::map<int, std::string> devices = {{YAT_CLASS_CPU_MODULE, "CPU"},
                                                {YAT_CLASS_PCI_MODULE, "PCI"},
                                                {YAT_CLASS_SCSI_ADAPTER, "SCS"},
                                                {YAT_CLASS_ETHERNET_ADAPTER, "Eth"}};
    for (const auto &[verb, classCode, code] : supportCodes)
        known.insert(devices.at(classCode) + " " + std::string(nameOf(verb)) + " "
                     + std::to_string(code) + ", " + std::to_string(code + 1));
    EXPECT_EQ(told, known);
}

// A word is kept in the state and read again.
TEST(Words, ForAValueLeadBackToIt)
{
    const auto expectThemTo = [](const auto &table) {
        for (const auto &row : table) {
            EXPECT_EQ(wordOf(table, row.value), row.word);
            EXPECT_EQ(valueOf(table, row.word), row.value);
        }
        EXPECT_FALSE(valueOf(table, "no such word"));
    };
    expectThemTo(machineTypes);
    expectThemTo(mtbfTypes);
    expectThemTo(states);
    expectThemTo(biosSources);
    expectThemTo(verbs);
    expectThemTo(refusals);
    expectThemTo(adapterClasses);
}

TEST(Words, ForAStateFitIntoTheWindow)
{
    setlocale(LC_ALL, "C.UTF-8");
    Machine machine = machineOf("CEDAR");
    Device &module = machine.devices[0];
    for (const StateTerm &state : states)
        for (const bool japanese : {false, true})
            for (int percent = 0; percent < 100; ++percent) {
                module.state = state.value;
                module.since = machine.now - machine.timing.start * percent / 100;
                const std::string text = stateText(machine, module, japanese);
                wchar_t wide[64];
                const size_t length = mbstowcs(wide, text.c_str(), std::size(wide));
                ASSERT_LT(length, std::size(wide));
                EXPECT_LE(wcswidth(wide, length), 19) << text;
                EXPECT_GT(wcswidth(wide, length), 0) << text;
            }
    setlocale(LC_ALL, "C");
}

TEST(Words, ForARefusalAreThereInBothLanguages)
{
    std::set<std::string_view> texts;
    for (const RefusalTerm &refusal : refusals) {
        EXPECT_EQ(refusal.word.empty(), refusal.value == Refusal::none);
        EXPECT_EQ(refusal.japanese.empty(), refusal.value == Refusal::none);
        texts.insert({refusal.word, refusal.japanese});
    }
    EXPECT_EQ(texts.size(), 2 * std::size(refusals) - 1);
}

TEST(Words, ForProgressNeverSayThatItIsOver)
{
    Machine machine = machineOf("CEDAR");
    Device &module = machine.devices[0];
    module.state = State::synchronising;
    module.since = machine.now - machine.timing.synchronise + 1;
    EXPECT_EQ(stateText(machine, module, false), "Synchronising 99 %");
    EXPECT_EQ(stateText(machine, module, true), "同期中 99%");
    module.since = machine.now;
    EXPECT_EQ(stateText(machine, module, false), "Synchronising 0 %");
}

TEST(Words, FindADeviceByEitherName)
{
    const Machine machine = machineOf("CEDAR");
    EXPECT_EQ(nameOf(deviceNamed(machine, "eth3")->id), "ethernet3");
    EXPECT_EQ(nameOf(deviceNamed(machine, "Ethernet3")->id), "ethernet3");
    EXPECT_EQ(nameOf(deviceNamed(machine, "pci module 2")->id), "pci2");
    EXPECT_EQ(deviceNamed(machine, "cpu3"), nullptr);
    EXPECT_EQ(deviceNamed(machine, ""), nullptr);
}
