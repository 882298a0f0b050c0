// SPDX-License-Identifier: GPL-2.0-or-later
// mrvutil administers a played server: keys in, cells out.
#include "navigation.h"
#include "productroot.h"
#include "server.h"

namespace {

struct Words {
    const char *locale, *name;
    const char *exit, *module, *question, *refused, *done, *stopped;
};

const Words languages[] = {
    {"en_US.UTF-8", "en", "Exit", "CPU module 2", "Stop this CPU module?",
     "This device cannot be stopped now.", "The operation was successful.", "Stopped"},
    {"ja_JP.UTF-8", "ja", "終了", "CPUモジュール 2", "CPUモジュールを停止します。",
     "この装置は停止できません。", "正常に終了しました。", "停止中"},
};

void PrintTo(const Words &words, std::ostream *stream)
{
    *stream << words.name;
}

constexpr int stopButton = 1; // Tabs to it in the window of a CPU module

class Screens : public testing::TestWithParam<Words> {
protected:
    Screens()
    {
        std::filesystem::create_symlink(SPY, spy); // the loader takes no names with blanks
        for (int number = 0; number < 4; ++number)
            server.addProcessor(number, number / 2, number != 0);
        const std::string port = server.addFunction("0000:00:1c.0", bridge, "pcieport");
        server.addInterface(server.addFunction("0000:01:00.0", ethernet, "e1000e", port), "ens3");
        server.addDisk(server.addFunction("0000:03:00.0", scsi, "virtio-pci"), "sdplay", 1);
        server.addSlot("1", "0000:01:00", true, true);
        server.addSlot("2", "0000:02:00", false, false);
        server.write("/sys/class/dmi/id/bios_version", "1.2.3\n");
        server.write("/proc/interrupts", "       CPU0 CPU1 CPU2 CPU3\n"
                                         "THR:  0 0 2 1 Threshold APIC interrupts\n"
                                         "MCE:  0 0 1 1 Machine check exceptions\n");
    }

    RunOptions options() const
    {
        return root.options({.machine = "hardware",
                             .language = words.locale,
                             .environment = {{"LD_PRELOAD", UMOCKDEV ":" + spy.string()},
                                             {"UMOCKDEV_DIR", server.directory.path.string()}}});
    }

    // Opens the window of CPU module 2.
    void openModule(Session &session) const
    {
        session.see(words.exit);
        session.send(secondCpuModule.path + keys::enter);
        session.see(std::string("┤ ") + words.module);
    }

    // Has it stopped.
    void stop(Session &session) const
    {
        press(session, stopButton);
        session.see(words.question);
        session.send(keys::enter);
    }

    std::string picture(const std::string &what) const
    {
        return "host/" + what + "-" + words.name;
    }

    std::string online(int processor) const
    {
        return server.read("/sys/devices/system/cpu/cpu" + std::to_string(processor) + "/online");
    }

    const Words words = GetParam();
    const Server server;
    const ProductRoot root;
    const std::filesystem::path spy = root.directory.path / "libspy.so";
};

} // namespace

TEST_P(Screens, ShowTheServer)
{
    Session session(options());
    session.see(words.exit);
    session.send(keys::space + keys::down + keys::space + keys::down + keys::down + keys::down
                 + keys::space + keys::down + keys::space + keys::down + keys::down + keys::down
                 + keys::space);
    session.expectScreen(picture("tree"));
}

TEST_P(Screens, StopNothingThatIsOnlyLookedAt)
{
    Session session(options());
    openModule(session);
    session.expectScreen(picture("package"));
    stop(session);
    session.see(words.refused);
    session.expectScreen(picture("refused"));
    EXPECT_EQ(online(2) + online(3), "1\n1\n");
    const Calls told = session.calls("syslog");
    ASSERT_EQ(told.size(), 1u);
    EXPECT_TRUE(told[0].ends_with(": refused: yatkit.toml does not allow operations)")) << told[0];
}

TEST_P(Screens, StopAPackageWhereOperationsAreAllowed)
{
    writeFile(root.directory.path / "etc/yatkit.toml", "operations = true\n");
    Session session(options());
    openModule(session);
    stop(session);
    session.see(words.done);
    EXPECT_EQ(online(2) + online(3), "0\n0\n");
    session.send(keys::enter);
    session.seeNot(words.done);
    session.send(keys::backTab + keys::backTab + keys::backTab + keys::enter); // Refresh
    session.see(words.stopped);
    session.expectScreen(picture("stopped"));
}

INSTANTIATE_TEST_SUITE_P(Host, Screens, testing::ValuesIn(languages),
                         [](const auto &info) { return std::string(info.param.name); });
