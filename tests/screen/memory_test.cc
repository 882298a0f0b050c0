// SPDX-License-Identifier: GPL-2.0-or-later
// Memory that comes to an end, at the start or in a window: the program says so once its screen is
// gone. Each way through the code that leads to an allocation meets it with YAT_FULL set, some of
// them without.
#include "navigation.h"

#include <csignal>
#include <cstdlib>
#include <set>
#include <sstream>
#include <sys/wait.h>

using namespace keys;

namespace {

const std::string escape = "\x1b";

// Tab so many times, and Enter.
std::string button(int tabs)
{
    std::string result;
    for (int i = 0; i < tabs; ++i)
        result += tab;
    return result + enter;
}

struct Case {
    const char *name;
    const char *program;
    std::string first;              // a text on its first screen
    std::vector<std::string> steps; // from there on
    std::string last;               // a text that these lead to
    size_t parts = 1;               // in which its ways are tried with YAT_FULL, at a time
    size_t part = 0;
};

const std::string done = "successful";

// Made when it is asked for, as the paths of the devices are made in another file.
std::vector<Case> cases()
{
    const std::vector<std::string> stop = {cpuModule.path + enter, button(5), enter, enter};
    const std::vector<std::string> update = {
        cpuModule.path + enter, button(8), button(2), enter, enter, backTab + enter};
    return {
        {"Tree", "mrvutil", "Exit", {space, down + space}, "CPU modules"},
        {"CpuModule", "mrvutil", "Exit", stop, done, 2},
        {"BiosView",
         "mrvutil",
         "Exit",
         {cpuModule.path + enter, button(9), enter},
         "BIOS version:"},
        {"FirmUpdate", "mrvutil", "Exit", update, "Update method:", 3},
        {"PciModule", "mrvutil", "Exit", {pciModule.path + enter, button(5), enter, enter}, done},
        {"ScsiAdapter", "mrvutil", "Exit", {scsiAdapter.path + enter, enter, enter, enter}, done},
        {"EthernetAdapter",
         "mrvutil",
         "Exit",
         {ethernetAdapter.path + enter, enter, enter, enter},
         done},
        {"GeneralSettings",
         "mrvgeneral",
         "Execute",
         {space + button(3), enter, enter},
         "Execute",
         4},
        {"Firmware", "mrvfirmware", "Close", {enter, enter}, "04.17", 2},
        {"FMUpdate", "toolkit", "Close", {"a" + button(1), enter}, "Execute"},
    };
}

std::vector<Case> partsOfCases()
{
    std::vector<Case> result;
    for (Case each : cases())
        for (each.part = 0; each.part < each.parts; ++each.part)
            result.push_back(each);
    return result;
}

void PrintTo(const Case &visited, std::ostream *stream)
{
    *stream << visited.name;
}

// As far as the memory goes.
struct Visit {
    Workspace workspace;
    Terminal terminal;

    Visit(const Case &visited, long lastAllocation)
        : workspace(RunOptions{.program = visited.program}),
          terminal({.command = workspace.command(),
                    .environment = environment(lastAllocation),
                    .echoes = false}) // or a key that comes while the program ends would be told
    {
        terminal.waitUntil([&] { return terminal.contains(visited.first); });
        for (const std::string &step : visited.steps)
            sendToLiving(step);
        constexpr int mostOpen = 20;
        for (int i = 0; i < mostOpen && isLiving(); ++i)
            sendToLiving(i % 5 == 4 ? enter : escape); // which some boxes are closed by
    }

    bool isLiving()
    {
        return terminal.wait(std::chrono::milliseconds(0)) == -1;
    }

    void sendToLiving(const std::string &step)
    {
        if (isLiving())
            terminal.waitUntilIdle();
        if (isLiving())
            terminal.send(step);
    }

    // Without the spy, which would take memory for itself.
    std::map<std::string, std::string> environment(long lastAllocation) const
    {
        auto result = workspace.environment();
        result["LD_PRELOAD"] = workspace.preloadable(SHORT_MEMORY);
        result["YAT_LAST_ALLOCATION"] = std::to_string(lastAllocation);
        result["YAT_ALLOCATIONS"] = (workspace.directory() / "allocations").string();
        result["YAT_CONSOLE"] = (workspace.directory() / "console").string();
        result["ESCDELAY"] = "0"; // or the program would wait for what follows an Esc
        result["TOOLKIT"] = "FMUpdate";
        return result;
    }

    // The first allocation of each way to one.
    std::map<std::string, long> ways() const
    {
        std::map<std::string, long> result;
        for (const std::string &line : linesOf(readFile(workspace.directory() / "allocations"))) {
            std::istringstream words(line);
            long number = 0;
            std::string way;
            words >> number >> way;
            result.emplace(way, number);
        }
        return result;
    }

