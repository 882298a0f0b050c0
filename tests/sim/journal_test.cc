// SPDX-License-Identifier: GPL-2.0-or-later
// The journal as everybody can read it: whatever is asked of the machine, and whatever becomes of
// it, what stood there stays as it was, in its order, and only rows are added.
#include "scenario.h"

#include <algorithm>
#include <fstream>

namespace {

class Journal : public Scenario {
protected:
    // Expects that the journal has all it had, byte for byte, and so many rows after it.
    void expectAdded(size_t count, const std::string &after)
    {
        const std::string now = rows();
        EXPECT_TRUE(now.starts_with(known)) << after << ": was\n" << known << "\nand is\n" << now;
        const std::string added = now.substr(std::min(known.size(), now.size()));
        EXPECT_EQ(static_cast<size_t>(std::ranges::count(added, '\n')), count) << after;
        known = now;
    }

    // Each row as yatsim prints it, with a comma and a new line after it.
    static std::string rows()
    {
        const std::string begin = "[\n", end = "\n]\n", text = steer("journal --json");
        EXPECT_TRUE(text.starts_with(begin) && text.ends_with(end)) << text;
        return text.substr(begin.size(), text.size() - begin.size() - end.size()) + ",\n";
    }

    std::string write(const std::string &name, const std::string &text) const
    {
        const std::string file = (sandbox->directory() / name).string();
        std::ofstream(file) << text;
        return file;
    }

    std::string known;
};

// Expects a command of yatsim to fail.
void expectFailure(const std::string &arguments)
{
    EXPECT_EQ(yatsim(arguments).status, 1) << arguments;
}

} // namespace

TEST_P(Journal, GetsARowForEachThingAskedForAndNoOther)
{
    begin("CEDAR", "name = \"CEDAR", "name = \"SEVERAL");
    const std::string other = write("other.toml", shipped("ALDER")),
                      wrong = write("wrong.toml", shipped("ALDER", "type = ", "typ = "));
    yat_identity identity = {.Instance = 9, .ClassCode = YAT_CLASS_CPU_MODULE, .DevicePathID = {}};
    yat_device stranger{};
    stranger.identity = &identity;
    const auto put = [](int value) {
        return PutBBDriverSettings(YAT_SETTING_AUTO_BRING_UP, YAT_CLASS_GENERAL, 1, &value);
    };
    const std::tuple<const char *, size_t, std::function<void()>> steps[] = {
        {"looking", 0, [] { view(); }},
        {"asking what can be done", 0, [&] { can("CPU module 1", 7); }},
        {"a stop", 1, [&] { EXPECT_EQ(stop("CPU module 2"), 1); }},
        {"one that is refused", 1, [&] { EXPECT_EQ(stop("CPU module 1"), 0); }},
        {"a wrong code", 1, [&] { EXPECT_EQ(InitBringDown(record("CPU module 1"), 99), 0); }},
        {"a device that there is not", 1, [&] { EXPECT_EQ(InitBringDown(&stranger, 8), 0); }},
        {"no device", 1, [] { EXPECT_EQ(InitBringDown(nullptr, 8), 0); }},
        {"a type", 1, [&] { EXPECT_EQ(setType("CPU module 1", "0"), 1); }},
        {"a type that there is not", 1, [&] { EXPECT_EQ(setType("CPU module 1", "7"), 0); }},
        {"a setting", 1, [&] { EXPECT_NE(put(1), 0); }},
        {"a setting that there is not", 1, [&] { EXPECT_EQ(put(7), 0); }},
        {"time", 1, [] { steer("set time +10"); }},
        {"a firmware update", 1, [&] { EXPECT_EQ(burn("CPU module 2", "FWCOPY"), 1); }},
        {"time with its end", 1, [] { steer("set time +60"); }},
        {"an injection", 1, [] { steer("inject InitBringUp 5"); }},
        {"its answer", 1, [&] { EXPECT_EQ(start("CPU module 2"), 5); }},
        {"an injection for a look", 1, [&] { inject("IfSupport", "0 --text 42"); }},
        {"its answer to it", 0, [&] { EXPECT_EQ(detail("CPU module 1", 7), 42); }},
        {"an injection to be forgotten", 1, [] { steer("inject ClearMTBF 0 --times 0"); }},
        {"forgetting it", 1, [] { steer("inject ClearMTBF off"); }},
        {"a failure", 1, [] { steer("fail pci2 --permanent"); }},
        {"time in which it fails again", 1, [] { steer("set time +3600"); }},
        {"a repair", 1, [] { steer("repair pci2"); }},
        {"one that is refused from outside", 1, [] { expectFailure("repair pci1"); }},
        {"a device that yatsim does not know", 1, [] { expectFailure("fail cpu7"); }},
        {"a pulled module", 1, [] { steer("pull pci2"); }},
        {"an inserted one", 1, [] { steer("insert pci2"); }},
        {"a version", 1, [] { steer("set cpu1.bios_version 9"); }},
        {"a wrong value", 1, [] { expectFailure("set cpu1.mtbf_type 9"); }},
        {"reports", 0, [] { steer("list"), steer("show"), steer("show cpu1"), steer("export"); }},
        {"making it once more", 1, [] { expectFailure("init"); }},
        {"another start", 0, [&] { interface.reset(), interface.emplace(); }},
        {"a wrong description", 1, [&] { expectFailure("import " + wrong); }},
        {"another machine", 1, [&] { steer("import " + other); }},
        {"an operation on it", 1, [&] { EXPECT_EQ(clearMtbf("CPU module 2"), 1); }},
        {"the first machine", 1, [] { steer("reset"); }},
        {"an operation on this", 1, [&] { EXPECT_EQ(stop("CPU module 2"), 1); }},
    };
    expectAdded(1, "the beginning");
    for (const auto &[what, count, step] : steps) {
        step();
        expectAdded(count, what);
    }
    write("CEDAR.toml", "broken");
    expectFailure("reset");
    expectAdded(1, "a reset that is refused");
}

PLAY_SCENARIOS(Journal);
