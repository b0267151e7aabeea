// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

// Shows the usual console report, sorted and with only the median of a repeated benchmark,
// and keeps every run, so that the ratios the targets are stated in can be printed once
// all benchmarks are done.
class SummaryReporter final : public benchmark::ConsoleReporter
{
public:
    struct Result
    {
        double secondsPerIteration = 0;
        // The parsers are stated in CPU time: it does not count the time that other
        // processes of a busy machine take away.
        double cpuSecondsPerIteration = 0;
        std::map<std::string, double> counters;
    };

    // Colours only on a terminal, so that a saved report stays plain text.
    SummaryReporter();

    void ReportRuns(const std::vector<Run> &runs) override;
    void Finalize() override;

    // Prints the targets' ratios for whatever benchmarks ran (a filter may leave some out).
    void printSummary() const;

private:
    void record(const Run &run);
    static Result medianOf(const std::vector<Result> &samples);
    const Result *find(const std::string &name) const;
    void printRunner() const;
    void printHygiene() const;
    void printParsers() const;
    void printOperations() const;

    std::vector<Run> m_shown; // printed together, in order, when all have run
    std::map<std::string, std::vector<Result>> m_samples;
    std::map<std::string, Result> m_results; // the medians of m_samples
};
