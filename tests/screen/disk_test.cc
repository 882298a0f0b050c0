// SPDX-License-Identifier: GPL-2.0-or-later
// A disk that fails at any call of the system on the state and the log, or can't be written at
// all: what is told, and what is there afterwards.
#include "session.h"

#include <cerrno>
#include <cstring>
#include <regex>

namespace fs = std::filesystem;

namespace {

// A state directory on such a disk, with what is asked of yatsim and mrvutil.
class FailingDisk : public testing::Test {
protected:
    using Variables = std::map<std::string, std::string>;

    Finished onDisk(const std::string &command, const Variables &fault)
    {
        Variables environment = place.environment();
        environment.erase("LD_PRELOAD");
        for (const auto &[name, value] : fault)
            environment[name] = value;
        return run(commandOf(PROGRAMS "/" + command.substr(0, command.find(' ')),
                             command.find(' ') == command.npos
                                 ? ""
                                 : command.substr(command.find(' ') + 1)),
                   {.environment = environment});
    }

    Finished onSoundDisk(const std::string &command)
    {
        return onDisk(command, {});
    }

    // A fault at the call of that number.
    Variables faultAt(long number, int error, bool staysBad)
    {
        Variables result = {{"LD_PRELOAD", place.preloadable(FAILING_DISK)},
                            {"YAT_DISK", state},
                            {"YAT_DISK_FAILS", std::to_string(number)},
                            {"YAT_DISK_ERROR", std::to_string(error)}};
        if (staysBad)
            result["YAT_DISK_STAYS_BAD"] = "1";
        return result;
    }

    // A command in a name space of its own, where the state and all that could take its place
    // can't be written.
    std::vector<std::string> withoutWriting(const std::string &program, const std::string &argument)
    {
        return {"/usr/bin/unshare",
                "-m",
                "/bin/sh",
                "-c",
                "mount --bind \"$1\" \"$1\" && mount -o remount,bind,ro \"$1\" || exit 77; "
                "shift; exec \"$@\"",
                "sh",
                place.directory(),
                PROGRAMS "/" + program,
                argument};
    }

    void prepare(bool isNew)
    {
        fs::remove_all(state);
        if (!isNew)
            fs::copy(saved, state, fs::copy_options::recursive);
    }

    // Which calls a command makes.
    std::vector<std::string> callsOf(const std::string &command, bool isNew)
    {
        prepare(isNew);
        const fs::path log = place.directory() / "disk";
        fs::remove(log);
        Variables counted = faultAt(0, 0, false);
        counted["YAT_DISK_LOG"] = log;
        onDisk(command, counted);
        return linesOf(readFile(log));
    }

    void failEach(const std::string &command, bool isNew,
                  const std::function<void(const Finished &)> &expect);

    const Workspace place{RunOptions{}};
    const std::string state = place.stateDirectory(), saved = place.directory() / "saved";
};

// Each call fails with each error, once and for good.
void FailingDisk::failEach(const std::string &command, bool isNew,
                           const std::function<void(const Finished &)> &expect)
{
    const std::vector<std::string> calls = callsOf(command, isNew);
    ASSERT_GT(calls.size(), 50u);
    int failures = 0;
    for (size_t i = 0; i < calls.size(); ++i)
        for (const int error : {EIO, ENOSPC, EROFS})
            for (const bool staysBad : {false, true}) {
                if (!getenv("YAT_FULL") && (i + static_cast<size_t>(error) + staysBad) % 8 != 0)
                    continue;
                SCOPED_TRACE(command + ", " + strerror(error) + (staysBad ? " from " : " at ")
                             + std::to_string(i + 1) + ": " + calls[i]);
                prepare(isNew);
                const Finished finished =
                    onDisk(command, faultAt(static_cast<long>(i + 1), error, staysBad));
                EXPECT_GE(finished.status, 0);
                EXPECT_LE(finished.status, 1);
                expect(finished);
                ++failures;
            }
    printf("%s: %d faults at %zu calls\n", command.c_str(), failures, calls.size());
}

void expectWholeRecords(const std::string &file)
{
    static const std::regex record(
        "\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} \\d+ \\d+ \\S+ "
        "\\S+ \\d+ .*");
    for (const std::string &line : linesOf(readFile(file)))
        EXPECT_TRUE(std::regex_match(line, record)) << line;
}

} // namespace

