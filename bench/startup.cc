// The time that the program takes from its start to its first screen, and to its end when it
// only prints its device data.
#include "report.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int deadline = 10000; // milliseconds
constexpr int quiet = 30;       // milliseconds without output that make a screen complete
constexpr char ctrlA[] = "\x01"; // ends the main window

double secondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

bool endsWith(pid_t child, int wanted)
{
    int status;
    return waitpid(child, &status, 0) == child && WIFEXITED(status)
           && WEXITSTATUS(status) == wanted;
}

// Reads until the text was seen and nothing follows it. The time of the last byte, 0 for none.
double timeOfScreen(int terminal, const std::string &text, Clock::time_point begin)
{
    std::string output;
    double last = 0;
    for (;;) {
        const bool seen = output.find(text) != std::string::npos;
        pollfd input{.fd = terminal, .events = POLLIN, .revents = 0};
        if (poll(&input, 1, seen ? quiet : deadline) <= 0)
            return seen ? last : 0;
        char bytes[65536];
        const ssize_t count = read(terminal, bytes, sizeof bytes);
        if (count <= 0)
            return 0;
        last = secondsSince(begin);
        output.append(bytes, static_cast<size_t>(count));
    }
}

void firstScreen(benchmark::State &state)
{
    for (auto _ : state) {
        winsize size{.ws_row = 24, .ws_col = 80, .ws_xpixel = 0, .ws_ypixel = 0};
        int terminal;
        const Clock::time_point begin = Clock::now();
        const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
        if (child == 0) {
            execl(PROGRAM, PROGRAM, "-d", nullptr); // leaves the kernel's console as it is
            _exit(127);
        }
        const double time = timeOfScreen(terminal, "Exit", begin);
        state.SetIterationTime(time);
        const bool sent = write(terminal, ctrlA, 1) == 1;
        if (time == 0 || !sent)
            kill(child, SIGKILL);
        else
            timeOfScreen(terminal, "nothing comes after the end", begin);
        if (!endsWith(child, 1))
            state.SkipWithError("the program did not show its screen and end with its hot key");
        close(terminal);
    }
}

void toEnd(benchmark::State &state, const char *program, const char *argument, int status)
{
    for (auto _ : state) {
        const Clock::time_point begin = Clock::now();
        const pid_t child = fork();
        if (child == 0) {
            const int nowhere = open("/dev/null", O_RDWR);
            dup2(nowhere, STDIN_FILENO);
            dup2(nowhere, STDOUT_FILENO);
            setsid(); // away from the terminal, if there is one
            execl(program, program, argument, nullptr);
            _exit(127);
        }
        if (!endsWith(child, status))
            state.SkipWithError("the program did not end as it should");
        state.SetIterationTime(secondsSince(begin));
    }
}

void manyTimes(benchmark::internal::Benchmark *benchmark)
{
    repeated(benchmark, 50);
    benchmark->Iterations(1)->UseManualTime();
}

BENCHMARK(firstScreen)->Apply(manyTimes);
BENCHMARK_CAPTURE(toEnd, debug, PROGRAM, "-debug", 1)->Apply(manyTimes);
BENCHMARK_CAPTURE(toEnd, true_for_comparison, "/bin/true", nullptr, 0)->Apply(manyTimes);

} // namespace

int main(int argc, char **argv)
{
    const Scratch state(std::filesystem::temp_directory_path().string());
    setenv("YAT_STATE_DIR", state.path.c_str(), 1);
    setenv("YAT_MACHINE", "CEDAR", 1);
    setenv("LC_ALL", "C.UTF-8", 1);
    setenv("TERM", "xterm-256color", 1);
    return runBenchmarks(argc, argv, dup(STDOUT_FILENO));
}
