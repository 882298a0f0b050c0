// SPDX-License-Identifier: GPL-2.0-or-later
// The dialog toolkit: the boxes, the choosers, the field helpers.
#include "session.h"

namespace {

RunOptions toolkit(const char *piece, const char *title, const std::string &text,
                   const char *language = "en_US.UTF-8")
{
    return {.program = "toolkit",
            .language = language,
            .environment = {{"ESCDELAY", "20"},
                            {"TOOLKIT", piece},
                            {"TOOLKIT_TITLE", title ? title : "(unset)"},
                            {"TOOLKIT_TEXT", text}}};
}

// The keys do nothing, the button ends the box.
void expectOnlyItsButtonToEndIt(Session &session, const std::string &shown)
{
    session.see(shown);
    for (const std::string &key :
         {std::string("\x1b"), keys::ctrlA + keys::ctrlO + keys::f12 + "x"}) {
        session.send(key);
        EXPECT_TRUE(session.terminal().asksForKeyWithin(deadline));
        session.see(shown);
    }
    session.send(keys::enter);
    session.expectExit(1);
}

} // namespace

TEST(MessageBox, LooksLikeItsPicture)
{
    Session session(toolkit("msgWindow", "Error", "Something went wrong."));
    session.see("wrong");
    session.expectScreen("boxes/message");
    expectOnlyItsButtonToEndIt(session, "Something went wrong.");
}

// With the focus on the button, the beginning of the text is out of sight.
TEST(MessageBox, LetsItsTextTakeTheFocusWhileItHasToScroll)
{
    std::string text = "First words,";
    for (int i = 0; i < 20; ++i)
        text += " and more of them in a line of its own,";
    RunOptions options = toolkit("msgWindow", "Error", text + " and the last.");
    options.rows = 12;
    options.columns = 40;
    Session session(options);
    session.see("  ok  ");
    EXPECT_FALSE(session.terminal().contains("First words"));
    session.send(keys::tab);
    session.see("First words");
    EXPECT_FALSE(session.terminal().contains("  ok  "));
    session.send(keys::enter); // a text does nothing with it
    session.see("First words");
    session.send(keys::pageDown);
    session.seeNot("First words");
    EXPECT_FALSE(session.terminal().contains("the last"));
    session.send(keys::pageDown);
    session.see("the last");
    session.send(keys::up);
    session.send(keys::pageUp);
    session.seeNot("the last");
    EXPECT_FALSE(session.terminal().contains("First words"));
    session.send(keys::pageUp);
    session.see("First words");
    session.send(keys::tab);
    session.see("  ok  ");
    session.send(keys::tab);
    session.see("First words");
    session.terminal().resize(40, 40);
    session.see("  ok  ");
    session.see("First words");
    session.send(keys::enter); // the button has the focus, as the text needs none any more
    session.expectExit(1);
}

TEST(MessageBox, CanBeEmpty)
{
    Session session(toolkit("msgWindow", "Error", ""));
    session.see("ok");
    session.expectScreen("boxes/empty");
}

TEST(LongMessageBox, IsWrappedAt72Columns)
{
    // A height is worked out from the bytes: 71 give one line, 72 two, 144 three.
    for (const auto &[length, name] :
         {std::pair{71, "71"}, {72, "72"}, {143, "143"}, {144, "144"}}) {
        std::string text;
        while (text.size() < static_cast<size_t>(length))
            text += text.size() % 8 == 7 ? ' ' : 'a';
        Session session(toolkit("msgWindowEx", "Long", text));
        session.see("ok");
        session.expectScreen(std::string("boxes/long-") + name);
        session.send(keys::ctrlA + keys::f12 + keys::enter);
        session.expectExit(1);
    }
}

TEST(LongMessageBox, EndsItsLinesWhereItsTextDoes)
{
    std::string text = "first\n\nthird";
    text.resize(150, ' ');
    Session session(toolkit("msgWindowEx", "Long", text));
    session.see("│ third ");
    EXPECT_TRUE(session.terminal().contains("│ first "));
}

TEST(LongMessageBox, CanBeEmpty)
{
    Session session(toolkit("msgWindowEx", "Long", ""));
    session.see("ok");
    session.expectScreen("boxes/long-empty");
}