// Whoever is told that the state is damaged moves it away, and has lost a good one.
TEST(Failure, ToReadTheDiskNowIsNotTakenForADamagedState)
{
    const Workspace place({});
    const std::string file = (place.stateDirectory() / "machines/CEDAR.db").string();
    const std::string disk = place.preloadable(FAILING_DISK);
    RunOptions options{.state = place.stateDirectory().string()};
    {
        Session session(options);
        session.see("Exit");
        session.send(keys::ctrlO);
        session.expectExit(1);
    }
    const std::string before = readFile(file);
    ASSERT_FALSE(before.empty());
    for (const int error : {EIO, ENOSPC}) {
        options.environment = {
            {"LD_PRELOAD", disk},        {"YAT_DISK", place.stateDirectory().string()},
            {"YAT_DISK_CALLS", "pread"}, {"YAT_DISK_FAILS", "1"},
            {"YAT_DISK_STAYS_BAD", "1"}, {"YAT_DISK_ERROR", std::to_string(error)}};
        Session session(options);
        session.see("The devices of the server cannot be read.");
        session.send(keys::enter);
        session.expectExit(0);
        const std::string output = session.terminal().output();
        EXPECT_NE(output.find("mrvutil: " + file + " can't be used: " + strerror(error)),
                  output.npos)
            << output;
        EXPECT_EQ(output.find("damaged"), output.npos);
    }
    EXPECT_EQ(readFile(file), before);
    options.environment.clear();
    Session session(options);
    session.see("[+] FT server");
}

// What is reported as done is done, and what is not, is not; the next look finds all whole.
TEST_F(FailingDisk, LosesNothingThatWasReportedAsDone)
{
    onSoundDisk("yatsim pull pci2");
    fs::copy(state, saved, fs::copy_options::recursive);
    for (const bool isNew : {true, false})
        failEach("yatsim pull pci1", isNew, [&](const Finished &pulled) {
            EXPECT_EQ(pulled.status == 0, pulled.errors.empty()) << pulled.errors;
            if (pulled.status != 0) {
                EXPECT_TRUE(pulled.errors.starts_with("yatsim: ")) << pulled.errors;
                EXPECT_NE(pulled.errors.find(state), std::string::npos) << pulled.errors;
            }
            const Finished journal = onSoundDisk("yatsim journal");
            const Finished list = onSoundDisk("yatsim list");
            EXPECT_EQ(list.errors + journal.errors, "");
            const bool isDone = journal.output.find("pci1    pull") != std::string::npos;
            const bool isThere =
                list.output.find("pci1       PCI module 1        Not") == list.output.npos;
            EXPECT_NE(isDone, isThere) << list.output << journal.output;
            EXPECT_TRUE(isDone || pulled.status != 0) << journal.output;
            EXPECT_EQ(journal.output.find("pci2    pull") != std::string::npos, !isNew);
        });
}

// The devices are shown or it is told why not, and the records that reach the log are whole.
TEST_F(FailingDisk, LeavesALogOfWholeRecords)
{
    onSoundDisk("mrvutil -debug");
    fs::copy(state, saved, fs::copy_options::recursive);
    const std::string log = state + "/log/YATmrvutil.log",
                      shown = onSoundDisk("mrvutil -debug").output;
    for (const bool isNew : {true, false})
        failEach("mrvutil -debug", isNew, [&](const Finished &looked) {
            if (looked.output != shown) {
                EXPECT_NE(looked.errors.find(state), std::string::npos) << looked.errors;
            }
            for (const std::string &line : linesOf(looked.errors))
                EXPECT_TRUE(line.starts_with("mrvutil: ")) << line;
            expectWholeRecords(log);
            const Finished next = onSoundDisk("mrvutil -debug");
            EXPECT_EQ(next.status, 1);
            EXPECT_EQ(next.errors, "");
            EXPECT_EQ(next.output, shown);
            expectWholeRecords(log);
        });
}

TEST_F(FailingDisk, ThatIsReadOnlyIsToldOf)
{
    Variables environment = place.environment();
    environment.erase("LD_PRELOAD");
    onSoundDisk("yatsim pull pci2");
    const std::string before = readFile(state + "/machines/CEDAR.db");
    const std::string reason = state + " can't be written: Read-only file system";
    const auto started = [&](const std::string &program, const std::string &argument) {
        return run(withoutWriting(program, argument), {.environment = environment});
    };
    const Finished reset = started("yatsim", "reset");
    if (reset.status == 77 || reset.errors.starts_with("unshare: "))
        GTEST_SKIP() << "no file system can be made read-only here";
    EXPECT_EQ(reset.status, 1);
    EXPECT_EQ(reset.errors, "yatsim: " + reason + "\n");
    const Finished journal = started("yatsim", "journal");
    EXPECT_EQ(journal.status, 0);
    EXPECT_NE(journal.output.find("pci2    pull"), std::string::npos);
    const Finished looked = started("mrvutil", "-debug");
    EXPECT_TRUE(looked.errors.starts_with("mrvutil: " + reason + "\n")) << looked.errors;
    EXPECT_NE(looked.errors.find("is not in the trace log"), std::string::npos);

    Terminal terminal({.command = withoutWriting("mrvutil", "-d"), .environment = environment});
    EXPECT_TRUE(terminal.waitUntil([&] {
        return terminal.contains("The devices of the server cannot be read.");
    })) << terminal.picture();
    terminal.waitUntilIdle();
    terminal.send(keys::enter);
    EXPECT_EQ(terminal.wait(), 0);
    EXPECT_NE(terminal.output().find("mrvutil: " + reason), std::string::npos) << terminal.output();
    EXPECT_TRUE(terminal.modesAreAsBefore());
    EXPECT_EQ(readFile(state + "/machines/CEDAR.db"), before);
}
