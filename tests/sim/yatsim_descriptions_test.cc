// SPDX-License-Identifier: GPL-2.0-or-later
// Descriptions that yatsim prints and makes machines from.
#include "yatsim.h"

#include <map>

TEST_F(Yatsim, ExportAsJsonHasTheKeysOfTheDescription)
{
    const Json description = asJson("export");
    EXPECT_EQ(description.at("name"), "CEDAR demonstration server");
    EXPECT_EQ(description.at("type"), "CEDAR");
    EXPECT_EQ(description.at("bmc").at("response"), (Json{0, 32, 1, 4, 23, 2}));
    EXPECT_EQ(description.at("firmware").at("data_file"), "4.1.0072");
    EXPECT_EQ(description.at("timing").at("synchronise"), 40.0);
    EXPECT_EQ(description.at("cpu_module")[1].at("partner"), 1);
    EXPECT_EQ(description.at("pci_module")[1].at("adapter")[2].at("path"), (Json{11, 3}));
    EXPECT_EQ(description.at("pci_module")[2].at("state"), "empty");
}

TEST_F(Yatsim, ImportOfAWrongDescriptionChangesNothing)
{
    steer("pull cpu1");
    const std::string before = steer("export");
    const std::string missing = (sandbox.directory() / "missing.toml").string();
    expectRefusal("import " + missing, missing + " can't be read: No such file or directory");
    const std::string directory = sandbox.directory().string();
    expectRefusal("import " + directory, directory + " can't be read: Is a directory");
    const std::string wrong =
        write("wrong.toml", shipped("CEDAR", "threshold = 24", "threshold = \"often\""));
    const auto result = yatsim("import " + wrong);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.errors.starts_with("yatsim: " + wrong + ":"));
    EXPECT_TRUE(result.errors.ends_with(
        ": wrong value for 'threshold', expected a number from 0 to 876000\n"))
        << result.errors;
    EXPECT_EQ(steer("export"), before);
    const Json rows = Json::parse(steer("journal --json"));
    ASSERT_EQ(rows.size(), 5u); // all of them were asked for
    for (const auto &[row, file] :
         std::map<size_t, std::string>{{2, missing}, {3, directory}, {4, wrong}}) {
        EXPECT_EQ(rows[row]["operation"], "import");
        EXPECT_EQ(rows[row]["argument"], file);
        EXPECT_TRUE(rows[row]["result"].get<std::string>().starts_with("refused: " + file));
    }
}

// A file has the name that its bytes are.
TEST_F(Yatsim, ImportsFilesOfAnyName)
{
    const std::string file = write("\xe6\xa9\x9f\xe6\xa2\xb0\xff.toml", shipped("CEDAR"));
    for (const char *locale : {"C.UTF-8", "C", "ja_JP.EUC-JP", "xx_YY.UTF-8"}) {
        sandbox.set("LC_ALL", locale);
        const auto result = yatsim("import " + file);
        EXPECT_EQ(result.status, 0) << result.errors;
        asJson("journal");
        EXPECT_EQ(yatsim("import " + file + "x").status, 1);
    }
    sandbox.set("LC_ALL", "xx_YY.UTF-8"); // not on this machine: UTF-8 all the same
    steer("set cpu1.bios_status \xe3\x81\x82");
    EXPECT_NE(steer("show cpu1").find("\xe3\x81\x82"), std::string::npos);
}

// However its path is written.
TEST_F(Yatsim, KnowsAMachineByItsDescription)
{
    const std::string file = write("own.toml", shipped("CEDAR"));
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(sandbox.directory());
    steer("--machine ./own.toml init");
    EXPECT_EQ(asJson("--machine " + file + " journal").size(), 1u);
    EXPECT_EQ(
        asJson("--machine ./../" + sandbox.directory().filename().string() + "/own.toml journal")
            .size(),
        1u);
    EXPECT_EQ(asJson("--machine ./own.toml journal")[0].at("argument"), file);
    std::filesystem::current_path(before);
}

TEST_F(Yatsim, ProposesASlashForADescriptionWithoutOne)
{
    write("own.toml", shipped("ALDER"));
    write("own", shipped("ALDER"));
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(sandbox.directory());
    for (const std::string name : {"own.toml", "own", "not-here.toml"})
        expectRefusal("--machine " + name + " list",
                      "there is no machine '" + name
                          + "' in data/machines; for the file of that name, write './" + name
                          + "'");
    write("ALDER", "");
    steer("--machine ALDER list");
    std::filesystem::copy_file(sandbox.directory() / "machines/ALDER.db",
                               sandbox.directory() / "machines/NIX.db");
    steer("--machine NIX list"); // the state is enough
    std::filesystem::current_path(before);
}
