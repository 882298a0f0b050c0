// SPDX-License-Identifier: GPL-2.0-or-later
// Who asked for what, and what became of it, in the journal and in the system's log.
#include "operated.h"

#include <clocale>
#include <ctime>
#include <nlohmann/json.hpp>
#include <pty.h>
#include <pwd.h>
#include <syslog.h>
#include <unistd.h>

namespace {

using nlohmann::json;

class Journal : public Operated {
protected:
    Journal()
    {
        int line; // that of the terminal that stays open, or there would be none
        EXPECT_EQ(openpty(&controller, &line, nullptr, nullptr, nullptr), 0);
        dup2(line, STDIN_FILENO);
        close(line);
    }
    ~Journal() override
    {
        dup2(input, STDIN_FILENO);
        close(input);
        close(controller);
    }

    std::vector<json> entries() const
    {
        std::vector<json> entries;
        for (const std::string &line : linesOf(readFile(state.path / "host.journal")))
            entries.push_back(json::parse(line));
        return entries;
    }

    static std::string nameOf(uid_t user)
    {
        return getpwuid(user)->pw_name;
    }

    const int input = dup(STDIN_FILENO);
    int controller = -1;
};

time_t timeOf(const std::string &text)
{
    tm parts{};
    const char *end = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return end && !*end ? timegm(&parts) : 0;
}

} // namespace

TEST_F(Journal, SaysWhoAskedForWhatAndWhatBecameOfIt)
{
    addPackages(2, 1);
    server.write("/proc/self/loginuid", "1\n"); // of a user that every system has
    const time_t before = time(nullptr);
    EXPECT_EQ(CALL(InitBringDown)(record(2, 2), stopCpu + 1), 1) << trace();
    auto lines = entries();
    ASSERT_EQ(lines.size(), 2u);
    for (json &line : lines) {
        const time_t written = timeOf(line.at("time"));
        EXPECT_TRUE(written >= before && written <= time(nullptr)) << line;
        line.erase("time");
    }
    json expected = {
        {"user", nameOf(getuid())}, {"login", nameOf(1)}, {"terminal", ttyname(STDIN_FILENO)},
        {"device", "CPU module 2"}, {"key", "package 1"}, {"operation", "stop"},
        {"result", "begun"},        {"reason", ""}};
    EXPECT_EQ(lines[0], expected);
    expected["result"] = "done";
    EXPECT_EQ(lines[1], expected);
    const std::string asked = "stop of CPU module 2 [package 1] asked by " + nameOf(getuid())
                              + " logged in as " + nameOf(1) + " on " + ttyname(STDIN_FILENO);
    EXPECT_EQ(logged, (decltype(logged){{LOG_AUTHPRIV | LOG_NOTICE, asked + ": begun"},
                                        {LOG_AUTHPRIV | LOG_NOTICE, asked + ": done"}}));
}

TEST_F(Journal, HasNoLoginWhereNobodyLoggedIn)
{
    addPackages(2, 1);
    yat_device *module = record(2, 2);
    for (const char *number : {"4294967295\n", "x\n", "99999999999\n"}) {
        server.write("/proc/self/loginuid", number);
        CALL(InitBringUp)(module, startCpu + 1);
        EXPECT_EQ(entries().back().at("login"), "") << number;
        EXPECT_EQ(logged.back().second, "start of CPU module 2 [package 1] asked by "
                                            + nameOf(getuid()) + " on " + ttyname(STDIN_FILENO)
                                            + ": refused: all its processors are already running");
    }
    server.write("/proc/self/loginuid", "4294967294\n"); // who has no name
    CALL(InitBringUp)(module, startCpu + 1);
    EXPECT_EQ(entries().back().at("login"), "4294967294");
}

TEST_F(Journal, TellsFailuresLouder)
{
    addPackages(2, 1);
    server.write("/sys/devices/system/cpu/cpu1/online", "01"); // "0" written here changes nothing
    EXPECT_EQ(CALL(InitBringDown)(record(2, 2), stopCpu + 1), 0);
    ASSERT_EQ(logged.size(), 2u);
    EXPECT_EQ(logged[0].first, LOG_AUTHPRIV | LOG_NOTICE);
    EXPECT_EQ(logged[1].first, LOG_AUTHPRIV | LOG_ERR);
    EXPECT_TRUE(
        logged[1].second.ends_with(": failed: processor 1 can't be switched: the kernel accepted "
                                   "the request, but nothing changed; 1 of 1 are online"))
        << logged[1].second;
}

// Who reads several servers' journals does not know the language of each caller.
TEST_F(Journal, IsEnglishInEveryLocale)
{
    addPackages(2, 1);
    server.addFunction("0000:02:00.0", nvme);
    server.addFunction("0000:03:00.0", nvme);
    server.addSlot("1", "0000:02:00", true, true);
    setlocale(LC_CTYPE, "C.UTF-8"); // the encoding; the language is that of the environment
    setenv("LC_ALL", "ja_JP.UTF-8", 1);
    yat_device *module = record(2, 2), *slot = record(3, 1), *rest = record(3, 2),
               *adapter = record(YAT_CLASS_SCSI_ADAPTER, 1);
    EXPECT_STREQ(slot->lpszTreeName, "PCIモジュール 1 (スロット 1)");
    CALL(InitBringUp)(module, startCpu + 1);
    CALL(InitBringUp)(slot, startPci + 1);
    CALL(InitBringUp)(rest, startPci + 1);
    CALL(ClearMTBF)(adapter, 26);
    EXPECT_EQ(cpu(2) + ", " + pci(1), "稼働中 1/1, 稼働中");
    server.write("/sys/bus/pci/slots/1/adapter", "0\n");
    EXPECT_EQ(pci(1), "未搭載");
    EXPECT_EQ(property(1, YAT_PROPERTY_BIOS_STATUS), "使用中");
    unsetenv("LC_ALL");
    setlocale(LC_CTYPE, "C");
    Lines devices;
    for (const json &line : entries())
        devices.push_back(line.at("device").get<std::string>() + " / "
                          + line.at("key").get<std::string>() + " / "
                          + line.at("reason").get<std::string>());
    EXPECT_EQ(devices,
              (Lines{"CPU module 2 / package 1 / all its processors are already running",
                     "PCI module 1 (slot 1) / slot 1 / it is already running",
                     "PCI module 2 (not in a slot) / not in a slot / it has no power switch",
                     "SCSI adapter 1 (82574L Gigabit Network Conne) / 0000:02:00.0 / the "
                     "server keeps no error count for it"}));
}

// Whoever may mount chooses the name of the place.
TEST_F(Journal, HasNothingThatTurnsATerminalRound)
{
    server.addProcessor(0, 0);
    server.addDisk(server.addFunction("0000:02:00.0", scsi, "virtio-pci"), "sdplay", 1);
    server.addSlot("1", "0000:02:00", true, true);
    server.write("/proc/self/mountinfo", "23 22 8:16 / /\u009bA\u202e rw - ext4 /dev/sdplay rw\n");
    EXPECT_EQ(CALL(InitBringDown)(record(3, 1), stopPci + 1), 0);
    const std::string text = readFile(state.path / "host.journal");
    EXPECT_NE(text.find("is mounted on /\\u009BA\\u202E"), text.npos) << text;
}
