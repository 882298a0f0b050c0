// SPDX-License-Identifier: GPL-2.0-or-later
// Whatever is typed, whatever becomes of the terminal's size and of the job: the programs neither
// crash nor hang, end by the keys that end them only, and leave the terminal's modes as they were.
//
// YAT_RANDOM_EVENTS says how many events there are, YAT_RANDOM_SEED which ones.
#include "session.h"

#include <csignal>
#include <random>
#include <sys/wait.h>

using namespace keys;

namespace {

struct Chance {
    int weight;
    std::string bytes;
};

const std::string escape = "\x1b";
const std::string restOfAny = "\x1b[201~\x07"; // sequence or paste that was begun

// Keys that can end a program, if they come to the right window.
const std::vector<Chance> ending = {{40, space}, {60, enter}, {4, ctrlO}, {4, ctrlA}, {3, escape}};

// Keys that can't, as an administrator presses them, and whatever else terminals send.
const std::vector<Chance> moving = {
    {40, down},        {20, up},
    {8, pageDown},     {8, pageUp},
    {8, left},         {8, right},
    {4, home},         {4, end},
    {8, f12},          {5, "\x1b[1;5A"},
    {5, "\x1b[25~"},   {5, "\x1bx"},
    {5, "\x1b[I"},     {5, "\x1b[<0;10;10M"},
    {5, "\x1b[?62;c"}, {5, "\x1b]11;rgb:0000/0000/0000\x07"},
    {8, "q"},          {3, "\xc3\xa4"},
};
// Not for a stop, which drops what has arrived and gives the terminal back: the latter ends of some
// could do something then, and the others act on a job.
const std::vector<Chance> indivisible = {
    {3, ctrlZ},
    {3, "\x03"},
    {5, "\x1b[M !!"},
    {5, "\x1b[200~rm -rf\r \x0f\x1b[A\x1b[201~"},
};
const std::vector<Chance> towardsButtons = {{60, tab}, {15, backTab}};
const std::vector<Chance> pressing = {{30, space}, {30, enter}};

class Events {
public:
    explicit Events(unsigned seed) : random(seed) {}

    int below(int limit)
    {
        return static_cast<int>(random() % static_cast<unsigned>(limit));
    }

    // Some keys at once; done counts them.
    std::string batch(std::vector<Chance> chances, bool divisible, long *done)
    {
        chances.insert(chances.end(), moving.begin(), moving.end());
        if (!divisible)
            chances.insert(chances.end(), indivisible.begin(), indivisible.end());
        std::string result;
        for (int i = 1 + below(30); i > 0; --i, ++*done) {
            const std::string next = key(chances);
            result += next.size() > 2 && below(50) == 0 ? damaged(next) : next;
        }
        return result;
    }

    std::string key(const std::vector<Chance> &chances)
    {
        int sum = 0;
        for (const Chance &chance : chances)
            sum += chance.weight;
        int at = below(sum);
        for (const Chance &chance : chances)
            if ((at -= chance.weight) < 0)
                return chance.bytes;
        return {};
    }

private:
    // Cut, or with other bytes.
    std::string damaged(std::string bytes)
    {
        if (below(2) == 0)
            bytes.resize(static_cast<size_t>(1 + below(static_cast<int>(bytes.size()) - 1)));
        else
            for (int i = below(4); i >= 0; --i)
                bytes += byte();
        return bytes;
    }

    // None that can end a program, lead to what does, or act on a job, nor Ctrl-S, which stops the
    // output until Ctrl-Q, between the terminal and its user.
    char byte()
    {
        const char any = static_cast<char>(below(256));
        return std::string_view("\x13\r \t\x01\x0f\x03\x1a\x1c").find(any) != std::string_view::npos
                   ? 'q'
                   : any;
    }

    std::mt19937 random;
};

long numberFrom(const char *variable, long usual)
{
    const char *value = getenv(variable);
    return value && *value ? atol(value) : usual;
}

struct Program {
    RunOptions options;
    std::string title, button; // of its own window, which the button leaves
    std::string leaving;       // the keys that do so, too
};

// A program in its terminal as a job, without the spy and without newt's pauses for pressed
// buttons.
struct Started {
    const Program &program;
    Workspace &workspace;
    int rows = 24, columns = 80;
    Terminal terminal;

