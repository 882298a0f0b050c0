// SPDX-License-Identifier: GPL-2.0-or-later
// What yatctl takes and prints: the command line, the layout of its JSON, hostile names, outputs
// that can't be written, terminals.
#include "ctl.h"

#include <fcntl.h>
#include <regex>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

class Output : public testing::Test {
protected:
    Sandbox sandbox;
};

// Whether there is a byte that terminals which do not take UTF-8 obey.
bool hasC1(const std::string &text)
{
    return std::ranges::any_of(text, [](signed char byte) { return byte < -96; });
}

} // namespace

// ---- The command line

TEST_F(Output, OfAWrongCommandLineIsUsage)
{
    for (const char *arguments : {"",
                                  "nonsense",
                                  "--nonsense",
                                  "list extra",
                                  "show",
                                  "show \"\"",
                                  "start",
                                  "stop --json",
                                  "set-type cpu1",
                                  "set-type cpu1 3",
                                  "update cpu1",
                                  "update cpu1 burn",
                                  "start cpu1 --wait=0",
                                  "start cpu1 --wait=x",
                                  "start cpu1 --wait=nan",
                                  "start cpu1 --wait=1e3",
                                  "start cpu1 --wait=0x10",
                                  "watch --interval nan",
                                  "watch --interval 1e1",
                                  "watch --interval .",
                                  "clear cpu1 --wait",
                                  "watch --interval 0",
                                  "settings nonsense",
                                  "settings automatic_module_start=2",
                                  "--json",
                                  "watch --interval 0 --json",
                                  "metrics --json"}) {
        const Finished result = yatctl(arguments);
        EXPECT_EQ(result.status, 2) << arguments;
        EXPECT_TRUE(result.errors.starts_with("yatctl: ")) << arguments;
        EXPECT_EQ(linesOf(result.errors).size(), 1u) << result.errors;
        if (!std::string_view(arguments).ends_with("--json")) {
            EXPECT_EQ(result.output, "") << arguments;
            continue;
        }
        const Json told = Json::parse(result.output);
        EXPECT_EQ(told["error"]["status"], 2) << arguments;
        EXPECT_EQ("yatctl: " + told["error"]["message"].get<std::string>() + "\n", result.errors);
    }
    EXPECT_EQ(yatctl("show -- --json").output, ""); // a device of that name
    expectFailure("stop cpu1 --nonsense", 2,
                  "The following argument was not expected: --nonsense; 'yatctl stop --help' says "
                  "more");
    expectFailure("\"show\" \"\xff\"", 2,
                  "'\xEF\xBF\xBD' is not in the encoding of the locale, UTF-8");
}

TEST_F(Output, OfVersionAndHelpSucceeds)
{
    EXPECT_TRUE(does("--version").starts_with("yatctl of mrvutil "));
    const std::string help = does("--help"), page = readFile(fs::path(SOURCES) / "man/yatctl.1");
    for (const char *command : {"list", "show", "start", "stop", "clear", "set-type", "update",
                                "settings", "bmc", "watch", "metrics"}) {
        EXPECT_NE(help.find(std::string("\n  ") + command + " "), std::string::npos) << command;
        EXPECT_TRUE(
            std::regex_search(page, std::regex(std::string("\n\\.It .*Cm ") + command + "[ \n]")))
            << command;
        std::istringstream own(does(std::string(command) + " --help"));
        for (std::string word; own >> word;)
            if (const size_t at = word.find("--"); at != std::string::npos) {
                const std::string option = word.substr(at + 2, word.find('[') - at - 2);
                EXPECT_NE(page.find("Fl -" + option), std::string::npos) << word;
            }
    }
    EXPECT_NE(does("stop --help").find("--wait[=SECONDS]"), std::string::npos);
}

// ---- JSON

