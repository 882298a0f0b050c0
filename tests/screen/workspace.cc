#include "workspace.h"

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <pty.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

std::string readFile(const fs::path &path)
{
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

std::vector<std::string> linesOf(const std::string &text)
{
    std::vector<std::string> result;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        result.push_back(line);
    return result;
}

Workspace::Workspace(const RunOptions &given) : options(given)
{
    std::string pattern = (fs::temp_directory_path() / "mrvutil-test-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        throw std::runtime_error("no temporary directory");
    own = pattern;
    state = options.state.empty() ? own / "state" : fs::path(options.state);
    std::ofstream script(own / "script");
    script << options.script << "\n";
    if (!options.tree.empty())
        script << "tree " << (own / "tree").string() << "\n";
    std::ofstream(own / "tree") << options.tree;
}

Workspace::~Workspace()
{
    for (const auto &file : fs::directory_iterator(own))
        if (file.path().filename().string().starts_with("sanitizer"))
            ADD_FAILURE() << readFile(file.path());
    fs::remove_all(own);
}

void Workspace::letGo() const
{
    std::ofstream(own / "script.go");
}

std::vector<std::string> Workspace::command() const
{
    std::vector<std::string> result = {
        options.program == "toolkit" ? TOOLKIT : std::string(PROGRAMS) + "/" + options.program};
    result.insert(result.end(), options.arguments.begin(), options.arguments.end());
    return result;
}

std::map<std::string, std::string> Workspace::environment() const
{
    const std::string log = "log_path=" + (own / "sanitizer").string();
    std::map<std::string, std::string> result = {
        {"PATH", "/usr/bin:/bin"},
        {"HOME", own.string()},
        {"TERM", options.term},
        {"LANG", options.language},
        {"LOCPATH", LOCALES},
        {"TZ", "UTC"},
        {"YAT_STATE_DIR", state.string()},
        {"YAT_MACHINE", options.machine},
        {"YAT_TIME_SCALE", "0"},
        {"YAT_SPY_SCRIPT", (own / "script").string()},
        {"YAT_SPY_LOG", (own / "calls").string()},
        {"LD_PRELOAD", SPY},
        // The spy comes before the sanitizers' library, which does no harm.
        {"ASAN_OPTIONS", "verify_asan_link_order=0:" + log},
        {"UBSAN_OPTIONS", "print_stacktrace=1:" + log},
        {"LSAN_OPTIONS", std::string("print_suppressions=0:suppressions=") + SUPPRESSIONS},
    };
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
    std::vector<std::string> result;
    for (const std::string &line : linesOf(readFile(state / "log" / "YATmrvutil.log"))) {
        std::istringstream words(line);
        std::string date, time, process, level, module, function, number, text;
        words >> date >> time >> process >> level >> module >> function >> number;
        std::getline(words.ignore(), text);
        if (source.empty() || module == source)
            result.push_back(level + " " + function + " " + text);
    }
    return result;
}

std::vector<std::string> Workspace::calls() const
{
    return linesOf(readFile(own / "calls"));
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

PlainRun runPlain(const Workspace &workspace, const PlainStreams &streams)
{
    std::vector<std::string> command = workspace.command(), variables;
    for (const auto &[name, value] : workspace.environment())
        variables.push_back(name + "=" + value);
    std::vector<char *> arguments, environment;
    for (std::string &argument : command)
        arguments.push_back(argument.data());
    for (std::string &variable : variables)
        environment.push_back(variable.data());
    arguments.push_back(nullptr);
    environment.push_back(nullptr);

    const fs::path out = workspace.directory() / "out", err = workspace.directory() / "err";
    int controller = -1, replica = -1;
    const bool needsTerminal = streams.inputIsTerminal || streams.outputIsTerminal;
    if (needsTerminal && openpty(&controller, &replica, nullptr, nullptr, nullptr) != 0)
        throw std::runtime_error("openpty");
    const pid_t child = fork();
    if (child == 0) {
        setsid(); // no controlling terminal either
        dup2(streams.inputIsTerminal ? replica : open(streams.input.c_str(), O_RDONLY), 0);
        dup2(streams.outputIsTerminal ? replica : open(out.c_str(), O_WRONLY | O_CREAT, 0600), 1);
        dup2(open(err.c_str(), O_WRONLY | O_CREAT, 0600), 2);
        alarm(30); // the deadline
        execve(arguments[0], arguments.data(), environment.data());
        _exit(126);
    }
    int status;
    waitpid(child, &status, 0);
    for (const int descriptor : {controller, replica})
        if (descriptor >= 0)
            close(descriptor);
    return {.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1,
            .output = readFile(out),
            .errors = readFile(err)};
}
