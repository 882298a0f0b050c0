// The general settings window and the BMC firmware window, with the programs that open them.
#include "session.h"

#include <filesystem>
#include <fstream>

using namespace keys;

namespace {

RunOptions general(const std::string &script = "", const char *language = "en_US.UTF-8")
{
    return {.program = "mrvgeneral", .language = language, .script = script};
}

const std::string firmwareOn = "[*] Update the firmware", firmwareOff = "[ ] Update the firmware";
const std::string startOn = "[*] Start a module", startOff = "[ ] Start a module";
const std::string nothing = "No setting was changed.", changed = "The settings were changed.";
const std::string question = "Change the settings of the server?";
const std::string burnError = "The automatic firmware update could not be set.";
const std::string startError = "The automatic module start could not be set.";

// On CEDAR the automatic firmware update is on and the automatic module start off. The focus
// begins on the first of the two boxes.
void openGeneral(Session &session)
{
    session.see("Execute");
    session.see(firmwareOn);
    session.see(startOff);
}

std::vector<std::string> writes(Session &session)
{
    return session.calls("PutBBDriverSettings");
}

} // namespace

TEST(General, ReadsBothSettings)
{
    Session session(general());
    openGeneral(session);
    EXPECT_EQ(session.calls("GetBBDriverSettings"),
              (std::vector<std::string>{"GetBBDriverSettings(2, 20003, 1) = 1",
                                        "GetBBDriverSettings(3, 20003, 1) = 1"}));
}

TEST(General, ShowsOnForTheValueTwoOnly)
{
    for (const char *value : {"1", "0", "3", "-2"}) {
        Session session(general(std::string("GetBBDriverSettings 1 text=") + value));
        session.see(firmwareOff);
        session.see(startOff);
        EXPECT_EQ(session.trace("general").at(1), std::string("0 General state= ") + value);
    }
}

TEST(General, DoesNotOpenWhenASettingCannotBeRead)
{
    for (const auto &[at, record] :
         {std::pair{"1", "1 General <GetBBDriverSettings(BB_DRV_AUTO_BURN) failed."},
          {"2", "1 General <GetBBDriverSettings(BB_DRV_AUTO_BRING_UP)failed."}}) {
        Session session(general(std::string("GetBBDriverSettings 0 at=") + at));
        session.see("The settings of the server cannot be read.");
        session.send(enter);
        session.expectExit(1);
        EXPECT_EQ(session.terminal().output().find("Execute"), std::string::npos);
        EXPECT_EQ(session.trace("general").back(), record);
    }
}

TEST(General, SaysThatNothingWasChanged)
{
    // Executed at once, and after a box was toggled there and back.
    for (const std::string &keysSent :
         {tab + tab + enter, space + space + tab + tab + enter}) {
        Session session(general());
        openGeneral(session);
        session.send(keysSent);
        session.see(nothing);
        session.see("┤ System Settings ├");
        session.send(enter);
        session.seeNot(nothing);
        EXPECT_TRUE(writes(session).empty());
    }
}

TEST(General, WritesWhatWasChangedAndRemembersIt)
{
    Session session(general());
    openGeneral(session);
    session.send(space + tab + space + tab + enter);
    session.see(question);
    session.send(enter);
    session.see(changed);
    session.send(enter);
    session.seeNot(changed);
    session.see(firmwareOff);
    session.see(startOn);
    EXPECT_EQ(writes(session), (std::vector<std::string>{"PutBBDriverSettings(2, 20003, 1, 0) = 1",
                                                         "PutBBDriverSettings(3, 20003, 1, 1) = 1"}));
    session.send(enter); // the focus is still on Execute
    session.see(nothing);
    session.send(enter);
    session.seeNot(nothing);
    session.send(tab + enter);
    session.expectExit(1);
    EXPECT_EQ(session.trace("general"),
              (std::vector<std::string>{"0 General >", "0 General state= 2",
                                        "0 General flag =BB_DRV_AUTO_BURN",
                                        "0 General flag = BB_DRV_AUTO_BRING_UP", "0 General <"}));
}

TEST(General, WritesOneAloneWhenOnlyThatWasChanged)
{
    Session session(general());
    openGeneral(session);
    session.send(tab + space + tab + enter);
    session.see(question);
    session.send(enter);
    session.see(changed);
    EXPECT_EQ(writes(session), std::vector<std::string>{"PutBBDriverSettings(3, 20003, 1, 1) = 1"});
}

TEST(General, DeclinedKeepsTheBoxesAndAsksAgain)
{
    Session session(general());
    openGeneral(session);
    session.send(space + tab + tab + enter);
    for (int i = 0; i < 2; ++i) {
        session.see(question);
        session.send(ctrlO);
        session.seeNot(question);
        session.see(firmwareOff);
        session.send(enter);
    }
    session.see(question);
    EXPECT_TRUE(writes(session).empty());
}

TEST(General, FirstWriteRefusedPutsBothBoxesBack)
{
    Session session(general("PutBBDriverSettings 0 at=1"));
    openGeneral(session);
    session.send(space + tab + space + tab + enter);
    session.see(question);
    session.send(enter);
    session.see(burnError);
    session.send(enter);
    session.seeNot(burnError);
    session.see(firmwareOn);
    session.see(startOff);
    EXPECT_EQ(writes(session), std::vector<std::string>{"PutBBDriverSettings(2, 20003, 1, 0) = 0"});
}

TEST(General, SecondWriteRefusedPutsItsBoxBackOnly)
{
    Session session(general("PutBBDriverSettings 0 at=2"));
    openGeneral(session);
    session.send(space + tab + space + tab + enter);
    session.see(question);
    session.send(enter);
    session.see(startError);
    session.send(enter);
    session.seeNot(startError);
    session.see(firmwareOff);
    session.see(startOff);
    // The first change is in force: executing again finds nothing changed.
    session.send(enter);
    session.see(nothing);
    EXPECT_EQ(writes(session).size(), 2u);
}

TEST(General, HasTheOptionsAndStatusesOfTheUtility)
{
    Workspace dump({.program = "mrvgeneral", .arguments = {"-debug"}});
    const PlainRun run = runPlain(dump);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "\nBB_DRV_AUTO_BURN: 2\nBB_DRV_AUTO_BRING_UP: 0\n");
    Workspace failing({.program = "mrvgeneral", .arguments = {"-debug"}, .script = "GetBBDriverSettings 0"});
    EXPECT_EQ(runPlain(failing).status, 0);
    Workspace wrong({.program = "mrvgeneral", .arguments = {"-x"}});
    EXPECT_EQ(runPlain(wrong).status, 0);
    Session closed(general("ft_FunctionInit 0\nGetBBDriverSettings 0"));
    closed.see("cannot be read");
    closed.send(enter);
    closed.expectExit(0);
}
