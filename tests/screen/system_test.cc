// SPDX-License-Identifier: GPL-2.0-or-later
// The general settings window and the BMC firmware window, with the programs that open them.
#include "session.h"

using namespace keys;

namespace {

RunOptions general(const std::string &script = "", const char *language = "en_US.UTF-8")
{
    return {.program = "mrvgeneral", .language = language, .script = script};
}

// On CEDAR the automatic firmware update is on and the automatic module start off. The focus
// begins on the first of the two boxes.
void openGeneral(Session &session)
{
    session.see("Execute");
    session.see("[*] Update the firmware");
    session.see("[ ] Start a module");
}

std::vector<std::string> errors(Session &session)
{
    std::vector<std::string> records = session.trace();
    std::erase_if(records, [](const std::string &record) { return record.starts_with("0 "); });
    return records;
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
        session.see("[ ] Update the firmware");
        session.see("[ ] Start a module");
        EXPECT_EQ(session.trace("general").at(1), std::string("0 General state= ") + value);
    }
}

TEST(General, DoesNotOpenWhenASettingCannotBeRead)
{
    for (const auto &[locale, text, execute] :
         {std::tuple{"en_US.UTF-8", "The settings of the server cannot be read.", "Execute"},
          {"ja_JP.UTF-8", "サーバの設定を取得できません。", "実行"}})
        for (const auto &[at, record] :
             {std::pair{"1", "1 General <GetBBDriverSettings(BB_DRV_AUTO_BURN) failed."},
              {"2", "1 General <GetBBDriverSettings(BB_DRV_AUTO_BRING_UP)failed."}}) {
            Session session(general(std::string("GetBBDriverSettings 0 at=") + at, locale));
            session.see(text);
            session.see("┤ Error ├");
            session.send(enter);
            session.expectExit(0);
            EXPECT_EQ(session.terminal().output().find(execute), std::string::npos);
            EXPECT_EQ(session.trace("general").back(), record);
            EXPECT_EQ(errors(session), std::vector<std::string>{record});
        }
}

TEST(General, CutsTheLineOfTheQuickDump)
{
    RunOptions options = general();
    options.columns = 120;
    options.environment = {{"YAT_SPY_TEXT_KEY", "QUERYWIN_QUICKDUMP_ID"},
                           {"YAT_SPY_TEXT", std::string(75, 'q') + "rst"}};
    Session session(options);
    session.see("[*] " + std::string(75, 'q') + " ");
}

// ---- What Execute does, in both languages

namespace {

enum TextNumber { question, changed, nothing, burnError, startError };

struct Language {
    const char *locale;
    const char *execute, *burnBox, *startBox, *title;
    const char *texts[5];
};

const Language languages[] = {
    {"en_US.UTF-8",
     "Execute",
     "Update the firmware of a module",
     "Start a module",
     "System Settings",
     {"Change the settings of the server?", "The settings were changed.", "No setting was changed.",
      "The automatic firmware update could not be set.",
      "The automatic module start could not be set."}},
    {"ja_JP.UTF-8",
     "実行",
     "組み込み時にファームウェアを自動更新",
     "組み込み時にモジュールを自動起動",
     "システム設定",
     {"サーバの設定を変更します。よろしいですか?", "設定を変更しました。",
      "設定は変更されていません。", "ファームウェアの自動更新を設定できませんでした。",
      "モジュールの自動起動を設定できませんでした。"}},
};

// Keys, the box that they lead to, and the keys that answer it.
struct Step {
    std::string keysSent;
    TextNumber text;
    std::string answer = enter;
};

struct Scenario {
    const char *name;
    std::string script;
    std::vector<Step> steps;
    bool burn, start; // the boxes in the end; on CEDAR the first one begins on
    std::vector<std::string> writes;
};

const std::string burnOff = "PutBBDriverSettings(2, 20003, 1, 0) = ",
                  startOn = "PutBBDriverSettings(3, 20003, 1, 1) = ";
const std::string toExecute = tab + tab + enter;
const std::string both = space + tab + space + tab + enter;

const Scenario scenarios[] = {
    {"NothingChanged", "", {{toExecute, nothing}}, true, false, {}},
    {"ThereAndBack", "", {{space + space + toExecute, nothing}}, true, false, {}},
    {"Both",
     "",
     {{both, question}, {"", changed}, {enter, nothing}},
     false,
     true,
     {burnOff + "1", startOn + "1"}},
    {"FirstOnly",
     "",
     {{space + toExecute, question}, {"", changed}},
     false,
     false,
     {burnOff + "1"}},
    {"SecondOnly",
     "",
     {{tab + space + tab + enter, question}, {"", changed}},
     true,
     true,
     {startOn + "1"}},
    // The focus goes round the window without a stop at the quick dump.
    {"AroundTheWindow",
     "",
     {{tab + tab + tab + tab + space + toExecute, question}, {"", changed}},
     false,
     false,
     {burnOff + "1"}},
    {"Declined",
     "",
     {{space + toExecute, question, tab + enter},
      {enter, question, ctrlO},
      {enter, question, ctrlA}},
     false,
     false,
     {}},
    {"FirstRefused",
     "PutBBDriverSettings 0 at=1",
     {{both, question}, {"", burnError}},
     true,
     false,
     {burnOff + "0"}},
    // The first change is in force: executed again, nothing is changed.
    {"SecondRefused",
     "PutBBDriverSettings 0 at=2",
     {{both, question}, {"", startError}, {enter, nothing}},
     false,
     false,
     {burnOff + "1", startOn + "0"}},
    {"SecondAloneRefused",
     "PutBBDriverSettings 0",
     {{tab + space + tab + enter, question}, {"", startError}},
     true,
     false,
     {startOn + "0"}},
    {"AcceptedAfterARefusal",
     "PutBBDriverSettings 0 at=1",
     {{space + toExecute, question},
      {"", burnError},
      {backTab + backTab + space + toExecute, question},
      {"", changed}},
     false,
     false,
     {burnOff + "0", burnOff + "1"}},
};

void PrintTo(const Scenario &scenario, std::ostream *stream)
{
    *stream << scenario.name;
}

class EveryScenario : public testing::TestWithParam<std::tuple<Scenario, int>> {};

TEST_P(EveryScenario, TellsAndWritesWhatItShould)
{
    const auto &[scenario, number] = GetParam();
    const Language &language = languages[number];
    Session session(general(scenario.script, language.locale));
    session.see(language.execute);
    for (const auto &[keysSent, number, answer] : scenario.steps) {
        const std::string text = language.texts[number];
        if (!keysSent.empty())
            session.send(keysSent);
        session.see(text);
        const bool isError = number == burnError || number == startError;
        session.see(std::string("┤ ") + (isError ? "Error" : language.title) + " ├");
        session.send(answer);
        session.seeNot(text);
    }
    session.see(std::string(scenario.burn ? "[*] " : "[ ] ") + language.burnBox);
    session.see(std::string(scenario.start ? "[*] " : "[ ] ") + language.startBox);
    EXPECT_EQ(session.calls("PutBBDriverSettings"), scenario.writes);
}

INSTANTIATE_TEST_SUITE_P(General, EveryScenario,
                         testing::Combine(testing::ValuesIn(scenarios), testing::Values(0, 1)),
                         [](const auto &info) {
                             return std::get<0>(info.param).name
                                    + std::string(std::get<1>(info.param) ? "Japanese" : "");
                         });

} // namespace