TEST(Question, LooksLikeItsPicture)
{
    for (const auto &[language, ok, name] :
         {std::tuple{"en_US.UTF-8", "OK", "en"}, {"ja_JP.UTF-8", "取り消し", "ja"}}) {
        Session session(toolkit("Message", "CPU module 1", "Shall it be?", language));
        session.see(ok);
        session.expectScreen(std::string("boxes/question-") + name);
    }
}

TEST(Question, AnswersOneForOkOnly)
{
    for (const auto &[keysSent, answer] : {std::pair{keys::enter, 1},
                                           {keys::tab + keys::enter, 0},
                                           {keys::ctrlA, 0},
                                           {keys::ctrlO, 0},
                                           {keys::f12 + keys::enter, 1}}) {
        Session session(toolkit("Message", "Title", "Shall it be?"));
        session.see("Cancel");
        session.send(keysSent);
        session.expectExit(1);
        EXPECT_EQ(session.trace("toolkit"),
                  std::vector<std::string>{"0 runProgram answer: " + std::to_string(answer)});
    }
}

TEST(Question, CutsALongTitle)
{
    const std::string whole(79, 't');
    for (const char *box : {"Message", "Success"})
        for (const std::string &title : {whole, whole + "u"}) {
            RunOptions options = toolkit(box, title.c_str(), "text");
            options.columns = 120;
            Session session(options);
            session.see("┤ " + whole + " ├");
        }
    // 27 characters of three bytes are 81: the last one does not fit as a whole.
    std::string japanese;
    for (int i = 0; i < 27; ++i)
        japanese += "あ";
    RunOptions options = toolkit("Message", japanese.c_str(), "text");
    options.columns = 120;
    Session session(options);
    session.see("┤ " + japanese.substr(0, 26 * 3) + " ├");
}

TEST(SuccessBox, LooksLikeItsPicture)
{
    Session session(toolkit("Success", "CPU module 1", ""));
    session.see("successful");
    session.expectScreen("boxes/success-en");
    expectOnlyItsButtonToEndIt(session, "successful");
    Session japanese(toolkit("Success", "CPU module 1", "", "ja_JP.UTF-8"));
    japanese.see("  閉じる  ");
    japanese.expectScreen("boxes/success-ja");
}

TEST(Chooser, LooksLikeItsPicture)
{
    Session session(toolkit("SelectFromButtons", "Choose", "Which one?"));
    session.see("Three");
    session.expectScreen("boxes/chooser");
}

TEST(Chooser, WithoutTextsHasBlanks)
{
    for (const char *piece : {"SelectFromButtons", "SelectFromButtonsEx"}) {
        RunOptions options = toolkit(piece, nullptr, "(unset)");
        Session session(options);
        session.see("Three");
        session.expectScreen("boxes/chooser-blank");
    }
}

TEST(Chooser, ShowsThreeLinesOfALongText)
{
    std::string text;
    for (int i = 1; i <= 40; ++i)
        text += "word" + std::to_string(i) + " ";
    Session session(toolkit("SelectFromButtonsEx", "Choose", text));
    session.see("Three");
    session.expectScreen("boxes/chooser-long");
}

TEST(Chooser, ReturnsWhatEndedIt)
{
    for (const char *piece : {"SelectFromButtons", "SelectFromButtonsEx"})
        for (const auto &[keysSent, chosen] : {std::pair{keys::enter, "One"},
                                               {keys::tab + keys::enter, "Two"},
                                               {keys::tab + keys::tab + keys::enter, "Three"},
                                               {keys::ctrlO, "null"},
                                               {keys::f12, "the form"},
                                               {keys::ctrlA + keys::enter, "One"}}) {
            Session session(toolkit(piece, "Choose", "Which one?"));
            session.see("Three");
            session.send(keysSent);
            session.expectExit(1);
            EXPECT_EQ(session.trace("toolkit").at(0), std::string("0 choose chosen: ") + chosen);
        }
}

TEST(Chooser, WithoutButtonsIsLeftByKeys)
{
    for (const char *count : {"0", "-3"}) {
        RunOptions options = toolkit("SelectFromButtons", "Choose", "None at all.");
        options.environment["TOOLKIT_COUNT"] = count;
        options.environment["YAT_SPY_MORE"] = "forms";
        options.environment["ASAN_OPTIONS"] = "verify_asan_link_order=0:detect_leaks=0";
        Session session(options);
        session.see("None at all.");
        EXPECT_EQ(session.calls("grid").at(0), "grid 1 = 1x2");
        session.send(keys::ctrlO);
        session.expectExit(1);
    }
}

