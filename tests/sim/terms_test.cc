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

namespace {

using namespace sim;

Machine machineOf(const std::string &shippedName)
{
    return movedTo(parseDescription(shipped(shippedName), shippedName), 0);
}

} // namespace

// The header's names tell the class and the call.
TEST(SupportCodes, AreThoseThatTheHeaderTells)
{
    const std::map<std::string, int> classes = {{"CPU", YAT_CLASS_CPU_MODULE},
                                                {"PCI", YAT_CLASS_PCI_MODULE},
                                                {"SCSI", YAT_CLASS_SCSI_ADAPTER},
                                                {"ETHERNET", YAT_CLASS_ETHERNET_ADAPTER}};
    const std::map<std::string, Verb> calls = {{"CLEAR_MTBF", Verb::clearMtbf},
                                               {"BRING_UP", Verb::bringUp},
                                               {"BRING_DOWN", Verb::bringDown},
                                               {"BURN_FIRMWARE", Verb::burnFirmware},
                                               {"SET_MTBF_TYPE", Verb::setMtbfType}};
    const std::string header = readFile(std::filesystem::path(SOURCES) / "include/yat/ft.h");
    const std::regex line("#define YAT_SUPPORT_([A-Z]+)_([A-Z_]+) ([0-9]+)\n");
    size_t told = 0;
    for (std::sregex_iterator it(header.begin(), header.end(), line), end; it != end;
         ++it, ++told) {
        const int classCode = classes.at((*it)[1]), code = std::stoi((*it)[3]);
        const Verb verb = calls.at((*it)[2]);
        EXPECT_EQ(supportCode(verb, classCode), code) << it->str();
        EXPECT_EQ(yat::callAskedFor(classCode, code), nameOf(verb)) << it->str();
    }
    EXPECT_EQ(told, std::size(yat::supportCodes));
}

// So are the words for machine types and classes of devices.
TEST(Terms, AreThereForWhatTheHeadersName)
{
    const auto namesIn = [](const char *header, const std::string &pattern) {
        const std::string text = readFile(std::filesystem::path(SOURCES) / "include/yat" / header);
        std::map<std::string, int> names;
        const std::regex line("#define YAT_" + pattern + " ([0-9]+)");
        for (std::sregex_iterator it(text.begin(), text.end(), line), end; it != end; ++it)
            names[(*it)[1]] = std::stoi((*it)[2]);
        return names;
    };
    std::map<std::string, int> types, classes;
    for (const yat::MachineType &each : yat::machineTypes)
        types[std::string(each.word)] = each.value;
    for (const DeviceClass &each : deviceClasses)
        classes[std::string(each.key)] = each.value;
    EXPECT_EQ(types, namesIn("ft.h", "MACHINE_([A-Z]+)"));
    std::map<std::string, int> named;
    for (const auto &[name, code] : namesIn("device.h", "CLASS_([A-Z]+_(?:MODULE|ADAPTER))")) {
        std::string key;
        for (const char letter : name)
            key += static_cast<char>(tolower(letter));
        named[key] = code;
    }
    EXPECT_EQ(classes, named);
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
    machine.timing.synchronise = 0;
    EXPECT_EQ(stateText(machine, module, false), "Synchronising 99 %");
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
