// SPDX-License-Identifier: GPL-2.0-or-later
#include "report.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <map>
#include <sys/sysinfo.h>
#include <unistd.h>
#include <vector>

namespace {

double least(const std::vector<double> &times)
{
    return *std::ranges::min_element(times);
}

double greatest(const std::vector<double> &times)
{
    return *std::ranges::max_element(times);
}

std::string cpuModel()
{
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with("model name"))
            return line.substr(line.find(':') + 2);
    return "unknown";
}

std::string withUnit(double seconds)
{
    struct Unit {
        double seconds;
        const char *name;
    };
    constexpr Unit units[] = {{1, "s"}, {1e-3, "ms"}, {1e-6, "us"}, {1e-9, "ns"}};
    const Unit *unit =
        std::ranges::find_if(units, [&](const Unit &one) { return seconds >= one.seconds; });
    if (unit == std::end(units))
        --unit;
    char text[32];
    snprintf(text, sizeof text, "%.3g %s", seconds / unit->seconds, unit->name);
    return text;
}

std::string percent(double part)
{
    char text[32];
    snprintf(text, sizeof text, "%.0f %%", part * 100);
    return text;
}

const char *growth(benchmark::BigO complexity)
{
    switch (complexity) {
    case benchmark::o1: return "1";
    case benchmark::oN: return "n";
    case benchmark::oNSquared: return "n^2";
    case benchmark::oNCubed: return "n^3";
    case benchmark::oLogN: return "log n";
    case benchmark::oNLogN: return "n log n";
    default: return "?";
    }
}

// The results as a Markdown table.
class Table : public benchmark::BenchmarkReporter {
public:
    explicit Table(FILE *output) : out(output) {}

    bool ReportContext(const Context &) override
    {
        fprintf(out, "%s\n\n", conditions().c_str());
        fprintf(out, "| benchmark | min | median | max |\n|---|---:|---:|---:|\n");
        return true;
    }

    void ReportRuns(const std::vector<Run> &runs) override
    {
        std::map<std::string, double> aggregates;
        for (const Run &run : runs) {
            if (run.error_occurred) {
                failed = true;
                fprintf(out, "| %s | | failed: %s | |\n", nameOf(run).c_str(),
                        run.error_message.c_str());
                return;
            }
            if (run.report_big_o)
                growths += "| " + nameOf(run) + " grows with n like | | " + growth(run.complexity);
            if (run.report_rms)
                growths += ", off by " + percent(run.GetAdjustedRealTime()) + " | |\n";
            if (run.run_type == Run::RT_Aggregate && !run.report_big_o && !run.report_rms)
                aggregates[run.aggregate_name] =
                    run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
        }
        if (!aggregates.empty()) {
            fprintf(out, "| %s | %s | %s | %s |\n", nameOf(runs[0]).c_str(),
                    withUnit(aggregates["min"]).c_str(), withUnit(aggregates["median"]).c_str(),
                    withUnit(aggregates["max"]).c_str());
            fputs(growths.c_str(), out);
            growths.clear();
        }
        fflush(out);
    }

    bool failed = false;

private:
    static std::string nameOf(const Run &run)
    {
        std::string name = run.run_name.function_name;
        if (!run.run_name.args.empty())
            name += " " + run.run_name.args;
        return name;
    }

    FILE *out;
    std::string growths; // they come before the row of the last size
};

} // namespace

std::string conditions()
{
    char date[32];
    const time_t now = time(nullptr);
    strftime(date, sizeof date, "%Y-%m-%d", gmtime(&now));
    return std::string(date) + ", " + std::to_string(get_nprocs()) + " x " + cpuModel() + ", "
           + BUILD_TYPE + " build, " + COMPILER;
}

void repeated(benchmark::internal::Benchmark *benchmark, int repetitions)
{
    benchmark->Repetitions(repetitions)
        ->ComputeStatistics("min", least)
        ->ComputeStatistics("max", greatest);
}

void repeatedForSomeTime(benchmark::internal::Benchmark *benchmark)
{
    repeated(benchmark->MinTime(0.05), 9);
}

int runBenchmarks(int argc, char **argv, int output)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    FILE *out = fdopen(output, "w");
    if (!out)
        return 1;
    Table table(out);
    const bool ran = benchmark::RunSpecifiedBenchmarks(&table) > 0;
    benchmark::Shutdown();
    return fclose(out) == 0 && ran && !table.failed ? 0 : 1;
}
