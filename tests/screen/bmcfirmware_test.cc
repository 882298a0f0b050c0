// SPDX-License-Identifier: GPL-2.0-or-later
// The BMC firmware window: the revision from the plug-in, and the update program around which the
// terminal changes hands.
#include "job.h"
#include "session.h"

#include <csignal>
#include <sys/wait.h>

using namespace keys;

namespace {

RunOptions firmware(const std::string &script = "", const char *language = "en_US.UTF-8")
{
    return {.program = "mrvfirmware", .language = language, .script = script};
}

std::string plugin(const std::string &name)
{
    return "LoadLibrary real text=" PLUGINS "/" + name + ".dll";
}

struct Language {
    const char *locale;
    std::string close, notRun, endedBadly;
};

const Language languages[] = {
    {"en_US.UTF-8", "Close", "The update program could not be run.",
     "/usr/bmcfwupd/bmcfwupm is missing or ended with an error."},
    {"ja_JP.UTF-8", "  閉じる  ", "更新プログラムを実行できませんでした。",
     "/usr/bmcfwupd/bmcfwupmがないか、異常終了しました。"},
};

const std::string revisionError = "The firmware revision of the BMC cannot be read.";
const std::string notRun = "The update program could not be run.";
const std::string endedBadly = "/usr/bmcfwupd/bmcfwupm is missing or ended with an error.";

// A session whose update program is this shell command.
struct Update : Session {
    explicit Update(const std::string &command, const char *language = "en_US.UTF-8")
        : Session(firmware("system 0 text=" + command, language))
    {
        see("04.17");
        terminal().waitUntilIdle();
        openBefore = openFilesOf(terminal().pid());
        before = terminal().picture();
        entered = timesEntered();
        send(enter);
    }

    size_t timesEntered()
    {
        const std::string &output = terminal().output(), entry = "\x1b[?1049h"; // of xterm
        size_t count = 0;
        for (size_t at = 0; (at = output.find(entry, at)) != output.npos; ++at)
            ++count;
        return count;
    }

    // The update program has run. Then the window is on the screen as it was, newt has the
    // terminal, and keys reach the window. While it runs the screen may look so as well, as what
    // leaves it is not drawn yet, and the update program itself may have set newt's modes.
    void expectTakenBack()
    {
        EXPECT_TRUE(terminal().waitUntil([this] {
            return timesEntered() > entered && terminal().picture() == before
                   && !terminal().modes().canonical && !terminal().modes().echo;
        })) << before
            << terminal().picture();
        terminal().waitUntilIdle();
        EXPECT_EQ(openFilesOf(terminal().pid()), openBefore);
        send(tab + enter);
        expectExit(1);
        EXPECT_TRUE(terminal().cursorIsVisible());
    }

    void expectNotice(const std::string &text)
    {
        see(text);
        see("  ok  "); // its buttons are in no language
        see("cancel");
        send(enter);
        seeNot(text);
    }

    std::string before;
    std::vector<std::string> openBefore;
    size_t entered;
};

} // namespace

TEST(BmcFirmware, ShowsTheRevisionOfTheMachine)
{
    Session session(firmware());
    session.see("04.17");
    session.send(tab + enter);
    session.expectExit(1);
    const std::vector<std::string> trace = session.trace("firmware");
    expectInOrder(trace,
                  {"0 Firmware >", "0 Get_BMC_FWRevision >", "0 Get_BMC_FWRevision [IN]bmcrev=0x*",
                   "0 Get_BMC_FWRevision [OUT]Firmware Revision : 04.17.", "0 Get_BMC_FWRevision <",
                   "0 Firmware <"});
    EXPECT_EQ(trace.size(), 6u);
    EXPECT_TRUE(session.calls("ft_FunctionRelease").empty()); // which would be an error
    for (const std::string &record : session.trace())
        EXPECT_TRUE(record.starts_with("0 ")) << record;
}