    Started(const Program &one, Workspace &around)
        : program(one), workspace(around),
          terminal({.command = around.command(), .environment = environment(), .isJob = true})
    {
    }

    std::map<std::string, std::string> environment() const
    {
        auto result = workspace.environment();
        result["LD_PRELOAD"] = workspace.preloadable(NO_PAUSES);
        // To look for leaks takes time after the screen is gone, in which Ctrl-C ends it.
        result["ASAN_OPTIONS"] += ":detect_leaks=0";
        return result;
    }

    // Until it has ended or waits for a key. False when it hangs. An operation waits for the disk,
    // which can take seconds where others write to it.
    bool takesWhatWasSent()
    {
        const auto end = std::chrono::steady_clock::now() + deadline;
        while (std::chrono::steady_clock::now() < end)
            if (hasEnded() || terminal.asksForKeyWithin(std::chrono::milliseconds(2)))
                return true;
        return false;
    }

    // What it does instead.
    std::string state() const
    {
        const std::string process = "/proc/" + std::to_string(terminal.pid());
        return readFile(process + "/stat") + readFile(process + "/syscall")
               + std::to_string(terminal.unread()) + " bytes unread\n" + terminal.picture();
    }

    bool hasEnded()
    {
        return terminal.wait(std::chrono::milliseconds(0)) != -1;
    }

    // Before it has done what was sent, or just then. What it can see coming leaves the terminal as
    // it was found.
    void stop(int signal, bool soon)
    {
        terminal.waitUntil([&] { return soon || terminal.unread() == 0; });
        terminal.kill(signal);
        ASSERT_TRUE(terminal.waitUntil([&] { return terminal.isStopped(); }));
        ASSERT_TRUE(signal == SIGSTOP || terminal.modesAreAsBefore());
    }

    // Its own modes and, where there is room for it, something to be seen.
    bool hasScreen() const
    {
        const Terminal::Modes modes = terminal.modes();
        return terminal.inAlternateScreen() && !modes.echo && !modes.canonical
               && (rows < 12 || columns < 40 || terminal.contains("┤ "));
    }

    enum class Focus { elsewhere, inOwnWindow, onItsButton };

    // Where the next key goes to, as a terminal tells that has room for everything.
    Focus focus()
    {
        terminal.resize(50, 132);
        takesWhatWasSent();
        const Focus result = focusShown();
        terminal.resize(rows, columns);
        takesWhatWasSent();
        return result;
    }

    Focus focusShown() const
    {
        std::string titles; // of all windows
        bool isOnButton = false;
        for (const auto &row : terminal.spots()) {
            std::string text;
            std::vector<size_t> columnsOfBytes;
            for (size_t column = 0; column < row.size(); ++column) {
                text += row[column].text;
                columnsOfBytes.resize(text.size(), column);
            }
            for (size_t at = 0; (at = text.find("┤ ", at)) != text.npos; ++at)
                titles += text.substr(at, text.find(" ├", at) - at);
            const size_t button = text.find(program.button);
            if (button != text.npos)
                isOnButton = row[columnsOfBytes[button]].style == "black on brown";
        }
        if (titles != "┤ " + program.title)
            return Focus::elsewhere;
        return isOnButton ? Focus::onItsButton : Focus::inOwnWindow;
    }

    bool endsBy(const std::string &key)
    {
        const Focus now = focus();
        const bool isPressed = now == Focus::onItsButton && (key == enter || key == space);
        return isPressed
               || (now != Focus::elsewhere && program.leaving.find(key) != std::string::npos);
    }
};

std::string shown(const std::string &bytes)
{
    std::string result;
    char code[8];
    for (const char each : bytes) {
        const auto byte = static_cast<unsigned char>(each);
        snprintf(code, sizeof code, byte > ' ' && byte < 127 ? "%c" : "\\x%02x", byte);
        result += code;
    }
    return result;
}

const Program programs[] = {
    {{.arguments = {"-d"}}, "FT Server Utility", "Exit", ctrlO + ctrlA + escape},
    {{.arguments = {"-d"}, .machine = "BIRCH"},
     "FT Server Utility",
     "Exit",
     ctrlO + ctrlA + escape},
    {{.program = "mrvgeneral", .arguments = {"-d"}}, "General Settings", "Close", escape},
    {{.program = "mrvfirmware", .arguments = {"-d"}}, "BMC Firmware", "Close", escape},
};

// Events for a program, up to its end or the last one.
struct Course {
    Events &events;
    const std::string name; // of the whole
    Started started;
    std::string sent;