TEST(General, TakesZeroAloneForARefusal)
{
    Session session(general("GetBBDriverSettings -1 text=2\nPutBBDriverSettings -1"));
    session.see("[*] Start a module");
    session.send(space + toExecute);
    session.see("Change the settings of the server?");
    session.send(enter);
    session.see("The settings were changed.");
    EXPECT_EQ(session.calls("PutBBDriverSettings"), Calls{burnOff + "-1"});
}

TEST(General, TracesWhatItWrites)
{
    Session session(general());
    openGeneral(session);
    session.send(both);
    session.see("Change the settings of the server?");
    session.send(enter);
    session.see("The settings were changed.");
    session.send(enter);
    session.seeNot("were changed");
    session.send(tab + enter);
    session.expectExit(1);
    EXPECT_EQ(session.trace("general"),
              (std::vector<std::string>{"0 General >", "0 General state= 2",
                                        "0 General flag =BB_DRV_AUTO_BURN",
                                        "0 General flag = BB_DRV_AUTO_BRING_UP", "0 General <"}));
}

TEST(General, HasTheOptionsAndStatusesOfTheUtility)
{
    Workspace dump({.program = "mrvgeneral", .arguments = {"-debug"}});
    const Finished run = runPlain(dump);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "\nBB_DRV_AUTO_BURN: 2\nBB_DRV_AUTO_BRING_UP: 0\n");
    for (const char *at : {"1", "2"}) {
        Workspace failing({.program = "mrvgeneral",
                           .arguments = {"-debug"},
                           .script = std::string("GetBBDriverSettings 0 at=") + at});
        const Finished failed = runPlain(failing);
        EXPECT_EQ(failed.status, 0);
        EXPECT_EQ(failed.output, "\n");
        EXPECT_EQ(failed.errors, "mrvgeneral: the settings of the server can't be read; the trace "
                                 "log says why\n");
    }
    Workspace other({.program = "mrvgeneral",
                     .arguments = {"-debug"},
                     .script = "ft_FunctionInit 2\nGetBBDriverSettings -1 text=7"});
    EXPECT_EQ(runPlain(other).output, "\nBB_DRV_AUTO_BURN: 7\nBB_DRV_AUTO_BRING_UP: 7\n");
    Workspace wrong({.program = "mrvgeneral", .arguments = {"-x"}});
    EXPECT_EQ(runPlain(wrong).status, 0);
    Session closed(general("ft_FunctionInit 0\nGetBBDriverSettings 0"));
    closed.see("cannot be read");
    closed.send(enter);
    closed.expectExit(0);
    EXPECT_TRUE(closed.calls("ft_FunctionRelease").empty());
    EXPECT_EQ(errors(closed),
              std::vector<std::string>{"1 General <GetBBDriverSettings(BB_DRV_AUTO_BURN) failed."});
}
