// SPDX-License-Identifier: GPL-2.0-or-later
#include "job.h"

#include "support/files.h"
#include "support/process.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

[[noreturn]] static void endAs(pid_t job)
{
    int status = 0;
    while (waitpid(job, &status, 0) != job)
        continue;
    if (WIFSIGNALED(status)) {
        signal(WTERMSIG(status), SIG_DFL);
        raise(WTERMSIG(status));
    }
    _exit(WEXITSTATUS(status));
}

void becomeJob()
{
    if (const pid_t job = fork(); job != 0)
        endAs(job);
    setpgid(0, 0);
    signal(SIGTTOU, SIG_IGN);
    tcsetpgrp(STDIN_FILENO, getpid());
    signal(SIGTTOU, SIG_DFL);
}

pid_t jobOf(pid_t leader)
{
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (std::chrono::steady_clock::now() < end) {
        if (const pid_t job = childOf(leader))
            return job;
        std::this_thread::yield();
    }
    throw std::runtime_error("no job");
}

pid_t childOf(pid_t process)
{
    const std::string parent = std::to_string(process);
    std::ifstream file("/proc/" + parent + "/task/" + parent + "/children");
    pid_t child = 0;
    file >> child;
    return child;
}

char stateOf(pid_t process)
{
    const std::string line = readFile("/proc/" + std::to_string(process) + "/stat");
    const size_t name = line.rfind(") ");
    return name == line.npos ? '\0' : line.at(name + 2);
}

std::vector<std::string> openFilesOf(pid_t process)
{
    namespace fs = std::filesystem;
    std::vector<std::string> result;
    for (const auto &entry : fs::directory_iterator("/proc/" + std::to_string(process) + "/fd")) {
        const fs::path target = fs::read_symlink(entry.path());
        const std::string name = target.filename();
        const bool isTerminal = target.parent_path() == "/dev/pts";
        result.push_back(isTerminal ? "terminal" : name.substr(0, name.find(":[")));
    }
    std::ranges::sort(result);
    return result;
}
