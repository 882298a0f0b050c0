// SPDX-License-Identifier: GPL-2.0-or-later
// The cost of a trace record.
#include "report.h"
#include "support/files.h"

#include "base/tracing.h"

#include <csignal>
#include <cstdlib>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

static constexpr char traceSource[] = "bench";

namespace {

constexpr char memory[] = "/dev/shm";
constexpr char disk[] = "."; // where the benchmark is started

bool openLog(const TemporaryDirectory &scratch)
{
    setenv("YAT_STATE_DIR", scratch.path.c_str(), 1);
    return TraceLogInit(0, "bench", 0, 5, 0) == 1;
}

void closeLog()
{
    TraceLogInit(0, "", 0, 0, 0);
}

// The record of which a start writes the most.
int writeRecord(int number)
{
    return TRACE("param[%d]:\t%d.", number & 7, number);
}

void writeRecords(benchmark::State &state)
{
    int number = 0;
    for (auto _ : state)
        if (writeRecord(++number) == 0) {
            state.SkipWithError("the record was not written");
            break;
        }
}

void record(benchmark::State &state, const char *directory)
{
    const TemporaryDirectory scratch(directory);
    if (!openLog(scratch))
        return state.SkipWithError("the log can't be opened");
    writeRecords(state);
    closeLog();
}

void recordBesideAnother(benchmark::State &state, const char *directory)
{
    const TemporaryDirectory scratch(directory);
    const pid_t other = fork();
    if (other == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        for (int number = openLog(scratch); number > 0 && writeRecord(number) == 1;)
            number = number % 1000 + 1;
        _exit(1);
    }
    if (!openLog(scratch)) {
        state.SkipWithError("the log can't be opened");
    } else {
        while (std::filesystem::file_size(scratch.path / "log/bench.log") == 0
               && waitpid(other, nullptr, WNOHANG) == 0)
            sched_yield(); // until the other writes
        writeRecords(state);
    }
    closeLog();
    if (waitpid(other, nullptr, WNOHANG) != 0)
        return state.SkipWithError("the other process has ended");
    kill(other, SIGKILL);
    waitpid(other, nullptr, 0);
}

void longRecord(benchmark::State &state, const char *directory)
{
    const TemporaryDirectory scratch(directory);
    if (!openLog(scratch))
        return state.SkipWithError("the log can't be opened");
    const std::string text(4000, 'x');
    for (auto _ : state)
        benchmark::DoNotOptimize(TRACE("%s", text.c_str()));
    closeLog();
}

void recordWithoutLog(benchmark::State &state)
{
    closeLog();
    int number = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(writeRecord(++number));
}

BENCHMARK_CAPTURE(record, tmpfs, memory)->Apply(repeatedForSomeTime);
BENCHMARK_CAPTURE(record, disk, disk)->Apply(repeatedForSomeTime);
BENCHMARK_CAPTURE(recordBesideAnother, tmpfs, memory)->UseRealTime()->Apply(repeatedForSomeTime);
BENCHMARK_CAPTURE(recordBesideAnother, disk, disk)->UseRealTime()->Apply(repeatedForSomeTime);
BENCHMARK_CAPTURE(longRecord, tmpfs, memory)->Apply(repeatedForSomeTime);
BENCHMARK(recordWithoutLog)->Apply(repeatedForSomeTime);

} // namespace

int main(int argc, char **argv)
{
    return runBenchmarks(argc, argv, dup(STDOUT_FILENO));
}
