// SPDX-License-Identifier: GPL-2.0-or-later
// The manual pages name the keys that do something, and no other key does.
#include "navigation.h"

#include <set>

using namespace keys;

namespace {

// Where a key is pressed: what leads there, each with what is seen then. What is typed while a
// window opens is dropped.
struct Place {
    RunOptions options;
    std::vector<std::pair<std::string, const char *>> steps;

    const char *seen() const
    {
        return steps.back().second;
    }
};

Place tree()
{
    return {{}, {{space + down, "PCI modules"}}};
}

Place window() // on the first of its buttons
{
    return {{}, {{pciModule.path + enter, "┤ PCI module 1 --"}}};
}

Place question()
{
    Place place = window();
    place.steps.push_back({enter, "Clear the MTBF count of this device?"});
    return place;
}

Place settings()
{
    return {{.program = "mrvgeneral"}, {{"", "[*] Update the firmware"}}};
}

Place biosData()
{
    const std::string threeTabs = tab + tab + tab;
    return {{},
            {{cpuModule.path + enter, "┤ CPU module 1 --"},
             {threeTabs + threeTabs + threeTabs + enter, "┤ BIOS Data ├"}}};
}

Place errorBox()
{
    Place place = question();
    place.options.script = "IfSupport 0";
    place.steps.push_back({enter, "cannot be cleared."});
    return place;
}

Place successBox()
{
    Place place = question();
    place.steps.push_back({enter, "The operation was successful."});
    return place;
}

Place notice()
{
    Place place = settings();
    place.steps.push_back({tab + tab + enter, "No setting was changed."});
    return place;
}

enum Effect { moves, shows, hides, ends };

struct Key {
    const char *name; // as on the page
    std::string bytes;
    Place place;
    Effect effect;
    const char *text = ""; // that it shows; it hides what is seen in that place
};

std::vector<Key> keysOfThePage()
{
    const std::string escape = "\x1b", ctrlP = "\x10", ctrlN = "\x0e", ctrlB = "\x02",
                      ctrlF = "\x06", ctrlV = "\x16", altV = "\x1bv";
    return {
        {"Up", up, tree(), moves},
        {"Up", down + up + up, tree(), moves},
        {"Down", down, tree(), moves},
        {"Down", down, window(), moves},
        {"Left", right + right + left, window(), moves},
        {"Right", right, window(), moves},
        {"Page Up", pageUp, tree(), moves},
        {"Page Down", pageDown, tree(), moves},
        {"Page Down", pageDown, window(), moves},
        {"Ctrl-P", ctrlP, tree(), moves},
        {"Ctrl-N", ctrlN, tree(), moves},
        {"Ctrl-B", right + right + ctrlB, window(), moves},
        {"Ctrl-F", ctrlF, window(), moves},
        {"Alt-V", altV, tree(), moves},
        {"Ctrl-V", ctrlV, tree(), moves},
        {"Backspace", right + right + "\x7f", window(), moves},
        {"Backspace", right + right + "\b", window(), moves},
        {"Tab", tab, tree(), moves},
        {"Tab", tab, window(), moves},
        {"Shift-Tab", backTab, tree(), moves},
        {"Shift-Tab", backTab, window(), moves},
        {"Space", up + space, tree(), hides},
        {"Space", space, window(), shows, "Clear the MTBF count of this device?"},
        {"Space", space, settings(), shows, "[ ] Update the firmware"},
        {"Enter", down + space + down + enter, tree(), shows, "┤ PCI module 1 --"},
        {"Enter", enter, window(), shows, "Clear the MTBF count of this device?"},
        {"Ctrl-A", ctrlA, tree(), ends},
        {"Ctrl-A", ctrlA, question(), hides},
        {"Ctrl-O", ctrlO, tree(), ends},
        {"Ctrl-O", ctrlO, question(), hides},
        {"Esc", escape, window(), hides},
        {"Esc", escape, question(), hides},
        {"Esc", escape, tree(), ends},
        {"Esc", escape, settings(), ends},
        {"F12", f12, biosData(), hides},
    };
}

// A program in which a place is on the screen.
struct Arrived : Session {
    explicit Arrived(const Place &place) : Session(quick(place.options))
    {
        see("Esc: leave");
        see(place.options.program == "mrvutil" ? "Exit" : "Close");
        for (const auto &[keysSent, seen] : place.steps) {
            if (!keysSent.empty())
                send(keysSent);
            see(seen);
        }
    }

