// SPDX-License-Identifier: GPL-2.0-or-later
// What the benchmarks share: repeated runs, told as a table with the least, the middle and the
// greatest time.
#pragma once

#include <benchmark/benchmark.h>

// What the figures hold for: day, processors, build.
std::string conditions();

// For a benchmark's registration: repeats it that many times, and has these three told.
void repeated(benchmark::internal::Benchmark *benchmark, int repetitions);

// The same nine times, each with as many iterations as 50 ms take.
void repeatedForSomeTime(benchmark::internal::Benchmark *benchmark);

// Runs all registered benchmarks that the arguments (those of Google Benchmark) choose, and
// writes the table to the file descriptor. The exit status.
int runBenchmarks(int argc, char **argv, int output);
