#include "summary.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>
#include <vector>

namespace {

const char *verdict(bool met)
{
    return met ? "ok" : "MISSED";
}

// Keys as the benchmarks are named: "<family>/<argument>", without the time-type suffix.
std::string keyOf(const benchmark::BenchmarkReporter::Run &run)
{
    if (run.run_name.args.empty())
        return run.run_name.function_name;
    return run.run_name.function_name + "/" + run.run_name.args;
}

} // namespace

SummaryReporter::SummaryReporter()
    : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_ColorTabular : OO_Tabular)
{}

void SummaryReporter::ReportRuns(const std::vector<Run> &runs)
{
    ConsoleReporter::ReportRuns(runs);
    for (const Run &run : runs) {
        if (run.run_type != Run::RT_Iteration || run.error_occurred || run.iterations == 0)
            continue;
        Result result;
        result.secondsPerIteration =
            run.real_accumulated_time / static_cast<double>(run.iterations);
        result.cpuSecondsPerIteration =
            run.cpu_accumulated_time / static_cast<double>(run.iterations);
        for (const auto &counter : run.counters)
            result.counters[counter.first] = counter.second.value;
        m_results[keyOf(run)] = result;
    }
}

const SummaryReporter::Result *SummaryReporter::find(const std::string &name) const
{
    const auto it = m_results.find(name);
    return it == m_results.end() ? nullptr : &it->second;
}

void SummaryReporter::printSummary() const
{
    std::printf("\n==== Summary ====\n");
    printRunner();
    printParsers();
    printOperations();
}

void SummaryReporter::printRunner() const
{
    const Result *runner = find("runner/call");
    const Result *bare = find("runner/bare_spawn");
    if (!runner || !bare)
        return;
    const double ratio = runner->secondsPerIteration / bare->secondsPerIteration;
    std::printf("\nCommand runner: call %.3f ms, bare spawn %.3f ms, ratio %.2f "
                "(target <= 1.50) %s\n",
                runner->secondsPerIteration * 1e3, bare->secondsPerIteration * 1e3, ratio,
                verdict(ratio <= 1.5));
    if (const Result *forked = find("runner/bare_fork"))
        std::printf("  bare fork+exec %.3f ms: call/fork %.2f\n", forked->secondsPerIteration * 1e3,
                    runner->secondsPerIteration / forked->secondsPerIteration);
}

void SummaryReporter::printParsers() const
{
    static const char *const parsers[] = {"machines",        "dhcpservers", "hostonlyifs",
                                          "guestproperties", "description", "snapshots",
                                          "bridgedifs"};
    static const int sizes[] = {1, 10, 100, 1000, 10000};
    const bool any =
        std::any_of(std::begin(parsers), std::end(parsers), [this](const char *parser) {
            return find(std::string("parse/") + parser + "/1") != nullptr;
        });
    if (!any)
        return;
    std::printf("\nParsers (CPU time per parse; 1000/100 target <= 12; MB/s target >= 20 at "
                "every size)\n");
    std::printf("  %-16s %10s %10s %10s %10s %10s %9s %12s\n", "parser", "1", "10", "100", "1000",
                "10000", "1000/100", "min MB/s");
    for (const char *parser : parsers) {
        const std::string family = std::string("parse/") + parser;
        if (!find(family + "/1"))
            continue;
        std::printf("  %-16s", parser);
        double slowest = -1;
        for (int size : sizes) {
            const Result *result = find(family + "/" + std::to_string(size));
            if (!result) {
                std::printf(" %10s", "-");
                continue;
            }
            std::printf(" %8.1fus", result->cpuSecondsPerIteration * 1e6);
            const auto bytes = result->counters.find("input_bytes");
            if (bytes != result->counters.end()) {
                const double rate = bytes->second / result->cpuSecondsPerIteration / 1e6;
                slowest = slowest < 0 ? rate : std::min(slowest, rate);
            }
        }
        const Result *hundred = find(family + "/100");
        const Result *thousand = find(family + "/1000");
        if (hundred && thousand) {
            const double growth =
                thousand->cpuSecondsPerIteration / hundred->cpuSecondsPerIteration;
            std::printf(" %6.2f %-2s", growth, growth <= 12 ? "" : "!!");
        } else {
            std::printf(" %9s", "-");
        }
        std::printf(" %9.1f %s\n", slowest, verdict(slowest >= 20));
    }
}

void SummaryReporter::printOperations() const
{
    static const char *const operations[] = {"getMachines/10", "getMachines/100", "initialize",
                                             "createMachine", "cloneMachine"};
    if (!find("operation/initialize") && !find("operation/getMachines/10"))
        return;
    // The runner's own CPU time per run, from the runner benchmark of the same run: what the
    // process spends beyond that is the operations' parsing, logic, settings and logging.
    const Result *runner = find("runner/call");
    const double runnerCpuMs = runner ? runner->cpuSecondsPerIteration * 1e3 : 0;
    // The share target is judged on the library's own work: a run's start and collection
    // belong to the run, and the runner target bounds them separately.
    std::printf("\nOperations against the instant stand-in (library share target <= 5%%)\n");
    std::printf("  %-16s %5s %6s %9s %9s %8s %7s %9s %7s\n", "operation", "runs", "others",
                "total ms", "child ms", "own ms", "own %", "logic ms", "logic %");
    for (const char *operation : operations) {
        const Result *result = find(std::string("operation/") + operation);
        if (!result)
            continue;
        const auto counter = [result](const char *name) {
            const auto it = result->counters.find(name);
            return it == result->counters.end() ? 0.0 : it->second;
        };
        const double runs = counter("vboxmanage_runs") + counter("other_runs");
        const double total = result->secondsPerIteration * 1e3;
        const double child = counter("child_ms");
        const double own = total - child;
        const double logic = counter("cpu_ms") - runs * runnerCpuMs;
        const double logicShare = 100 * logic / total;
        std::printf("  %-16s %5.0f %6.0f %9.2f %9.2f %8.2f %6.1f%% %9.2f %6.1f%% %s\n", operation,
                    counter("vboxmanage_runs"), counter("other_runs"), total, child, own,
                    100 * own / total, logic, logicShare, verdict(runner && logicShare <= 5));
    }
    std::printf("  runs: VBoxManage; others: ip. own: total less the same runs as bare spawns,\n"
                "  so it includes the runner's start and collection of every run.\n");
    if (runner)
        std::printf("  logic: the process's CPU time less the runner's %.3f ms per run.\n",
                    runnerCpuMs);
    else
        std::printf("  logic: needs runner/call in the same run; shown with the runner's share.\n");
    if (const Result *settings = find("operation/settings_get"))
        std::printf("  one settings read: %.3f ms\n", settings->secondsPerIteration * 1e3);
}