TEST_F(Output, AsJsonFollowsItsSchema)
{
    sandbox.set("YAT_TIME_SCALE", "1000");
    steer("fail eth1");
    steer("set time +100000");
    steer("fail eth1");
    const char *const commands[] = {
        "list --json",
        "show cpu1 --json",
        "settings --json",
        "bmc --json",
        "stop cpu1 --check --json",
        "stop cpu2 --yes --json",
        "start pci1 --yes --json",
        "show cpu9 --json",
        "settings nonsense --json",
        "nonsense --json",
    };
    std::vector<std::string> texts;
    for (const char *command : commands)
        texts.push_back(yatctl(command).output);
    sandbox.set("YAT_MACHINE", "PLAIN");
    texts.push_back(yatctl("list --json").output);
    steer("inject GetDeviceFacts 0 --times 0");
    texts.push_back(yatctl("list --json").output);
    texts.push_back(yatctl("stop cpu1 --yes --json").output);
    const Finished valid = checkedBySchema(texts);
    EXPECT_EQ(valid.status, 0) << valid.errors << valid.output;
    EXPECT_NE(checkedBySchema({"{\"format\": 1, \"devices\": [{}]}"}).status, 0);
}

TEST_F(Output, AsJsonHasTheErrorAsWell)
{
    const Finished result = yatctl("start cpu1 --yes --json");
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.errors, "yatctl: start cpu1: the module is not stopped\n");
    EXPECT_EQ(Json::parse(result.output)["error"],
              (Json{{"status", 3}, {"message", "start cpu1: the module is not stopped"}}));
}

// ---- Texts

class WideNames : public Output {
protected:
    WideNames()
    {
        writeFile(sandbox.directory() / "wide.toml",
                  shipped("CEDAR", "name = \"CPU module 1\"", "name = \"計算モジュール一号機\""));
        sandbox.set("YAT_MACHINE", (sandbox.directory() / "wide.toml").string());
    }
};

TEST_F(WideNames, AreAlignedByColumns)
{
    sandbox.set("LC_ALL", "ja_JP.UTF-8");
    const std::vector<std::string> lines = linesOf(does("list"));
    ASSERT_EQ(lines.size(), 12u);
    EXPECT_EQ(lines[1], "cpu1       計算モジュール一号機  稼働中(二重化)   0         -");
    EXPECT_EQ(lines[2], "cpu2       CPU module 2          稼働中(二重化)   0         -");
}

// What the locale can't show, programs get whole.
TEST_F(WideNames, ReachProgramsInAnyLocale)
{
    sandbox.set("LOCPATH", LOCALES);
    const char *const euc = "ja_JP.EUC-JP";
    for (const char *locale : {"C", "POSIX", "en_US.ISO-8859-1", "C.UTF-8", euc}) {
        sandbox.set("LC_ALL", locale);
        const std::string list = does("list --json");
        const Json device = Json::parse(list)["devices"][0];
        EXPECT_EQ(hasC1(list), locale == std::string("C.UTF-8")) << locale;
        EXPECT_EQ(hasC1(atTerminal("metrics", "").output), locale == std::string("C.UTF-8"))
            << locale;
        EXPECT_EQ(device["name"], "計算モジュール一号機") << locale;
        EXPECT_EQ(device["state_text"], locale == euc ? "稼働中(二重化)" : "Running, duplex");
        EXPECT_NE(does("metrics").find("name=\"計算モジュール一号機\""), std::string::npos)
            << locale;
    }
    // For characters the locale of characters is enough.
    for (const auto &[name, locale] :
         {std::pair{"LC_ALL", ""}, {"LC_CTYPE", euc}, {"LC_TIME", "xx_YY"}})
        sandbox.set(name, locale);
    EXPECT_NE(does("list").find("\xB7\xD7\xBB\xBB\xA5\xE2"), std::string::npos);
    EXPECT_EQ(Json::parse(does("show --json \xB7\xD7\xBB\xBB\xA5\xE2\xA5\xB8\xA5\xE5\xA1\xBC"
                               "\xA5\xEB\xB0\xEC\xB9\xE6\xB5\xA1"))["devices"][0]["device"],
              "cpu1");
    sandbox.set("LC_ALL", "C");
    EXPECT_TRUE(linesOf(does("list")).at(1).starts_with("cpu1       ?????????? ")) << does("list");
}

// ---- Outputs and terminals

TEST_F(Output, AsJsonEscapesWhatIsNotToBeShown)
{
    const Finished result = yatctl("show --json \u009b31m\u202e");
    EXPECT_EQ(result.status, 4);
    EXPECT_NE(result.output.find("\\u009B31m\\u202E"), std::string::npos) << result.output;
    EXPECT_EQ(result.output.find("\u009b"), std::string::npos);
}

