// SPDX-License-Identifier: GPL-2.0-or-later
// What bash offers while a command line of yatctl is typed.
#include "ctl.h"

namespace {

class Completion : public testing::Test {
protected:
    // The words that may stand at the end of these. As bash does, "=" has been made a word.
    std::string of(const std::string &words)
    {
        const std::string script =
            "cd \"$1\" && . \"$2\" && eval \"COMP_WORDS=(./yatctl $3)\" && "
            "COMP_CWORD=$((${#COMP_WORDS[@]} - 1)) && _yatctl; echo \"${COMPREPLY[@]}\"";
        const Finished result = run({"/bin/bash", "-c", script, "bash", place.path.string(),
                                     SOURCES "/data/yatctl.bash", words});
        EXPECT_EQ(result.errors, "") << words;
        return result.output.substr(0, result.output.find('\n'));
    }

    Completion()
    {
        std::filesystem::create_symlink(YATCTL, place.path / "yatctl");
        writeFile(place.path / "a file", "");
    }

    Sandbox sandbox;
    TemporaryDirectory place;
};

} // namespace

TEST_F(Completion, KnowsCommandsDevicesAndArguments)
{
    EXPECT_EQ(of("set"), "set-type settings");
    EXPECT_EQ(of("show eth"), "ethernet1 ethernet2 ethernet3 ethernet4");
    EXPECT_EQ(of("update cpu1 c"), "copy");
    EXPECT_EQ(of("set-type cpu1 ''"), "0 1 2");
    EXPECT_EQ(of("list ''"), "--json --help");
    EXPECT_EQ(of("show cpu1 ''"), "--json --help");
}

TEST_F(Completion, KnowsThemAfterOptions)
{
    EXPECT_EQ(of("stop --yes c"), "cpu1 cpu2");
    EXPECT_EQ(of("stop --yes --wait = 30 c"), "cpu1 cpu2");
    EXPECT_EQ(of("update --json cpu1 --check ''"), "copy file");
    EXPECT_EQ(of("start cpu1 --w"), "--wait");
    EXPECT_EQ(of("list --j"), "--json");
    EXPECT_EQ(of("watch --interval 2 ''"), "--json --interval --help");
    EXPECT_EQ(of("watch --interval ''"), "");
    EXPECT_EQ(of("start cpu1 --wait ="), "");
}

TEST_F(Completion, KnowsFilesAndSettings)
{
    EXPECT_EQ(of("metrics --output 'a f'"), "a file");
    EXPECT_EQ(of("metrics --output nosuch"), "");
    EXPECT_EQ(of("settings ''"), "automatic_firmware_update= automatic_module_start=");
    EXPECT_EQ(of("settings automatic_m"), "automatic_module_start=");
    EXPECT_EQ(of("settings automatic_module_start ="), "on off");
    EXPECT_EQ(of("settings automatic_module_start = of"), "off");
    EXPECT_EQ(of("settings automatic_module_start = on automatic_f"), "automatic_firmware_update=");
    EXPECT_EQ(of("settings --y"), "--yes");
}