TEST(BmcFirmware, ShowsTheBitsThatCountInHexadecimal)
{
    Session session(firmware(plugin("plugin_shows")));
    session.see("Firmware revision: 7F.9A ");
}

TEST(BmcFirmware, LoadsThePluginOfItsRootAndUnloadsItEachTime)
{
    Session session(firmware());
    session.see("04.17");
    EXPECT_EQ(session.calls("LoadLibrary"),
              std::vector<std::string>{"LoadLibrary(/yathwinfo.dll)"});
    EXPECT_EQ(
        readFile("/proc/" + std::to_string(session.terminal().pid()) + "/maps").find("yathwinfo"),
        std::string::npos);
}

TEST(BmcFirmware, TellsOfEachFailureAndOpensNevertheless)
{
    struct {
        std::string plugin, record;
    } const failures[] = {
        {"nowhere", "1 Get_BMC_FWRevision load yathwinfo.dll error : " PLUGINS "/nowhere.dll: *"},
        {"plugin_without_entry",
         "1 Get_BMC_FWRevision get function pointer of YatGetDeviceID error : *undefined symbol: "
         "YATGetDeviceID*"},
        {"plugin_refuses", "1 Get_BMC_FWRevision YatGetDeviceID returns FALSE!"},
    };
    for (const auto &[name, record] : failures)
        for (const char *language : {"en_US.UTF-8", "ja_JP.UTF-8"}) {
            const bool japanese = std::string(language).starts_with("ja");
            const std::string message =
                japanese ? "BMCのファームウェアリビジョンを取得できません。" : revisionError;
            Session session(firmware(plugin(name), language));
            session.see(message);
            session.see("┤ Error ├");
            EXPECT_FALSE(session.terminal().contains(japanese ? "  閉じる  " : "Close"));
            session.send(enter);
            session.see(japanese ? "ファームウェアリビジョン: 不明" : "Firmware revision: Unknown");
            session.see(japanese ? "  閉じる  " : "Close");
            const std::vector<std::string> trace = session.trace("firmware");
            ASSERT_EQ(trace.size(), 5u); // both entries, the destination, the failure, the return
            // Between stars stands what the loader says in its own words.
            const size_t star = record.find('*'), last = record.rfind('*');
            EXPECT_EQ(trace[3].substr(0, star), record.substr(0, star));
            if (star != last) {
                const std::string between = record.substr(star + 1, last - star - 1);
                EXPECT_NE(trace[3].find(between), std::string::npos) << trace[3];
            }
            // What was loaded is unloaded, and only that.
            EXPECT_EQ(session.calls("FreeLibrary").size(), name == "nowhere" ? 0u : 1u);
            EXPECT_EQ(trace[4], "0 Get_BMC_FWRevision <");
            session.send(tab + enter);
            session.expectExit(1);
        }
}

TEST(BmcFirmware, FailureShowsTheUnknownRevision)
{
    Session session(firmware(plugin("nowhere")));
    session.see(revisionError);
    session.expectScreen("system/firmware-error-en");
    session.send(enter);
    session.see("Unknown");
    session.expectScreen("system/firmware-unknown-en");
}

TEST(BmcUpdate, DoneShowsNothingAndAsksForNoRevision)
{
    for (const Language &language : languages) {
        Update session("exit 0", language.locale);
        session.expectTakenBack();
        EXPECT_EQ(session.calls("system"),
                  std::vector<std::string>{"system(/usr/bmcfwupd/bmcfwupm)"});
        EXPECT_EQ(session.calls("LoadLibrary").size(), 1u);
    }
}

TEST(BmcUpdate, EndedBadlySaysSo)
{
    // With a status, not found by the shell, and killed: none of these is 127 as a wait status.
    for (const Language &language : languages)
        for (const char *command :
             {"exit 1", "exit 127", "/nowhere/bmcfwupm", "kill -9 $$", "kill $$"}) {
            Update session(command, language.locale);
            session.expectNotice(language.endedBadly);
            session.expectTakenBack();
        }
}