// Nothing in it takes the focus.
TEST(Chooser, WithoutButtonsFollowsTheSize)
{
    RunOptions options = toolkit("SelectFromButtons", "Choose",
                                 "None at all, and nothing that could ever be chosen.");
    options.environment["TOOLKIT_COUNT"] = "0";
    options.environment["ASAN_OPTIONS"] = "verify_asan_link_order=0:detect_leaks=0";
    options.rows = 12;
    options.columns = 40;
    Session session(options);
    session.see("None at all, and nothing that");
    EXPECT_FALSE(session.terminal().contains("nothing that could ever be chosen."));
    session.terminal().resize(24, 80);
    session.see("None at all, and nothing that could ever be chosen.");
    session.send(keys::ctrlO);
    session.expectExit(1);
    EXPECT_EQ(session.trace("toolkit").at(0), "0 choose chosen: null");
}

TEST(Fields, AreGreyedOutByTheirCheckBox)
{
    Session session(toolkit("fields", nullptr, ""));
    session.see("Close");
    session.expectScreen("boxes/fields-on");
    session.send(keys::space); // entries off
    session.expectScreen("boxes/fields-entries-off");
    // The greyed entries take no focus: the next field is the third entry.
    session.send(keys::tab + "7" + keys::tab + keys::space); // boxes off
    session.expectScreen("boxes/fields-both-off");
    session.send(keys::space + keys::backTab + keys::backTab + keys::space);
    session.send(keys::tab + "1" + keys::tab + "2");
    for (int i = 0; i < 6; ++i)
        session.send(keys::tab);
    session.send(keys::enter);
    session.expectExit(1);
    EXPECT_EQ(session.trace("toolkit").at(0), "0 showFields entries: 1 2 7");
}

TEST(Fields, TakeNumbersAndEditingKeysOnly)
{
    Session session(toolkit("fields", nullptr, ""));
    session.see("Close");
    session.send(keys::tab + "1.2+a-3 " + keys::left + "4-" + keys::home + "5" + keys::end + "x6"
                 + "\x7f" + keys::home + "\x1b[3~");
    session.see("12-4-3");
    for (int i = 0; i < 7; ++i)
        session.send(keys::tab);
    session.send(keys::enter);
    session.expectExit(1);
    EXPECT_EQ(session.trace("toolkit").at(0), "0 showFields entries: 12-4-3  ");
}

TEST(Fields, FollowTheirControlRecordsAndNeverAnEmptyRange)
{
    Session session(toolkit("controls", nullptr, ""));
    session.expectExit(1);
    const std::vector<std::string> trace = session.trace("toolkit");
    ASSERT_EQ(trace.size(), 11u);
    EXPECT_EQ(trace[0], "0 tryControls zero: 1 1");
    // A blank greys them out, any other character lets them be used.
    const std::string states[] = {
        "32 from 1 to 0: 1 1", "32 from 0 to 0: 0 0", "32 from 0 to 0: 0 0", "120 from 0 to 0: 1 1",
        "32 from 0 to 0: 0 0", "0 from 0 to 0: 1 1",  "32 from 0 to 0: 0 0", "42 from 0 to 0: 1 1"};
    for (size_t i = 0; i < std::size(states); ++i)
        EXPECT_EQ(trace[i + 1], "0 operator() state " + states[i]);
    EXPECT_EQ(trace[9], "0 tryControls halves: 0 0"); // of a record, which control nothing
    EXPECT_EQ(trace[10], "0 tryControls keys: 45 48 49 50 51 52 53 54 55 56 57 32769 32770 32772 "
                         "32773 32774 32775 32776 32777");
}

TEST(NamelessDevice, HasATitleWithoutAName)
{
    for (const auto &[classCode, source, record] :
         {std::tuple{"2", "cpusubwin", "0 CpuSubWin datap->lpszTreeName=NULL"},
          {"3", "pcisubwin", "0 PciSubWin datap->lpszTreeName=NULL"},
          {"8", "scsiadapter", "0 ScsiAdapter datap->lpszTreeName = NULL"},
          {"13", "ethernet", "0 Ethernet datap->lpszTreeName=NULL"}}) {
        RunOptions options = toolkit("nameless", nullptr, "");
        options.rows = 40;
        options.environment["TOOLKIT_COUNT"] = classCode;
        options.environment["YAT_SPY_MORE"] = "screen";
        Session session(options);
        session.see("┤  --FT Server Utility ├");
        session.send(keys::enter); // clear
        session.see("Clear the MTBF count of this device?");
        session.send(keys::enter);
        session.see("The operation was successful.");
        session.send(keys::enter);
        session.seeNot("successful");
        session.send(keys::backTab + keys::enter);
        session.expectExit(1);
        EXPECT_EQ(session.trace(source).at(2), record);
        EXPECT_EQ(session.calls("newtGridWrappedWindow()").size(), 2u); // question and success
    }
}

