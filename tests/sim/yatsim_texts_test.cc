// SPDX-License-Identifier: GPL-2.0-or-later
// Texts that somebody else wrote, and the encoding of the locale.
#include "yatsim.h"

TEST_F(Yatsim, PrintsValidJsonWhateverItWasGiven)
{
    const std::string strange = "\"a\x01\x1b[3m\xe3\x81\x82 \\\"";
    steer("set data_file " + strange);
    steer("inject StatusChange 1 --text " + strange);
    steer("set cpu1.bios_version " + strange);
    for (const char *arguments : {"show", "show cpu1", "list", "journal", "export"}) {
        const Json json = asJson(arguments);
        EXPECT_NE(json.dump().find("\xe3\x81\x82"), std::string::npos) << arguments;
    }
    for (const char *arguments : {"show", "show cpu1", "list", "journal"})
        EXPECT_EQ(steer(arguments).find('\x1b'), std::string::npos) << arguments;
    EXPECT_EQ(yatsim("fail " + strange).errors.find('\x1b'), std::string::npos);
}

// It would be another text in the state.
TEST_F(Yatsim, RefusesWhatIsNotInTheEncodingOfTheLocale)
{
    steer("init");
    expectRefusal("set data_file \"a\xff\"",
                  "'a\xef\xbf\xbd' is not in the encoding of the locale, "
                  "UTF-8");
    expectRefusal("inject StatusChange 1 --text \"\xff\"",
                  "'\xef\xbf\xbd' is not in the encoding of the locale, UTF-8");
    sandbox.set("LC_ALL", "C");
    expectRefusal("set cpu1.bios_status \xe3\x81\x82",
                  "'?"
                  "?"
                  "?' is not in the encoding of the locale, ANSI_X3.4-1968");
    EXPECT_EQ(Json::parse(steer("journal --json")).size(), 1u);
}

TEST_F(Yatsim, KeepsTheJournalReadableBesideALongArgument)
{
    steer("fail cpu1");
    const std::string before = steer("journal");
    const std::string value(900, 'x');
    steer("set data_file " + value);
    const std::string after = steer("journal");
    EXPECT_TRUE(after.starts_with(before)) << after;
    EXPECT_NE(after.find("data_file=" + value + "  done"), std::string::npos);
}

TEST_F(Yatsim, PrintsInTheEncodingOfTheLocale)
{
    steer("set cpu1.bios_status \xe3\x81\x82😀");
    const Json whole = asJson("export");
    sandbox.set("LC_ALL", "C");
    for (const char *arguments : {"show cpu1", "show cpu1 --json", "export"})
        for (const char byte : steer(arguments))
            EXPECT_TRUE(static_cast<unsigned char>(byte) < 0x80) << arguments;
    EXPECT_EQ(asJson("export"), whole);
    steer("import " + write("exported.toml", steer("export")));
    EXPECT_EQ(asJson("export"), whole);
}
