// SPDX-License-Identifier: GPL-2.0-or-later
// However the program ends, the terminal and the kernel's console level are as before, soon.
#include "navigation.h"

#include <algorithm>
#include <csignal>
#include <sys/resource.h>

namespace {

using namespace std::chrono_literals;

// The sanitizers would have a fault for themselves.
const std::pair<const std::string, std::string> noFaultOfTheirs = {
    "ASAN_OPTIONS", "verify_asan_link_order=0:handle_segv=0:handle_sigbus=0:"
                    "handle_sigfpe=0:handle_sigill=0:handle_abort=0"};

void expectRestored(Session &session)
{
    EXPECT_TRUE(session.terminal().modesAreAsBefore());
    EXPECT_FALSE(session.terminal().inAlternateScreen());
    EXPECT_TRUE(session.terminal().cursorIsVisible());
    EXPECT_FALSE(session.terminal().contains("┌"));
    EXPECT_EQ(session.calls("klogctl"),
              (std::vector<std::string>{"klogctl(6, null, 0)", "klogctl(8, null, 6)"}));
}

void openPciModule(Session &session)
{
    session.see("Exit");
    session.send(keys::space + keys::down + keys::down + keys::space + keys::down + keys::enter);
    session.see("Clear the MTBF count:");
}

// What the processor did for the programs that have ended.
double secondsOfEndedChildren()
{
    rusage used;
    getrusage(RUSAGE_CHILDREN, &used);
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(used.ru_utime) + seconds(used.ru_stime);
}

class EverySignal : public testing::TestWithParam<std::tuple<int, const char *>> {};

// Each program has its turn with each signal.
TEST_P(EverySignal, RestoresTheTerminalAndTakesItsEffect)
{
    static constexpr std::pair<const char *, const char *> programs[] = {
        {"mrvutil", "Exit"}, {"mrvgeneral", "Execute"}, {"mrvfirmware", "Close"}};
    const auto &[signal, term] = GetParam();
    const size_t type =
        static_cast<size_t>(std::ranges::find(terminalTypes, term) - std::begin(terminalTypes));
    const auto &[program, seen] = programs[(static_cast<size_t>(signal) + type) % 3];
    Session session({.program = program, .term = term, .environment = {noFaultOfTheirs}});
    session.see(seen);
    session.terminal().kill(signal);
    session.expectSignal(signal);
    expectRestored(session);
    EXPECT_EQ(session.terminal().output().find(program + std::string(": ")), std::string::npos)
        << session.terminal().output(); // it has no reason of its own
}

// All that end a process by themselves and can be told of it before.
std::vector<int> endingSignals()
{
    std::vector<int> result = {SIGHUP,  SIGINT,  SIGQUIT, SIGILL,    SIGTRAP, SIGABRT, SIGBUS,
                               SIGFPE,  SIGUSR1, SIGSEGV, SIGUSR2,   SIGPIPE, SIGALRM, SIGTERM,
                               SIGXCPU, SIGPROF, SIGPOLL, SIGVTALRM, SIGPWR,  SIGSYS,  SIGSTKFLT};
    result.insert(result.end(), {SIGRTMIN, SIGRTMIN + 7, SIGRTMAX});
    return result;
}

INSTANTIATE_TEST_SUITE_P(Ending, EverySignal,
                         testing::Combine(testing::ValuesIn(endingSignals()),
                                          testing::ValuesIn(terminalTypes)));

struct WayOut {
    const char *name;
    const char *program;
    std::string keysSent; // (none): it ends by itself
    const char *script = "";
    int status = 1;
};

const WayOut waysOut[] = {
    {"tree by Ctrl-O", "mrvutil", keys::ctrlO},
    {"tree by Ctrl-A", "mrvutil", keys::ctrlA},
    {"tree by Esc", "mrvutil", "\x1b"},
    {"tree by its button", "mrvutil", keys::tab + keys::enter},
    {"tree by its button and Space", "mrvutil", keys::tab + keys::space},
    {"settings by their button", "mrvgeneral", keys::backTab + keys::enter},
    {"settings by Esc", "mrvgeneral", "\x1b"},
    {"settings that cannot be read", "mrvgeneral", keys::enter, "GetBBDriverSettings 0", 0},
    {"firmware by its button", "mrvfirmware", keys::backTab + keys::enter},
    {"firmware by Esc", "mrvfirmware", "\x1b"},
    {"no devices", "mrvutil", keys::enter, "CreateTreeViewData 0", 0},
    {"no interface", "mrvutil", "", "ft_FunctionInit 0", 0},
    {"no tree", "mrvutil", "", "call_yat_is_ft 0"},
    {"tree by a library", "mrvutil", "", "CreateTreeViewData exit", 7},
    {"settings by a library", "mrvgeneral", "", "GetBBDriverSettings exit", 7},
    {"firmware by a library", "mrvfirmware", "", "LoadLibrary exit", 7},
};

class EveryWayOut : public testing::TestWithParam<std::tuple<WayOut, const char *>> {};

TEST_P(EveryWayOut, RestoresTheTerminal)
{
    const auto &[way, term] = GetParam();
    Session session({.program = way.program, .term = term, .script = way.script});
    if (!way.keysSent.empty()) {
        session.see("┌");
        EXPECT_EQ(session.terminal().inAlternateScreen(), hasAlternateScreen(term));
        EXPECT_FALSE(session.terminal().modesAreAsBefore());
        session.send(way.keysSent);
    }
    session.expectExit(way.status);
    expectRestored(session);
}

INSTANTIATE_TEST_SUITE_P(Ending, EveryWayOut,
                         testing::Combine(testing::ValuesIn(waysOut),
                                          testing::ValuesIn(terminalTypes)),
                         [](const auto &info) {
                             return inTestName(std::get<0>(info.param).name) + "_"
                                    + std::get<1>(info.param);
                         });

} // namespace