TEST(UnknownDevice, HasTheNumberZero)
{
    RunOptions options = toolkit("nameless", nullptr, "");
    options.environment["TOOLKIT_COUNT"] = "0";
    Session session(options);
    session.see("┤  --FT Server Utility ├");
    EXPECT_EQ(session.trace("ethernet").at(1), "0 Ethernet number = 0 devName = 13");
}

TEST(ClassNames, ArePairedByPosition)
{
    Session session(toolkit("names", nullptr, ""));
    session.expectExit(1);
    EXPECT_EQ(session.trace("toolkit"),
              (std::vector<std::string>{"0 runProgram 1 LABEL_UNKNOWN_ID 128",
                                        "0 runProgram 20003 MAIN_TREE_GENERAL_ID 128",
                                        "0 runProgram 2 MAIN_TREE_CPUMODULE_ID 128",
                                        "0 runProgram 3 MAIN_TREE_PCIMODULE_ID 128",
                                        "0 runProgram 8 MAIN_TREE_SCSIADAPTER_ID 128",
                                        "0 runProgram 13 MAIN_TREE_ETHERNET_ID 128"}));
}

TEST(Revision, NeedsADestination)
{
    Session session(toolkit("noRevision", nullptr, ""));
    session.expectExit(1);
    EXPECT_EQ(session.trace("firmware"),
              (std::vector<std::string>{"0 Get_BMC_FWRevision >",
                                        "1 Get_BMC_FWRevision <[IN]param error.bmcrev is NULL."}));
    EXPECT_EQ(session.trace("toolkit"), std::vector<std::string>{"0 runProgram answer: 0"});
    EXPECT_TRUE(session.calls("LoadLibrary").empty());
}

TEST(AdapterUpdate, IsJapaneseOnAJapaneseSystem)
{
    Session session(toolkit("FMUpdate", nullptr, "", "ja_JP.UTF-8"));
    session.see("データファイルのパス:");
    session.expectScreen("boxes/adapter-update-ja");
    session.send(keys::tab + keys::enter);
    session.see("この装置のファームウェアは現在更新できません。");
    session.see("┤ Error ├");
}

TEST(AdapterUpdate, IsNeverSupported)
{
    RunOptions options = toolkit("FMUpdate", nullptr, "");
    options.environment["YAT_SPY_MORE"] = "texts";
    Session session(options);
    session.see("Close");
    EXPECT_EQ(session.calls("CPGetText(QUERYWIN"), Calls{"CPGetText(QUERYWIN_UPDATE_ID)"});
    session.expectScreen("boxes/adapter-update");
    session.send("mp/file" + keys::enter + keys::f12 + keys::ctrlA + "t"); // Home, in an entry
    session.see("tmp/file");
    session.send(keys::tab + keys::enter);
    session.see("The firmware of this device cannot be updated now.");
    session.send(keys::enter);
    session.seeNot("cannot be updated");
    session.send(keys::backTab + keys::ctrlA + "/");
    session.see("/tmp/file");
    session.send(keys::tab + keys::tab + keys::enter);
    session.expectExit(1);
    EXPECT_TRUE(session.calls("IfSupport").empty() && session.calls("BurnFirmware").empty());
    EXPECT_EQ(session.trace("fmupdate"),
              (std::vector<std::string>{"0 FMUpdate >", "0 FMUpdate <"}));
}

// Back in a window that is too low: no more of what stands above comes into sight than has to.
TEST(Fields, ScrollByOneWhereTheyStandOneBelowAnother)
{
    RunOptions options = toolkit("fields", "Title", "Text");
    options.rows = 12;
    Session session(options);
    session.see("Fields");
    for (int i = 0; i < 12; ++i)
        session.send(keys::tab);
    for (int i = 0; i < 9; ++i)
        session.send(keys::backTab);
    session.expectScreen("boxes/fields-scrolled");
}
