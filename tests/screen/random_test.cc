// SPDX-License-Identifier: GPL-2.0-or-later
// Whatever is typed, whatever becomes of the terminal's size and of the job: the programs neither
// crash nor hang, end by the keys that end them only, and leave the terminal's modes as they were.
//
// YAT_RANDOM_EVENTS says how many events there are, YAT_RANDOM_SEED which ones.
#include "session.h"

#include <csignal>
#include <fstream>
#include <memory>
#include <random>
#include <sys/wait.h>

using namespace keys;

namespace {

using std::chrono::milliseconds;

struct Event {
    std::string bytes;
    bool canEnd = false; // the program, in one window or another
};

struct Chance {
    int weight;
    Event event;
};

const std::string escape = "\x1b";

// Keys as an administrator presses them, and whatever else terminals send.
const Chance chances[] = {
    {40, {down}},
    {20, {up}},
    {40, {space, true}},
    {40, {enter, true}},
    {60, {tab}},
    {15, {backTab}},
    {8, {pageDown}},
    {8, {pageUp}},
    {8, {left}},
    {8, {right}},
    {4, {home}},
    {4, {end}},
    {8, {f12}},
    {2, {ctrlO, true}},
    {2, {ctrlA, true}},
    {4, {escape, true}},
    {3, {ctrlZ}},
    {3, {"\x03"}},
    {5, {"\x1b[1;5A"}},
    {5, {"\x1b[25~"}},
    {5, {"\x1bx"}},
    {5, {"\x1b[I"}},
    {5, {"\x1b[M !!"}},
    {5, {"\x1b[<0;10;10M"}},
    {5, {"\x1b[?62;c"}},
    {5, {"\x1b]11;rgb:0000/0000/0000\x07"}},
    {5, {"\x1b[200~rm -rf\r \x0f\x1b[A\x1b[201~"}},
    {8, {"q"}},
    {3, {"\xc3\xa4"}},
};

class Events {
public:
    explicit Events(unsigned seed) : random(seed) {}

    int below(int limit)
    {
        return static_cast<int>(random() % static_cast<unsigned>(limit));
    }

    // Some keys at once; done counts them.
    Event batch(long *done)
    {
        Event result;
        for (int i = 1 + below(30); i > 0; --i, ++*done) {
            const Event next = key();
            result.bytes += next.bytes;
            result.canEnd = result.canEnd || next.canEnd;
        }
        return result;
    }

    Event key()
    {
        int sum = 0;
        for (const Chance &chance : chances)
            sum += chance.weight;
        int at = below(sum);
        for (const Chance &chance : chances)
            if ((at -= chance.weight) < 0)
                return below(50) == 0 ? damaged(chance.event) : chance.event;
        return {};
    }

private:
    // Cut, or with other bytes.
    Event damaged(Event event)
    {
        event.canEnd = true;
        if (below(2) == 0)
            event.bytes.resize(
                static_cast<size_t>(below(static_cast<int>(event.bytes.size())) + 1));
        else
            for (int i = below(4); i >= 0; --i)
                event.bytes += byte();
        return event;
    }

    char byte()
    {
        constexpr char stopsOutput = '\x13'; // until Ctrl-Q, between the terminal and its user
        const char any = static_cast<char>(below(256));
        return any == stopsOutput ? ' ' : any;
    }

    std::mt19937 random;
};

long numberFrom(const char *variable, long usual)
{
    const char *value = getenv(variable);
    return value && *value ? atol(value) : usual;
}

// How long the process has waited for a processor, which says nothing against it.
milliseconds waited(pid_t process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/schedstat");
    long long running = 0, waiting = 0;
    file >> running >> waiting;
    return milliseconds(waiting / 1000000);
}

// A program in its terminal, without the spy and without newt's pauses for pressed buttons.
struct Started {
    Workspace &workspace;
    Terminal terminal;

    explicit Started(Workspace &around)
        : workspace(around), terminal({.command = around.command(), .environment = environment()})
    {
    }

    std::map<std::string, std::string> environment() const
    {
        auto result = workspace.environment();
        result["LD_PRELOAD"] = workspace.preloadable(NO_PAUSES);
        result["ESCDELAY"] = "20";
        // To look for leaks takes time after the screen is gone, in which Ctrl-C ends it.
        result["ASAN_OPTIONS"] += ":detect_leaks=0";
        return result;
    }

    // False when it hangs.
    bool takesWhatWasSent()
    {
        constexpr milliseconds step(20), longest(2000);
        const milliseconds before = waited(terminal.pid());
        for (milliseconds time(0); time < longest + waited(terminal.pid()) - before; time += step)
            if (hasEnded() || terminal.isIdleWithin(step))
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
        return terminal.wait(milliseconds(0)) != -1;
    }

    void stopAndContinue(int signal)
    {
        terminal.kill(signal);
        terminal.kill(SIGCONT);
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

} // namespace

TEST(Random, EventsDoNoHarm)
{
    const long count = numberFrom("YAT_RANDOM_EVENTS", 3000);
    const long seed = numberFrom("YAT_RANDOM_SEED", std::random_device()() % 1000000);
    printf("seed %ld\n", seed);
    Events events(static_cast<unsigned>(seed));
    Workspace programs[] = {Workspace({.arguments = {"-d"}}),
                            Workspace({.arguments = {"-d"}, .machine = "BIRCH"}),
                            Workspace({.program = "mrvgeneral", .arguments = {"-d"}}),
                            Workspace({.program = "mrvfirmware", .arguments = {"-d"}})};
    std::unique_ptr<Started> run;
    std::string sent; // to this run
    Event before;     // a batch
    for (long done = 0; done < count;) {
        if (!run) {
            const int one = events.below(10);
            run = std::make_unique<Started>(programs[one < 6 ? 0 : one - 6]);
            // Until its screen is there, Ctrl-C ends it as it ends any program.
            ASSERT_TRUE(run->terminal.waitUntil([&] { return run->terminal.inAlternateScreen(); }));
            run->terminal.waitUntilIdle();
            sent.clear();
            before = {};
        }
        const bool couldEnd = before.canEnd; // which may have ended in the beginning of a sequence
        before = events.batch(&done);
        run->terminal.send(before.bytes);
        sent += before.bytes;
        if (events.below(4) == 0)
            run->terminal.resize(1 + events.below(60), 1 + events.below(160));
        if (events.below(8) == 0)
            run->stopAndContinue(events.below(2) ? SIGTSTP : SIGSTOP);
        const auto story = [&] { return "seed " + std::to_string(seed) + ", sent " + shown(sent); };
        ASSERT_TRUE(run->takesWhatWasSent()) << run->state() << story();
        if (!run->hasEnded())
            continue;
        ASSERT_TRUE(before.canEnd || couldEnd) << story();
        const int status = run->terminal.wait();
        const bool wasInterrupted = // once it had given the terminal back
            status == SIGINT && before.bytes.find('\x03') != std::string::npos;
        ASSERT_TRUE(status == 1 << 8 || wasInterrupted) << status << "\n" << story();
        ASSERT_TRUE(run->terminal.modesAreAsBefore()) << story();
        ASSERT_FALSE(run->terminal.inAlternateScreen()) << story();
        run.reset();
    }
}
