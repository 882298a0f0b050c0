// SPDX-License-Identifier: GPL-2.0-or-later
// mrvutil in one terminal and yatsim in another one, at the same simulated machine. Its clock
// stands still in both, so that each state can be looked at; yatsim lets the time pass.
#include "navigation.h"

#include <cstdlib>

namespace {

// Where the buttons stand in the windows of a CEDAR.
namespace cpu {
constexpr int clear = 0, stop = 5, start = 6, refresh = 14;
}
namespace pci {
constexpr int refresh = 8;
}

struct Texts {
    const char *language, *locale;
    const char *exit;
    const char *startQuestion, *stopQuestion, *clearQuestion, *successful;
    const char *noStart, *stopFailed;
    const char *duplex, *simplex, *empty, *stopped, *broken;
    const char *starting0, *starting25, *synchronising50;
};

const Texts english = {"en",
                       "en_US.UTF-8",
                       "Exit",
                       "Start this CPU module?",
                       "Stop this CPU module?",
                       "Clear the MTBF count of this device?",
                       "The operation was successful.",
                       "This device cannot be started now.",
                       "The device could not be stopped.",
                       "Running, duplex",
                       "Running, simplex",
                       "Not installed",
                       "Stopped",
                       "Broken",
                       "Starting 0 %",
                       "Starting 25 %",
                       "Synchronising 50 %"};

const Texts japanese = {"ja",
                        "ja_JP.UTF-8",
                        "終了",
                        "CPUモジュールを起動します。よろしいですか?",
                        "CPUモジュールを停止します。よろしいですか?",
                        "MTBF値をクリアします。よろしいですか?",
                        "正常に終了しました。",
                        "この装置は起動できません。",
                        "装置を停止できませんでした。",
                        "稼働中(二重化)",
                        "稼働中(単独)",
                        "未搭載",
                        "停止中",
                        "故障",
                        "起動中 0%",
                        "起動中 25%",
                        "同期中 50%"};

class SideBySide : public testing::TestWithParam<const Texts *> {
protected:
    const Texts &texts = *GetParam();
    const TemporaryDirectory directory;
    const std::filesystem::path &state = directory.path;

    // Runs yatsim in the other terminal. What it printed there.
    std::string yatsim(const std::vector<std::string> &arguments)
    {
        Session other({.program = "yatsim",
                       .arguments = arguments,
                       .language = texts.locale,
                       .columns = 160,
                       .environment = {{"LD_PRELOAD", "(unset)"}}, // there is nothing to spy on
                       .state = state.string()});
        other.expectExit(0);
        return other.terminal().output();
    }

    // A window of mrvutil, in its terminal.
    struct Window {
        Session session;
        const Texts &texts;
        int focus = 0; // its button

        Window(const SideBySide &test, const Device &device)
            : session({.language = test.texts.locale, .state = test.state.string()}),
              texts(test.texts)
        {
            session.see(texts.exit);
            session.send(device.path + keys::enter);
            session.see(std::string("┤ ") + device.name);
        }

        void press(int button)
        {
            std::string way;
            for (; focus < button; ++focus)
                way += keys::tab;
            for (; focus > button; --focus)
                way += keys::backTab;
            session.send(way + keys::enter);
        }

        // Presses a button, says yes to its question, and expects to be told this.
        void ask(int button, const char *question, const char *answer)
        {
            press(button);
            session.see(question);
            session.send(keys::enter);
            session.see(answer);
        }

        void leaveBox(const char *text)
        {
            session.send(keys::enter);
            session.seeNot(text);
        }

        // Carries an operation out.
        void carryOut(int button, const char *question)
        {
            ask(button, question, texts.successful);
            leaveBox(texts.successful);
        }

        bool shows(const char *text)
        {
            session.terminal().waitUntilIdle();
            return session.terminal().contains(text);
        }
    };
};

std::string picture(const char *name, const Texts &texts)
{
    return std::string("sidebyside/") + name + "-" + texts.language;
}

} // namespace

