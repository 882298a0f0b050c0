// SPDX-License-Identifier: GPL-2.0-or-later
// The BIOS data view and the firmware update of a CPU module.
#include "navigation.h"

namespace {

void openBios(Session &session)
{
    open(session, cpuModule);
    press(session, 9);
}

void openUpdate(Session &session)
{
    open(session, cpuModule);
    press(session, 8);
    session.see("Update method:");
}

const std::string copyQuestion = "Copy the BIOS of the running CPU module to this one?";
const std::string fileQuestion = "Write the BIOS from the data file to this CPU module?";

} // namespace

TEST(BiosData, ReadsVersionAndStatus)
{
    Session session;
    openBios(session);
    session.see("BIOS status:");
    EXPECT_EQ(session.calls("yat_ft_get_property(2"),
              (std::vector<std::string>{"yat_ft_get_property(2, 1, 27, 1024) = 0",
                                        "yat_ft_get_property(2, 1, 28, 1024) = 0"}));
    session.send(keys::enter);
    session.seeNot("BIOS status:");
    std::vector<std::string> trace = session.trace("cpusubwin");
    EXPECT_EQ(trace.at(trace.size() - 2), "0 BiosData >[IN]index=1");
    EXPECT_EQ(trace.back(), "0 BiosData <");
}

TEST(BiosData, IsClosedByF12Too)
{
    Session session;
    openBios(session);
    session.see("BIOS status:");
    session.send(keys::f12);
    session.seeNot("BIOS status:");
}

TEST(BiosData, TellsOfEachFailedRead)
{
    const std::string version = "The BIOS version cannot be read.";
    const std::string status = "The BIOS status cannot be read.";
    for (const auto &[script, first, second] :
         {std::tuple{"yat_ft_get_property 1 at=2\nyat_ft_get_property 1 at=3", true, true},
          {"yat_ft_get_property 1 at=2", true, false},
          {"yat_ft_get_property 1 at=3", false, true}}) {
        Session session({.script = script});
        openBios(session);
        if (first) {
            session.see(version);
            session.see("┤ Error ├");
            session.see("│  ok  │");
            EXPECT_FALSE(session.terminal().contains("BIOS status:"));
            session.send(keys::enter);
            session.seeNot(version);
        }
        if (second) {
            session.see(status);
            session.see("┤ Error ├");
            session.see("│  ok  │");
            session.send(keys::enter);
            session.seeNot(status);
        }
        session.see("BIOS status:");
        session.expectScreen(std::string("bios/unknown-") + (first ? "1" : "0")
                             + (second ? "1" : "0"));
    }
}

TEST(BiosData, CutsALongText)
{
    std::string text;
    for (int i = 1; i <= 60; ++i)
        text += "word" + std::to_string(i) + " ";
    Session session({.script = "yat_ft_get_property 0 at=2 text=" + text});
    openBios(session);
    session.see("word1 ");
    session.expectScreen("bios/long");
}

TEST(BiosData, TellsTheTerminalNothing)
{
    Session session({.script = "yat_ft_get_property 0 at=2 text=1\u202e2\n"
                               "yat_ft_get_property 0 at=3 text=3\u20284"});
    openBios(session);
    session.see("1?2 ");
    session.see("3?4 ");
    EXPECT_EQ(session.terminal().output().find("\u202e"), std::string::npos);
}

TEST(BiosData, StaysWithinANarrowTerminal)
{
    for (const int columns : {76, 75, 72, 71, 60, 40}) {
        Session session({.rows = 30, .columns = columns});
        openBios(session);
        session.see("Valid");
        session.expectScreen("bios/narrow-" + std::to_string(columns));
    }
}

TEST(BiosData, IsNotShownWithoutThePropertyFunction)
{
    // On ALDER the CPU module window itself needs no property.
    Session session({.machine = "ALDER",
                     .script = "yat_ft_get_property none",
                     .environment = {{"ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0"}}});
    open(session, cpuModule);
    press(session, 5);
    session.send(keys::tab);
    EXPECT_TRUE(session.terminal().waitUntil([&] {
        const std::vector<std::string> trace = session.trace("cpusubwin");
        return trace.back() == "1 BiosData <function pointer of yat_ft_get_property is NULL.";
    }));
    EXPECT_FALSE(session.terminal().contains("BIOS status:"));
}

TEST(FirmwareUpdate, RunsTheMethodThatIsChosen)
{
    for (const auto &[keysSent, question, mode] :
         {std::tuple{keys::tab + keys::tab + keys::enter, copyQuestion, "FWCOPY"},
          {keys::tab + keys::space + keys::tab + keys::enter, fileQuestion, "FWBURN"},
          // F12 means the data file, whatever is selected.
          {keys::f12, fileQuestion, "FWBURN"}}) {
        Session session({.script = "IfSupport 1\nBurnFirmware 1"});
        openUpdate(session);
        session.send(keysSent);
        session.see(question);
        session.see("┤ Firmware Update ├");
        session.send(keys::enter);
        session.see("The operation was successful.");
        session.see("┤ CPU module 1 ├");
        session.send(keys::enter);
        session.seeNot("successful");
        session.see("Update method:"); // it stays open for another one
        EXPECT_EQ(session.calls("IfSupport"),
                  std::vector<std::string>{"IfSupport(CPU module 1, 9, 0) = 1"});
        EXPECT_EQ(session.calls("BurnFirmware"),
                  std::vector<std::string>{std::string("BurnFirmware(CPU module 1, 10, ") + mode
                                           + ") = 1"});
    }
}