TEST(BmcUpdate, NotRunSaysSo)
{
    for (const Language &language : languages)
        for (const char *result : {"-1", "127", "1"}) {
            const std::string notice =
                *result == '1' && !result[1] ? language.endedBadly : language.notRun;
            Session session(firmware(std::string("system ") + result, language.locale));
            session.see("04.17");
            session.send(enter);
            session.see(notice);
            session.send(enter);
            session.seeNot(notice);
            session.send(tab + enter);
            session.expectExit(1);
        }
}

TEST(BmcUpdate, NoticeLooksLikeItsPicture)
{
    for (const auto &[language, text] :
         {std::pair{"en", notRun}, {"ja", std::string("更新プログラムを実行できませんでした。")}}) {
        Session session(firmware("system -1", *language == 'e' ? "en_US.UTF-8" : "ja_JP.UTF-8"));
        session.see("04.17");
        session.send(enter);
        session.see(text);
        session.expectScreen(std::string("system/firmware-notice-") + language);
    }
}

TEST(BmcUpdate, NoticeIsLeftByBothButtonsAndTheHotKeysAndNotByF12)
{
    for (const std::string &key : {enter, tab + enter, ctrlA, ctrlO}) {
        Session session(firmware("system -1"));
        session.see("04.17");
        session.send(enter);
        session.see(notRun);
        session.send(f12);
        session.send(key);
        session.seeNot(notRun);
        session.see("Close");
        EXPECT_EQ(session.calls("system").size(), 1u);
    }
    Session session(firmware("system -1"));
    session.see("04.17");
    session.send(enter);
    session.see(notRun);
    session.send(f12);
    session.terminal().waitUntilIdle();
    session.see(notRun);
}

TEST(BmcUpdate, HasTheTerminalAsItWasBefore)
{
    Update session("echo READY; read answer; echo got \"$answer\"; test \"$answer\" = yes");
    session.see("READY");
    EXPECT_TRUE(session.terminal().modes().canonical && session.terminal().modes().echo
                && session.terminal().modes().signals);
    EXPECT_TRUE(session.terminal().cursorIsVisible());
    EXPECT_FALSE(session.terminal().contains("Close"));
    session.send("yes\r");
    session.expectTakenBack();
    EXPECT_NE(session.terminal().output().find("got yes"), std::string::npos);
}

TEST(BmcUpdate, SeesTheTrueTypeOfTheTerminal)
{
    Update session("echo \"<$TERM>\"; read answer");
    session.see("<xterm-256color>");
    session.send("\r");
    session.expectTakenBack();
}

TEST(BmcUpdate, MayLeaveTheTerminalInAnyState)
{
    for (const char *command : {
             "stty raw -echo -isig",
             "stty -icanon min 0 time 1; stty -a >/dev/null",
             "printf '\\033[31;44;7mRED'",    // colours
             "printf '\\033(0'",              // line drawing for letters
             "printf '\\033)0\\016'",         // and in the other place for a character set
             "printf '\\033[?25l'",           // no cursor
             "printf '\\033[5;10r\\033[?6h'", // a scrolling region, and its origin
             "printf '\\033[4h'",             // insert mode
             "printf '\\033[?7l'",            // no wrapping at the edge
             "i=0; while [ $i -lt 60 ]; do echo line $i; i=$((i+1)); done",
         }) {
        Update session(command);
        session.expectTakenBack();
    }
}

TEST(BmcUpdate, KeysTypedAheadReachNoButton)
{
    Update session("echo READY; read answer; stty raw -echo; echo AGAIN; "
                   "until test -e $HOME/script.go; do sleep 0.01; done");
    session.see("READY");
    session.send("\r");
    session.see("AGAIN");
    session.send(enter + enter + tab + enter); // would run it again, and close the window
    ASSERT_TRUE(session.terminal().waitUntil([&] { return session.terminal().unread() == 4; }));
    session.files().letGo();
    session.expectTakenBack();
    EXPECT_EQ(session.calls("system").size(), 1u);
}