    std::string story() const
    {
        return name + ", sent " + shown(sent);
    }

    void send(const std::string &bytes)
    {
        started.terminal.send(bytes);
        sent += bytes;
    }

    // A key that ends the program does, and no other.
    void pressOne()
    {
        const std::string key = events.key(ending);
        const bool ends = started.endsBy(key);
        const std::string before = started.terminal.picture();
        send(key);
        ASSERT_TRUE(started.takesWhatWasSent()) << started.state() << story();
        ASSERT_EQ(started.hasEnded(), ends)
            << "wait status " << started.terminal.wait(std::chrono::milliseconds(0)) << "\n"
            << before << story();
    }

    void pressMany(long *done)
    {
        // What is pressed in the tree, or in the windows that it opens, leads back to the tree.
        const bool canPress = started.program.button == "Exit" && events.below(2) == 0
                              && started.focus() != Started::Focus::onItsButton;
        const std::string before = started.terminal.picture();
        const bool stops = events.below(8) == 0, cuts = stops && events.below(2) == 0;
        const std::string keys = events.batch(canPress ? pressing : towardsButtons, stops, done);
        send(keys + (cuts ? escape : restOfAny));
        if (events.below(4) == 0) {
            started.rows = 1 + events.below(60);
            started.columns = 1 + events.below(160);
            started.terminal.resize(started.rows, started.columns);
        }
        if (stops) {
            const bool soon = events.below(2);
            started.stop(events.below(2) ? SIGTSTP : SIGSTOP, soon);
            if (cuts)
                send(restOfAny);
            started.terminal.kill(SIGCONT);
        }
        ASSERT_TRUE(started.takesWhatWasSent()) << started.state() << story();
        ASSERT_FALSE(started.hasEnded()) << "wait status " << started.terminal.wait() << "\n"
                                         << before << story();
        ASSERT_TRUE(started.hasScreen()) << started.state() << story();
    }

    void expectWholeEnd()
    {
        ASSERT_EQ(started.terminal.wait(), 1 << 8) << story();
        ASSERT_TRUE(started.terminal.modesAreAsBefore()) << story();
        ASSERT_FALSE(started.terminal.inAlternateScreen()) << story();
        ASSERT_TRUE(started.terminal.cursorIsVisible()) << story();
    }

    void go(long count, long *done)
    {
        // Until its screen is there, Ctrl-C ends it as it ends any program.
        ASSERT_TRUE(
            started.terminal.waitUntil([&] { return started.terminal.inAlternateScreen(); }));
        ASSERT_TRUE(started.takesWhatWasSent()) << started.state();
        while (*done < count && !started.hasEnded() && !testing::Test::HasFatalFailure()) {
            if (events.below(3) > 0) {
                pressMany(done);
            } else {
                pressOne();
                ++*done;
            }
        }
        if (started.hasEnded())
            expectWholeEnd();
    }
};

} // namespace

TEST(Random, EventsDoNoHarm)
{
    const long count = numberFrom("YAT_RANDOM_EVENTS", 3000);
    const long seed = numberFrom("YAT_RANDOM_SEED", std::random_device()() % 1000000);
    printf("seed %ld\n", seed);
    Events events(static_cast<unsigned>(seed));
    Workspace workspaces[] = {Workspace(programs[0].options), Workspace(programs[1].options),
                              Workspace(programs[2].options), Workspace(programs[3].options)};
    for (long done = 0; done < count && !HasFatalFailure();) {
        const int chosen = events.below(10), one = chosen < 6 ? 0 : chosen - 6;
        Course course{events, "seed " + std::to_string(seed), {programs[one], workspaces[one]}, ""};
        course.go(count, &done);
    }
}