TEST_F(Output, ThatCantBeWrittenIsAFailure)
{
    sandbox.set("YAT_TIME_SCALE", "1000");
    for (const char *arguments :
         {"list", "list --json", "show cpu1", "settings", "bmc", "metrics", "stop cpu1 --check",
          "clear cpu1 --yes --json", "set-type cpu1 1 --yes --json",
          "settings automatic_module_start=on --yes --json", "--help", "--version"}) {
        const Finished full =
            run(commandOf(YATCTL, arguments), {.environment = {}, .prepare = [] {
                                                   dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO);
                                               }});
        EXPECT_EQ(full.status, 1) << arguments;
        EXPECT_EQ(full.errors,
                  "yatctl: standard output can't be written: No space left on device\n")
            << arguments;
        const Finished closed = run(commandOf(YATCTL, arguments),
                                    {.environment = {}, .prepare = [] { close(STDOUT_FILENO); }});
        EXPECT_EQ(closed.status, 1) << arguments;
    }
}

// What was ordered is done all the same.
TEST_F(Output, ThatCantBeWrittenStopsNoOperation)
{
    sandbox.set("YAT_TIME_SCALE", "1000");
    const std::function<void()> full = [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); };
    const std::function<void()> closed = [] { close(STDOUT_FILENO); };
    for (const auto &prepare : {full, closed}) {
        for (const auto &[arguments, state] :
             {std::pair{"stop cpu2", "stopped"}, std::pair{"update cpu2 copy", "stopped"},
              std::pair{"start cpu2", "running"}}) {
            const Finished result =
                run(commandOf(YATCTL, std::string(arguments) + " --yes --wait --json"),
                    {.environment = {}, .prepare = prepare});
            EXPECT_EQ(result.status, 1) << arguments;
            EXPECT_TRUE(result.errors.starts_with("yatctl: standard output can't be written: "))
                << result.errors;
            EXPECT_EQ(shows("cpu2")["state"], state) << arguments;
        }
    }
}

TEST_F(Output, AsksAtATerminalBeforeItChangesAnything)
{
    const Finished no = atTerminal("stop cpu1", "n\n");
    EXPECT_EQ(no.status, 1);
    EXPECT_NE(no.output.find("Stop CPU module 1 (cpu1)? [y/N] "), std::string::npos) << no.output;
    EXPECT_NE(no.output.find("yatctl: not confirmed; nothing was done"), std::string::npos);
    EXPECT_EQ(atTerminal("stop cpu1", "\n").status, 1);
    for (const char *answer : {"\x04", "yno\n", "yep\n", "ye\n", " y\n", "はい\n", "y\x04\x04"})
        EXPECT_EQ(atTerminal("stop cpu1", answer).status, 1) << answer;
    EXPECT_EQ(shows("cpu1")["state"], "running");
    EXPECT_EQ(atTerminal("settings automatic_module_start=on", "n\n").status, 1);
    EXPECT_EQ(atTerminal("stop cpu1", "y\n").status, 0);
    EXPECT_EQ(shows("cpu1")["state"], "stopping");
    EXPECT_EQ(atTerminal("clear cpu1", "Yes\n").status, 0);
}

TEST_F(Output, NeedsYesWithoutATerminal)
{
    for (const char *arguments : {"stop cpu1", "settings automatic_module_start=on", "clear cpu1"})
        expectFailure(arguments, 2,
                      "there is no terminal to ask on; use --yes to do it without asking");
    EXPECT_EQ(shows("cpu1")["state"], "running");
}

TEST_F(Output, ShowsProgressAtATerminalOnly)
{
    sandbox.set("YAT_TIME_SCALE", "20"); // half a second
    const Finished seen = atTerminal("stop cpu1 --yes --wait", "");
    EXPECT_EQ(seen.status, 0);
    EXPECT_NE(seen.output.find("\rcpu1: Stopping "), std::string::npos) << seen.output;
    EXPECT_TRUE(seen.output.ends_with("\r\x1b[K")) << seen.output;
    EXPECT_EQ(does("start cpu1 --yes --wait"), "");
}