TEST_P(SideBySide, RefreshShowsAModuleThatIsPulledAndInserted)
{
    Window window(*this, pciModule);
    window.session.see(texts.duplex);
    yatsim({"pull", "pci1"});
    EXPECT_TRUE(window.shows(texts.duplex)); // nothing is read until it is asked for
    window.press(pci::refresh);
    window.session.see(texts.empty);
    EXPECT_FALSE(window.shows(texts.duplex));
    window.session.expectScreen(picture("pulled", texts));
    yatsim({"insert", "pci1"});
    window.press(pci::refresh);
    window.session.see(texts.stopped);
    window.session.expectScreen(picture("inserted", texts));
}

TEST_P(SideBySide, TheOtherModuleGoesOnAlone)
{
    yatsim({"pull", "cpu2"});
    Window window(*this, cpuModule);
    window.session.see(texts.simplex);
}

TEST_P(SideBySide, RefreshShowsHowFarAStartHasGot)
{
    yatsim({"pull", "cpu1"});
    yatsim({"insert", "cpu1"});
    Window window(*this, cpuModule);
    window.session.see(texts.stopped);
    window.carryOut(cpu::start, texts.startQuestion);
    EXPECT_TRUE(window.shows(texts.stopped));
    EXPECT_NE(yatsim({"list"}).find("cpu1       CPU module 1        Starting 0 %"),
              std::string::npos);
    const std::pair<const char *, const char *> steps[] = {{"+0", texts.starting0},
                                                           {"+5", texts.starting25},
                                                           {"+35", texts.synchronising50},
                                                           {"+20", texts.duplex}};
    for (const auto &[time, text] : steps) {
        yatsim({"set", "time", time});
        window.press(cpu::refresh);
        window.session.see(text);
        if (text == texts.synchronising50)
            window.session.expectScreen(picture("synchronising", texts));
    }
}

TEST_P(SideBySide, ClearingTheMtbfCountLetsABrokenModuleStartAgain)
{
    yatsim({"set", "cpu1.mtbf_type", "0"});
    yatsim({"fail", "cpu1"});
    Window window(*this, cpuModule);
    window.session.see(texts.broken);
    window.ask(cpu::start, texts.startQuestion, texts.noStart);
    window.leaveBox(texts.noStart);
    window.carryOut(cpu::clear, texts.clearQuestion);
    EXPECT_NE(yatsim({"show", "cpu1"}).find("Failures      0"), std::string::npos);
    window.press(cpu::refresh);
    window.session.see(texts.stopped);
    window.carryOut(cpu::start, texts.startQuestion);
    window.press(cpu::refresh);
    window.session.see(texts.starting0);
}

TEST_P(SideBySide, AnInjectedFailureIsToldInTheBoxOfTheOperation)
{
    Window window(*this, cpuModule);
    yatsim({"inject", "InitBringDown", "0"});
    window.ask(cpu::stop, texts.stopQuestion, texts.stopFailed);
    window.session.expectScreen(picture("injected", texts));
    window.leaveBox(texts.stopFailed);
    window.press(cpu::refresh);
    window.session.see(texts.duplex);
    EXPECT_NE(yatsim({"show", "cpu1"}).find("Running, duplex"), std::string::npos);
    window.carryOut(cpu::stop, texts.stopQuestion); // it was for once
    EXPECT_NE(yatsim({"show", "cpu1"}).find("Stopping 0 %"), std::string::npos);
}

TEST_P(SideBySide, TheJournalTellsTheTerminals)
{
    Window window(*this, cpuModule);
    window.carryOut(cpu::stop, texts.stopQuestion);
    yatsim({"insert", "pci3"});
    const std::vector<std::string> lines = linesOf(yatsim({"journal", "--last", "2"}));
    ASSERT_EQ(lines.size(), 3u);
    std::string terminals[2];
    const char *const operations[] = {"InitBringDown", "insert"};
    for (size_t i = 0; i < 2; ++i) {
        const size_t at = lines[i + 1].find("/dev/pts/");
        ASSERT_NE(at, std::string::npos) << lines[i + 1];
        terminals[i] = lines[i + 1].substr(at, lines[i + 1].find(' ', at) - at);
        EXPECT_NE(lines[i + 1].find(operations[i]), std::string::npos) << lines[i + 1];
    }
    EXPECT_NE(terminals[0], terminals[1]);
}

INSTANTIATE_TEST_SUITE_P(Screen, SideBySide, testing::Values(&english, &japanese),
                         [](const auto &info) { return std::string(info.param->language); });