TEST(FirmwareUpdate, DeclinedDoesNothing)
{
    for (const auto &[keysSent, question] :
         {std::pair{keys::tab + keys::tab + keys::enter, copyQuestion},
          {keys::f12, fileQuestion}}) {
        Session session;
        openUpdate(session);
        session.send(keysSent);
        session.see(question);
        session.send(keys::ctrlA);
        session.seeNot(question);
        session.see("Update method:");
        EXPECT_TRUE(session.calls("IfSupport").empty());
    }
}

TEST(FirmwareUpdate, TellsWhatIsNotSupportedAndWhatFails)
{
    for (const auto &[script, message, calls] :
         {std::tuple{"IfSupport 0", "The firmware of this device cannot be updated now.", 0u},
          {"IfSupport 1\nBurnFirmware 0", "The firmware could not be updated.", 1u},
          {"IfSupport 1\nBurnFirmware 2", "The firmware could not be updated.", 1u}})
        for (const auto &[keysSent, question] :
             {std::pair{keys::tab + keys::tab + keys::enter, copyQuestion},
              {keys::f12, fileQuestion}}) {
            Session session({.script = script});
            openUpdate(session);
            session.send(keysSent);
            session.see(question);
            session.send(keys::enter);
            session.see(message);
            session.send(keys::enter);
            session.seeNot(message);
            session.see("Update method:");
            EXPECT_EQ(session.calls("BurnFirmware").size(), calls);
        }
}

TEST(FirmwareUpdate, TellsOnTheHelpLineThatItRuns)
{
    Session session({.script = "IfSupport 1\nBurnFirmware 1 held"});
    openUpdate(session);
    session.send(keys::tab + keys::tab + keys::enter);
    session.see(copyQuestion);
    session.send(keys::enter);
    session.see("  CPU module 1: Copy the BIOS of the running CPU module ...");
    session.files().letGo();
    session.see("The operation was successful.");
}

TEST(FirmwareUpdate, IsClosedByItsButton)
{
    Session session;
    openUpdate(session);
    session.send(keys::tab + keys::tab + keys::tab + keys::enter);
    session.seeNot("Update method:");
    session.see("Diagnosis of the CPU module:");
    EXPECT_EQ(session.trace("firmupdate"),
              (std::vector<std::string>{"0 FirmUpdate >", "0 FirmUpdate <"}));
}

// A catalogue text that serves as its own format.
TEST(FirmwareUpdate, QuestionHasItsPercentSignsOnce)
{
    Session session({.environment = {{"YAT_SPY_TEXT_KEY", "LABEL_ONLINETOOFFLINE_ID"},
                                     {"YAT_SPY_TEXT", "100%% of %s, %n and %d: sure%?"}}});
    openUpdate(session);
    session.send(keys::tab + keys::tab + keys::enter);
    session.see("100% of %s, %n and %d: sure%?");
}

TEST(FirmwareUpdate, CutsALongQuestion)
{
    for (const auto &[key, keysSent] :
         {std::pair{"LABEL_ONLINETOOFFLINE_ID", keys::tab + keys::tab + keys::enter},
          {"QUERYWIN_UPDATE_ID", keys::f12}}) {
        Session session({.columns = 120,
                         .environment = {{"YAT_SPY_TEXT_KEY", key},
                                         {"YAT_SPY_TEXT", std::string(79, 'q') + "rst"}}});
        openUpdate(session);
        session.send(keysSent);
        session.see(std::string(79, 'q') + " ");
    }
}

TEST(FirmwareUpdate, RunsAsOftenAsTheUserLikes)
{
    Session session({.script = "IfSupport 1\nBurnFirmware 1"});
    openUpdate(session);
    const auto run = [&](const std::string &keysSent, const std::string &question) {
        session.send(keysSent);
        session.see(question);
        session.send(keys::enter);
        session.see("The operation was successful.");
        session.send(keys::enter);
        session.seeNot("successful");
    };
    run(keys::tab + keys::space + keys::tab + keys::enter, fileQuestion);
    run(keys::enter, fileQuestion);
    run(keys::f12, fileQuestion);
    session.see("(*) Write the BIOS"); // F12 has selected nothing
    run(keys::backTab + keys::backTab + keys::space + keys::tab + keys::tab + keys::enter,
        copyQuestion);
    const Calls burnt = session.calls("BurnFirmware");
    ASSERT_EQ(burnt.size(), 4u);
    for (size_t i = 0; i < 4; ++i)
        EXPECT_EQ(burnt[i], std::string("BurnFirmware(CPU module 1, 10, ")
                                + (i < 3 ? "FWBURN" : "FWCOPY") + ") = 1");
}