    static RunOptions quick(RunOptions options)
    {
        options.environment["ESCDELAY"] = "20";
        return options;
    }
};

void expectEffect(const Key &key)
{
    SCOPED_TRACE(std::string(key.name) + " where there is " + key.place.seen());
    Arrived session(key.place);
    const std::string before = session.stillPicture();
    session.send(key.bytes);
    switch (key.effect) {
    case moves:
        EXPECT_TRUE(
            session.terminal().waitUntil([&] { return session.terminal().picture() != before; }));
        break;
    case shows: session.see(key.text); break;
    case hides: session.seeNot(key.place.seen()); break;
    case ends: session.expectExit(1); break;
    }
}

std::set<std::string> namesOnPage(const std::string &page, const std::string &heading)
{
    const std::string text = readFile(SOURCES "/man/" + page);
    const size_t begin = text.find("\n.Sh " + heading + "\n");
    std::set<std::string> names;
    for (std::string line : linesOf(text.substr(begin, text.find("\n.El\n", begin) - begin))) {
        if (!line.starts_with(".It "))
            continue;
        line.erase(0, 4);
        for (size_t end; (end = line.find(" , ")) != line.npos; line.erase(0, end + 3))
            names.insert(line.substr(0, end));
        names.insert(line);
    }
    return names;
}

// Bytes and sequences that no key of the page sends.
std::vector<std::string> otherKeys()
{
    std::vector<std::string> result = {"\x1b[C",   "\x1b[D",   "\x1b[1~",  "\x1b[4~",  "\x1b[2~",
                                       "\x1b[3~",  "\x1bOP",   "\x1bOQ",   "\x1bOR",   "\x1bOS",
                                       "\x1b[15~", "\x1b[17~", "\x1b[18~", "\x1b[19~", "\x1b[20~",
                                       "\x1b[21~", "\x1b[23~"};
    const std::string named = " \t\r\x1b\x01\x02\x06\b\x0e\x0f\x10\x16\x7f",
                      ofTheTerminal = "\x11\x13";
    for (int code = 0; code < 256; ++code)
        if (const std::string byte(1, static_cast<char>(code));
            (named + ofTheTerminal).find(byte) == std::string::npos)
            result.push_back(byte);
    return result;
}

} // namespace

TEST(Keys, AreThoseOfTheManualPages)
{
    std::set<std::string> names;
    for (const Key &key : keysOfThePage())
        names.insert(key.name);
    EXPECT_EQ(namesOnPage("mrvutil.1", "KEYS"), names);
    EXPECT_EQ(namesOnPage("ja/mrvutil.1", "キー"), names);
}

TEST(Keys, DoWhatTheManualPagesSay)
{
    for (const Key &key : keysOfThePage())
        expectEffect(key);
}

TEST(Keys, OtherThanThoseOfTheManualPagesDoNothing)
{
    const auto expectNothing = [](const Place &place, bool isTree, bool isBox) {
        Arrived session(place);
        const std::string before = session.stillPicture();
        std::vector<std::string> others = otherKeys();
        if (isBox) // which only its button leaves
            others.insert(others.end(), {"\x1b", ctrlA, ctrlO, f12, tab, backTab});
        for (const std::string &key : others) {
            if (!isTree && (key == "\x1b[C" || key == "\x1b[D"))
                continue;
            session.terminal().send(key);
            EXPECT_TRUE(session.terminal().asksForKeyWithin(deadline));
            ASSERT_EQ(session.terminal().picture(), before)
                << testing::PrintToString(key) << " where there is " << place.seen();
        }
    };
    expectNothing(tree(), true, false);
    for (const Place &place : {window(), question(), settings()})
        expectNothing(place, false, false);
    for (const Place &place : {errorBox(), successBox(), notice()})
        expectNothing(place, false, true);
}
