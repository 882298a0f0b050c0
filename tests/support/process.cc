// SPDX-License-Identifier: GPL-2.0-or-later
#include "process.h"

#include "files.h"

#include <csignal>
#include <fcntl.h>
#include <sstream>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::vector<char *> pointersTo(std::vector<std::string> &texts)
{
    std::vector<char *> pointers;
    for (std::string &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

// A file in memory that takes an output.
class Output {
public:
    Output() : descriptor(memfd_create("output", MFD_CLOEXEC)) {}
    ~Output()
    {
        close(descriptor);
    }
    Output(const Output &) = delete;
    Output &operator=(const Output &) = delete;

    std::string text() const
    {
        return readFile("/proc/self/fd/" + std::to_string(descriptor));
    }

    const int descriptor;
};

} // namespace

std::vector<std::string> commandOf(const std::string &program, const std::string &arguments)
{
    std::vector<std::string> command = {program};
    std::istringstream words(arguments);
    for (std::string word; words >> std::ws && !words.eof();) {
        if (words.peek() == '"') {
            words.get();
            std::getline(words, word, '"');
        } else {
            words >> word;
        }
        command.push_back(word);
    }
    return command;
}

void endAtDeadline()
{
    alarm(static_cast<unsigned>(deadline.count()));
}

pid_t forkUntilDeadline()
{
    const pid_t child = fork();
    if (child == 0)
        endAtDeadline();
    return child;
}

int waitForChild()
{
    const auto end = std::chrono::steady_clock::now() + deadline;
    int status = -1;
    while (waitpid(-1, &status, WNOHANG) == 0 && std::chrono::steady_clock::now() < end)
        usleep(2000);
    return status;
}

pid_t start(const std::vector<std::string> &command, const StartOptions &options)
{
    std::vector<std::string> words = command, variables;
    if (options.environment)
        for (const auto &[name, value] : *options.environment)
            variables.push_back(name + "=" + value);
    const std::vector<char *> arguments = pointersTo(words), environment = pointersTo(variables);
    const pid_t child = fork();
    if (child < 0)
        throw std::runtime_error("no other process");
    if (child > 0)
        return child;
    for (int signal = 1; signal < NSIG; ++signal) // the tests may run under nohup
        ::signal(signal, SIG_DFL);
    if (options.prepare)
        options.prepare();
    close_range(STDERR_FILENO + 1, ~0u,
                CLOSE_RANGE_CLOEXEC); // what whoever runs the tests has open
    execve(arguments[0], arguments.data(), options.environment ? environment.data() : environ);
    _exit(126);
}

Finished run(const std::vector<std::string> &command, const StartOptions &options)
{
    const Output out, err;
    const pid_t child = start(command, {.environment = options.environment, .prepare = [&] {
                                            dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
                                            dup2(out.descriptor, STDOUT_FILENO);
                                            dup2(err.descriptor, STDERR_FILENO);
                                            endAtDeadline();
                                            if (options.prepare)
                                                options.prepare();
                                        }});
    int status = 0;
    waitpid(child, &status, 0);
    return {.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status),
            .output = out.text(),
            .errors = err.text()};
}