TEST(BmcUpdate, SignalsTypedReachItAlone)
{
    for (const auto &[key, name] : {std::pair{"\x03", "INT"}, {"\x1c", "QUIT"}}) {
        Update ending("echo READY; while :; do sleep 0.01; done");
        ending.see("READY");
        ending.send(key);
        ending.expectNotice(endedBadly);
        ending.expectTakenBack();

        Update handling(std::string("trap 'echo CAUGHT; exit 0' ") + name
                        + "; echo READY; while :; do sleep 0.01; done");
        handling.see("READY");
        handling.send(key);
        handling.expectTakenBack();
        EXPECT_NE(handling.terminal().output().find("CAUGHT"), std::string::npos);
    }
}

TEST(BmcUpdate, GetsDefaultSignalHandling)
{
    // The masks of what is blocked and what is ignored; the seven digits are for signals 1 to 28.
    Update session("sed -n 's/^Sig\\(Blk\\|Ign\\):.*\\(.\\{7\\}\\)$/\\1 \\2/p' /proc/self/status; "
                   "read answer");
    session.see("Blk 0000000 ");
    session.see("Ign 0000000 ");
    session.send("\r");
    session.expectTakenBack();
}

TEST(BmcUpdate, SignalFromOutsideEndsTheProgramAndLeavesTheTerminalToItsUser)
{
    Update session("echo READY; read answer");
    session.see("READY");
    session.terminal().kill(SIGTERM);
    session.expectSignal(SIGTERM);
    EXPECT_TRUE(session.terminal().modesAreAsBefore());
    EXPECT_EQ(session.calls("klogctl"), (Calls{"klogctl(6, null, 0)", "klogctl(8, null, 6)"}));
}

// Which may still work there, in the modes that it has set.
TEST(BmcUpdate, SignalFromOutsideLeavesTheTerminalAsTheUpdateProgramHasIt)
{
    Update session("stty raw -echo; echo READY; read answer");
    session.see("READY");
    session.terminal().kill(SIGTERM);
    const int status = session.terminal().wait();
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
    EXPECT_FALSE(session.terminal().modes().canonical || session.terminal().modes().echo);
    EXPECT_FALSE(session.terminal().inAlternateScreen());
    EXPECT_EQ(session.calls("klogctl"), (Calls{"klogctl(6, null, 0)", "klogctl(8, null, 6)"}));
}

// It belongs to a group of processes that has ended then.
TEST(BmcUpdate, TakesTheTerminalFromAnUpdateProgramThatDoesNotGiveItBack)
{
    Update session("set -m; kill -9 $$");
    session.see(endedBadly);
    session.send(enter);
    session.expectTakenBack();
}

// Which only the update program is told of.
TEST(BmcUpdate, FindsANewSizeOfTheTerminal)
{
    for (const auto &[rows, columns] : {std::pair{40, 100}, {40, 80}, {24, 100}}) {
        Update session("set -m; sh -c 'echo READY; read answer'");
        session.see("READY");
        session.terminal().resize(rows, columns);
        session.send("\r");
        session.see("Close");
        RunOptions options = firmware();
        options.rows = rows;
        options.columns = columns;
        Session started(options); // at that size
        started.see("04.17");
        EXPECT_EQ(session.stillPicture(), started.stillPicture());
    }
}

TEST(BmcFirmware, DumpModePrintsTheRevision)
{
    Workspace shown({.program = "mrvfirmware", .arguments = {"-debug"}});
    const Finished run = runPlain(shown);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "\n04.17\n");
    Workspace failing(
        {.program = "mrvfirmware", .arguments = {"-debug"}, .script = plugin("nowhere")});
    const Finished failed = runPlain(failing);
    EXPECT_EQ(failed.status, 0);
    EXPECT_EQ(failed.output, "\n");
    EXPECT_NE(failed.errors.find("the firmware revision can't be read"), std::string::npos);
}
