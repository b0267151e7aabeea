// SPDX-License-Identifier: Apache-2.0
#include "summary.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <tuple>
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
    std::vector<Run> shown;
    for (const Run &run : runs) {
        // Of a repeated benchmark only the median is shown; the summary takes its own.
        if (run.repetitions <= 1 ||
            (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median"))
            shown.push_back(run);
        if (run.run_type == Run::RT_Iteration && !run.error_occurred && run.iterations > 0)
            record(run);
    }
    m_shown.insert(m_shown.end(), shown.begin(), shown.end());
}

// The runs come in the shuffled order of the interleaved repetitions; the table shows them
// by name and size.
void SummaryReporter::Finalize()
{
    const auto order = [](const Run &run) {
        const std::string &args = run.run_name.args;
        const bool numeric = !args.empty() && args.find_first_not_of("0123456789") == args.npos;
        return std::make_tuple(run.run_name.function_name, numeric ? std::stoll(args) : 0, args);
    };
    std::stable_sort(m_shown.begin(), m_shown.end(),
                     [&order](const Run &a, const Run &b) { return order(a) < order(b); });
    if (!m_shown.empty())
        ConsoleReporter::ReportRuns(m_shown);
    ConsoleReporter::Finalize();
}

void SummaryReporter::record(const Run &run)
{
    Result sample;
    const double iterations = static_cast<double>(run.iterations);
    sample.secondsPerIteration = run.real_accumulated_time / iterations;
    sample.cpuSecondsPerIteration = run.cpu_accumulated_time / iterations;
    for (const auto &counter : run.counters)
        sample.counters[counter.first] = counter.second.value;
    const std::string key = keyOf(run);
    std::vector<Result> &samples = m_samples[key];
    samples.push_back(sample);
    m_results[key] = medianOf(samples);
}

// Each figure's median over the repetitions, so that one disturbed repetition of a busy
// machine does not decide a target.
SummaryReporter::Result SummaryReporter::medianOf(const std::vector<Result> &samples)
{
    const auto median = [&samples](const std::function<double(const Result &)> &figure) {
        std::vector<double> values;
        for (const Result &sample : samples)
            values.push_back(figure(sample));
        std::sort(values.begin(), values.end());
        const size_t middle = values.size() / 2;
        return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
    };
    Result result;
    result.secondsPerIteration = median([](const Result &r) { return r.secondsPerIteration; });
    result.cpuSecondsPerIteration =
        median([](const Result &r) { return r.cpuSecondsPerIteration; });
    for (const auto &counter : samples.front().counters) {
        const std::string &name = counter.first;
        result.counters[name] = median([&name](const Result &r) { return r.counters.at(name); });
    }
    return result;
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
    printHygiene();
    printParsers();
    printOperations();
}

void SummaryReporter::printRunner() const
{
    const Result *runner = find("runner/call");
    if (!runner)
        return;
    const auto counter = [runner](const std::string &name) {
        const auto it = runner->counters.find(name);
        return it == runner->counters.end() ? 0.0 : it->second;
    };
    const double ratio = counter("call_ms") / counter("bare_ms");
    std::printf("\nCommand runner (wall per run; parent CPU per run)\n");
    for (const char *variant : {"call", "bare", "fork"})
        std::printf("  %-5s %8.3f ms %8.3f ms\n", variant, counter(std::string(variant) + "_ms"),
                    counter(std::string(variant) + "_cpu_ms"));
    std::printf("  call: VBoxManageCommon::call; bare: posix_spawnp, pipes drained, waitpid;\n"
                "  fork: the same with fork and execvp, as QProcess starts its children.\n"
                "  runner / bare spawn: %.2f (target <= 1.50) %s\n",
                ratio, verdict(ratio <= 1.5));
}

void SummaryReporter::printHygiene() const
{
    const Result *hygiene = find("runner/hygiene");
    if (!hygiene)
        return;
    const auto counter = [hygiene](const char *name) {
        return hygiene->counters.at(name);
    };
    const bool met = counter("fds_left") == 0 && counter("children_left") == 0 &&
                     counter("rss_growth_kib") < 8 * 1024;
    std::printf("\nAfter 10000 runner calls of /bin/true (and a warm-up of 100)\n"
                "  descriptors %+.0f, children %.0f, resident memory %+.0f KiB "
                "(target 0, 0, < 8 MiB) %s\n",
                counter("fds_left"), counter("children_left"), counter("rss_growth_kib"),
                verdict(met));
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
    std::printf("\nOperations against the instant stand-in (library's own share target <= 5%%)\n");
    std::printf("  %-16s %5s %4s %9s %9s %8s %7s %9s %8s\n", "operation", "runs", "ip", "total ms",
                "runs ms", "own ms", "own %", "bare ms", "runner %");
    for (const char *operation : operations) {
        const Result *result = find(std::string("operation/") + operation);
        if (!result)
            continue;
        const auto counter = [result](const char *name) {
            const auto it = result->counters.find(name);
            return it == result->counters.end() ? 0.0 : it->second;
        };
        const double total = result->secondsPerIteration * 1e3;
        const double inRuns = counter("in_runs_ms");
        const double own = total - inRuns;
        const double ownShare = 100 * own / total;
        const double bare = counter("bare_ms");
        std::printf("  %-16s %5.0f %4.0f %9.2f %9.2f %8.2f %6.1f%% %9.2f %7.1f%% %s\n", operation,
                    counter("vboxmanage_runs"), counter("other_runs"), total, inRuns, own, ownShare,
                    bare, 100 * (inRuns - bare) / total, verdict(ownShare <= 5));
    }
    std::printf("  runs: VBoxManage runs; ip: runs of ip. runs ms: time inside those runs, from\n"
                "  the start of each to its result. own: the rest, the library's own work.\n"
                "  bare ms: the same runs again as bare spawns; runner %%: what the runner adds\n"
                "  to the runs, as a share of the total (bounded by the runner target).\n");
    const Result *settings = find("operation/settings_get/0");
    const Result *settingsAfterChild = find("operation/settings_get/1");
    if (settings && settingsAfterChild)
        std::printf("  one settings read: %.3f ms, %.3f ms right after a child run\n",
                    settings->secondsPerIteration * 1e3,
                    settingsAfterChild->secondsPerIteration * 1e3);
}
