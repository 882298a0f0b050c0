// SPDX-License-Identifier: GPL-2.0-or-later
// yatctl administers a played server.
#include "productroot.h"
#include "server.h"
#include "support/process.h"

#include <climits>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/inotify.h>
#include <unistd.h>

namespace {

using Json = nlohmann::json;

class Scripts : public testing::Test {
protected:
    Scripts()
    {
        for (int number = 0; number < 4; ++number)
            server.addProcessor(number, number / 2, number != 0);
        const std::string function = server.addFunction("0000:01:00.0", ethernet, "e1000e");
        server.write(server.addInterface(function, "ens3") + "/ifindex", "77777\n");
        server.write("/sys/class/dmi/id/bios_version", "1.2.3\n");
    }

    Finished yatctl(const std::string &arguments) const
    {
        return run(commandOf(PROGRAMS "/yatctl", arguments),
                   {.environment = {{{"PATH", "/usr/bin:/bin"},
                                     {"LC_ALL", "C.UTF-8"},
                                     {"LD_LIBRARY_PATH", root.library().string()},
                                     {"LD_PRELOAD", UMOCKDEV},
                                     {"NLCB", "debug"}, // which libnl would print by
                                     {"NLDBG", "9"},
                                     {"NLSYSCONFDIR", state.path.string()},
                                     {"UMOCKDEV_DIR", server.directory.path.string()},
                                     {"YAT_MACHINE", "hardware"},
                                     {"YAT_STATE_DIR", state.path.string()}}}});
    }

    Json shows(const std::string &device) const
    {
        return Json::parse(yatctl("show --json " + device).output).at("devices").at(0);
    }

    const Server server;
    const ProductRoot root;
    const TemporaryDirectory state;
};

} // namespace

TEST_F(Scripts, SeeTheServer)
{
    const Finished list = yatctl("list --json");
    ASSERT_EQ(list.status, 0) << list.errors;
    const Json json = Json::parse(list.output);
    EXPECT_EQ(json["machine"]["type"], "ALDER");
    std::string devices;
    for (const Json &device : json["devices"])
        devices += device["device"].get<std::string>() + " ";
    EXPECT_EQ(devices, "cpu1 cpu2 pci1 ethernet1 ");
    EXPECT_EQ(shows("cpu2")["state"], "running");
    EXPECT_EQ(shows("cpu1")["bios_version"], "1.2.3");
    const Finished metrics = yatctl("metrics");
    ASSERT_EQ(metrics.status, 0) << metrics.errors;
    EXPECT_NE(metrics.output.find("\nyat_device_state{device=\"cpu2\",state=\"running\"} 1\n"),
              std::string::npos)
        << metrics.output;
}

TEST_F(Scripts, HaveNoLibraryReadWhereAVariableSays)
{
    const std::string file = state.path / "classid";
    writeFile(file, "");
    const int notices = inotify_init1(IN_NONBLOCK);
    EXPECT_GE(inotify_add_watch(notices, file.c_str(), IN_OPEN), 0);
    EXPECT_EQ(yatctl("list").status, 0);
    char notice[sizeof(inotify_event) + NAME_MAX + 1];
    EXPECT_LT(read(notices, notice, sizeof notice), 0);
    close(notices);
}

TEST_F(Scripts, AreRefusedWhatTheConfigurationDoesNotAllow)
{
    const Finished refused = yatctl("stop cpu2 --yes");
    EXPECT_EQ(refused.status, 3);
    EXPECT_EQ(refused.errors, "yatctl: stop cpu2: yatkit.toml does not allow operations\n");
    EXPECT_EQ(shows("cpu2")["state"], "running");
}

TEST_F(Scripts, AskForTheUseOfASlotWithoutAWordOfLibraries)
{
    writeFile(root.directory.path / "etc/yatkit.toml", "operations = true\n");
    server.addSlot("1", "0000:01:00", true, true);
    const Finished allowed = yatctl("stop pci1 --check");
    EXPECT_EQ(allowed.status, 0);
    EXPECT_EQ(allowed.errors, "");
}

TEST_F(Scripts, StopAndStartAPackage)
{
    writeFile(root.directory.path / "etc/yatkit.toml", "operations = true\n");
    const Finished stopped = yatctl("stop cpu2 --yes --wait=10 --json");
    ASSERT_EQ(stopped.status, 0) << stopped.errors;
    EXPECT_EQ(Json::parse(stopped.output)["devices"][0]["state"], "stopped");
    EXPECT_EQ(server.read("/sys/devices/system/cpu/cpu3/online"), "0\n");
    EXPECT_EQ(yatctl("stop cpu1 --check").status, 3);
    ASSERT_EQ(yatctl("start cpu2 --yes --wait=10").status, 0);
    EXPECT_EQ(server.read("/sys/devices/system/cpu/cpu3/online"), "1\n");
}