    // It ends as a failure does, or by the fault that newt meets; and leaves all as it was. False
    // when it could do without: what it wants shortly before its end, or only when it is slow.
    bool hasFailed(const std::string &program)
    {
        const int status = terminal.wait();
        expectAsBefore();
        if (status == 1 << 8)
            return false;
        EXPECT_TRUE(status == 0 || WTERMSIG(status) == SIGSEGV || WTERMSIG(status) == SIGABRT)
            << status;
        const std::string output = terminal.output();
        EXPECT_TRUE(output.ends_with(program + ": out of memory\r\n")
                    || output.ends_with("System call error!Can't malloc!")) // for the texts
            << output;
        return true;
    }

    void expectAsBefore()
    {
        const std::string output = terminal.output();
        EXPECT_FALSE(terminal.inAlternateScreen());
        // A screen that is left without having been entered looks to the emulator as if it hid it.
        EXPECT_TRUE(terminal.cursorIsVisible() || output.find("\x1b[?25l") == output.npos);
        EXPECT_TRUE(terminal.modesAreAsBefore());
        const std::string console = readFile(workspace.directory() / "console");
        EXPECT_TRUE(console.empty() || console == "6") << console;
    }
};

bool isFull()
{
    return getenv("YAT_FULL");
}

class EveryMemory : public testing::TestWithParam<Case> {
protected:
    // The allocations to fail, in their order: those that this case is the first one to have, of
    // all the cases of its program when each is tried.
    std::set<long> chosen()
    {
        const Case &visited = GetParam();
        Visit whole(visited, 0);
        EXPECT_EQ(whole.terminal.wait(), 1 << 8) << whole.terminal.picture();
        EXPECT_NE(whole.terminal.output().find(visited.last), std::string::npos);
        std::map<std::string, long> ways = whole.ways();
        for (const auto &[way, number] : ways)
            end = std::max(end, number);
        for (const Case &earlier : cases()) {
            if (std::string_view(earlier.program) != visited.program
                || std::string_view(earlier.name) == visited.name)
                break;
            for (const auto &[way, number] : Visit(earlier, 0).ways())
                ways.erase(way);
            if (!isFull())
                break;
        }
        std::set<long> result;
        for (const auto &[way, number] : ways)
            if (number > 1) // by which C++ has memory for its exceptions, before the program begins
                result.insert(number);
        return result;
    }

    long end = 0;
};

} // namespace

TEST_P(EveryMemory, ThatComesToAnEndIsToldOnceTheScreenIsGone)
{
    const std::set<long> numbers = chosen();
    ASSERT_GT(numbers.size(), 5u);
    const size_t every = isFull() ? GetParam().parts : numbers.size() / 5;
    size_t i = 0, tried = 0, failed = 0;
    for (const long number : numbers) {
        if (i++ % every != GetParam().part)
            continue;
        SCOPED_TRACE(std::to_string(number) + " of " + std::to_string(end));
        Visit visit(GetParam(), number);
        ++tried;
        failed += visit.hasFailed(GetParam().program) ? 1 : 0;
        ASSERT_FALSE(HasFailure()); // the next one would not be waited for
    }
    EXPECT_GE(failed * 4, tried * 3);
    printf("%zu of %zu ways to an allocation, %zu failures\n", tried, numbers.size(), failed);
}

INSTANTIATE_TEST_SUITE_P(Memory, EveryMemory, testing::ValuesIn(partsOfCases()),
                         [](const auto &info) {
                             const size_t part = info.param.part;
                             return info.param.name + (part ? std::to_string(part) : "");
                         });

TEST(Memory, ThatEndsBeforeAComplaintIsToldSendsNoControlCharacter)
{
    Workspace workspace({.machine = "/no/\x1b[31m\u00e4/platform.so"});
    const auto link = workspace.directory() / "mrv\x1b]0;of a long name";
    std::filesystem::create_symlink(PROGRAMS "/mrvutil", link);
    auto environment = workspace.environment();
    environment["LD_PRELOAD"] = workspace.preloadable(SHORT_MEMORY);
    environment["YAT_ALLOCATIONS"] = (workspace.directory() / "allocations").string();
    const auto errorsWith = [&](long last) {
        environment["YAT_LAST_ALLOCATION"] = std::to_string(last);
        return run({link.string(), "-debug"}, {.environment = environment}).errors;
    };
    EXPECT_NE(errorsWith(0).find("/no/?[31m\u00e4/"), std::string::npos);
    std::vector<std::string> ways = linesOf(readFile(workspace.directory() / "allocations"));
    bool isReplaced = false;
    for (; !ways.empty() && !isReplaced; ways.pop_back()) {
        const std::string errors = errorsWith(atol(ways.back().c_str()));
        ASSERT_NE(errors.find("mrv?]0;of a long name: "), std::string::npos) << ways.back();
        EXPECT_EQ(errors.find('\x1b'), std::string::npos) << errors;
        isReplaced = errors.find("/no/?[31m??") != std::string::npos; // without a conversion
    }
    EXPECT_TRUE(isReplaced);
    ASSERT_GT(ways.size(), 50u);
    for (size_t i = 1; i < 50; ++i) // the first ones come before the name is taken up
        EXPECT_EQ(errorsWith(atol(ways[i].c_str())).find('\x1b'), std::string::npos) << ways[i];
}
