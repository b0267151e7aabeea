// SPDX-License-Identifier: Apache-2.0
// Benchmark entry point: a QCoreApplication and a home of the run's own (the operations
// write settings and device folders), the plug-in's log lines swallowed so that only the
// reports reach the terminal, and the targets' ratios printed after the usual report.
// Repetitions are interleaved at random unless the command line says otherwise, so that a
// busy spell of the machine falls on different benchmarks rather than on one size.
#include "summary.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <vector>

namespace {

// The lines are still formatted, as in production; only their output is dropped.
void dropMessage(QtMsgType, const QMessageLogContext &, const QString &) {}

} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir home(QDir::tempPath() + QStringLiteral("/vmtools-bench-home-XXXXXX"));
    qputenv("HOME", QFile::encodeName(home.path()));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path() + QStringLiteral("/.config")));
    qputenv("QM_HOME", QFile::encodeName(home.path() + QStringLiteral("/qm")));

    QCoreApplication app(argc, argv);
    qInstallMessageHandler(dropMessage);

    std::vector<char *> arguments(argv, argv + argc);
    char interleave[] = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, interleave); // a later one on the line wins
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 1;
    SummaryReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printSummary();
    benchmark::Shutdown();
    return 0;
}