TEST(Ending, BySignalComesInTheMiddleOfAnOperation)
{
    Session session({.script = "InitBringDown real delay=600000"});
    openPciModule(session);
    session.send(keys::tab + keys::tab + keys::tab + keys::tab + keys::tab + keys::enter);
    session.see("Stop this PCI module");
    session.send(keys::enter);
    session.see("PCI module 1: Stop ...");
    session.terminal().kill(SIGTERM);
    session.expectSignal(SIGTERM);
    expectRestored(session);
}

TEST(Ending, WithAStackThatIsUsedUpRestoresTheTerminal)
{
    Session session({.script = "StatusChange overflow", .environment = {noFaultOfTheirs}});
    session.see("Exit");
    session.send(pciModule.path + keys::enter);
    session.expectSignal(SIGSEGV);
    expectRestored(session);
}

TEST(Ending, OptionDLeavesTheConsoleLevelAloneOnASignalToo)
{
    Session session({.arguments = {"-d"}});
    session.see("Exit");
    session.terminal().kill(SIGTERM);
    session.expectSignal(SIGTERM);
    EXPECT_TRUE(session.calls("klogctl").empty());
}

TEST(Ending, ByALibraryThatEndsTheProcessRestoresTheTerminal)
{
    Session session({.script = "InitBringDown exit"});
    openPciModule(session);
    session.send(keys::tab + keys::tab + keys::tab + keys::tab + keys::tab + keys::enter);
    session.see("Stop this PCI module");
    session.send(keys::enter);
    session.expectExit(7);
    expectRestored(session);
}

TEST(Ending, IsNotForALimitOfFiles)
{
    Session session;
    session.see("Exit");
    session.terminal().kill(SIGXFSZ);
    session.send(keys::space);
    session.see("[-] FT server");
    session.send(keys::ctrlO);
    session.expectExit(1);
}

TEST(Ending, WithTheTerminalIsByHangup)
{
    Session session;
    session.see("Exit");
    session.terminal().hangUp();
    session.expectSignal(SIGHUP);
    EXPECT_EQ(session.calls("klogctl").back(), "klogctl(8, null, 6)");
}

TEST(Ending, WithTheTerminalAndWithoutASignalIsInOrder)
{
    for (const bool inWindow : {false, true}) {
        const double before = secondsOfEndedChildren();
        Session session({.ignoreHangup = true});
        if (inWindow)
            openPciModule(session);
        else
            session.see("Exit");
        session.terminal().hangUp();
        session.expectExit(0);
        EXPECT_LT(secondsOfEndedChildren() - before, 1); // it does not ask on and on
        expectInOrder(session.calls(), {"klogctl(8, null, 6)", "ft_FunctionRelease() = 1",
                                        "freenewtlib()", "freeslanglib()"});
    }
}

TEST(Ending, InABoxThatOnlyItsButtonLeavesIsInOrderToo)
{
    Session session({.script = "CreateTreeViewData 0", .ignoreHangup = true});
    session.see("cannot be read");
    session.terminal().hangUp();
    session.expectExit(0);
}

TEST(Ending, SignalsThatWereIgnoredStayIgnored)
{
    Session session({.ignoreHangup = true});
    session.see("Exit");
    session.terminal().kill(SIGHUP);
    session.send(keys::space);
    session.see("[-] FT server");
    session.send(keys::ctrlO);
    session.expectExit(1);
}
