// SPDX-License-Identifier: GPL-2.0-or-later
#include "workspace.h"

#include "support/trace.h"

#include <algorithm>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <stdexcept>
#include <unistd.h>

namespace fs = std::filesystem;

Workspace::Workspace(const RunOptions &given)
    : options(given), state(given.state.empty() ? directory() / "state" : fs::path(given.state))
{
    const fs::path tree = directory() / "tree";
    writeFile(tree, options.tree);
    writeFile(directory() / "script",
              options.script + "\n" + (options.tree.empty() ? "" : "tree " + tree.string() + "\n"));
}

std::string Workspace::preloadable(const fs::path &library) const
{
    const fs::path link = directory() / library.filename();
    if (!fs::exists(link))
        fs::create_symlink(library, link);
    return link.string();
}

// Where a process is stopped or continued while it looks for its leaks, that is told and no more.
static bool tellsOfAStopOnly(const std::string &log)
{
    return log.find("Unable to get registers from thread") != log.npos
           && std::ranges::count(log, '\n') == 1;
}

Workspace::~Workspace()
{
    for (const auto &file : fs::directory_iterator(directory())) {
        if (!file.path().filename().string().starts_with("sanitizer") || file.file_size() == 0)
            continue;
        const std::string log = readFile(file.path());
        if (!tellsOfAStopOnly(log))
            ADD_FAILURE() << log;
    }
}

void Workspace::letGo() const
{
    writeFile(directory() / "script.go", "");
}

std::vector<std::string> Workspace::command() const
{
    std::vector<std::string> result;
    if (getenv("YAT_VALGRIND"))
        result = {"/usr/bin/valgrind", "--quiet", "--suppressions=" SOURCES "/tests/valgrind.supp",
                  "--log-file=" + (directory() / "sanitizer.%p").string()};
    result.push_back(options.program == "toolkit" ? TOOLKIT
                                                  : std::string(PROGRAMS) + "/" + options.program);
    result.insert(result.end(), options.arguments.begin(), options.arguments.end());
    return result;
}

std::map<std::string, std::string> Workspace::environment() const
{
    const std::string log = "log_path=" + (directory() / "sanitizer").string();
    std::map<std::string, std::string> result = {
        {"PATH", "/usr/bin:/bin"},
        {"HOME", directory().string()},
        {"TERM", options.term},
        {"LANG", options.language},
        {"LOCPATH", LOCALES},
        {"TZ", "UTC"},
        {"YAT_STATE_DIR", state.string()},
        {"YAT_MACHINE", options.machine},
        {"YAT_TIME_SCALE", "0"},
        {"YAT_SPY_SCRIPT", (directory() / "script").string()},
        {"YAT_SPY_LOG", (directory() / "calls").string()},
        {"LD_PRELOAD", preloadable(SPY)},
        // The spy comes before the sanitizers' library, which does no harm.
        {"ASAN_OPTIONS", "verify_asan_link_order=0:" + log},
        {"UBSAN_OPTIONS", "print_stacktrace=1:" + log},
        {"LSAN_OPTIONS", std::string("print_suppressions=0:suppressions='") + SUPPRESSIONS + "'"},
    };
    if (getenv("YAT_VALGRIND"))
        result.erase("LD_PRELOAD"); // valgrind would have the spy itself
    for (const char *name :
         {"YAT_COUNTS", "GCOV_ERROR_FILE", "GCOV_PREFIX"}) // where lines are counted
        if (const char *value = getenv(name))
            result[name] = value;
    for (const auto &[name, value] : options.environment) {
        if (value == "(unset)")
            result.erase(name);
        else
            result[name] = value;
    }
    return result;
}

std::vector<std::string> Workspace::trace(const std::string &source) const
{
    return readTrace(state / "log" / "YATmrvutil.log", source);
}

std::vector<std::string> Workspace::calls() const
{
    return linesOf(readFile(directory() / "calls"));
}

void expectInOrder(const std::vector<std::string> &records, const std::vector<std::string> &wanted)
{
    size_t next = 0;
    for (const std::string &record : records) {
        if (next == wanted.size())
            break;
        const std::string &pattern = wanted[next];
        const bool fits = pattern.ends_with("*")
                              ? record.starts_with(pattern.substr(0, pattern.size() - 1))
                              : record == pattern;
        next += fits ? 1 : 0;
    }
    if (next < wanted.size()) {
        std::string all;
        for (const std::string &record : records)
            all += record + "\n";
        ADD_FAILURE() << "missing, or out of order: " << wanted[next] << "\nin\n" << all;
    }
}

Finished runPlain(const Workspace &workspace, const PlainStreams &streams)
{
    int controller = -1, replica = -1;
    if ((streams.inputIsTerminal || streams.outputIsTerminal)
        && openpty(&controller, &replica, nullptr, nullptr, nullptr) != 0)
        throw std::runtime_error("openpty");
    const Finished result =
        run(workspace.command(),
            {.environment = workspace.environment(), .prepare = [&] {
                 setsid(); // no controlling terminal either
                 dup2(streams.inputIsTerminal ? replica : open(streams.input.c_str(), O_RDONLY),
                      STDIN_FILENO);
                 if (streams.outputIsTerminal)
                     dup2(replica, STDOUT_FILENO);
                 if (!streams.output.empty())
                     dup2(open(streams.output.c_str(), O_WRONLY), STDOUT_FILENO);
             }});
    for (const int descriptor : {controller, replica})
        if (descriptor >= 0)
            close(descriptor);
    return result;
}
