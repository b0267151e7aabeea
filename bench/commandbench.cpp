// SPDX-License-Identifier: Apache-2.0
// What vmtools' reading commands cost against the VBoxManage first on PATH (the stand-in,
// or a real VirtualBox): for list, show, get and info at 1, 8 and 20 devices, the VBoxManage
// runs each makes and its wall time as a ratio to one "VBoxManage list vms". The two take
// turns within every round, so that the machine's load weighs on both alike, and the ratio
// is the median of the rounds' ratios, which a single stalled run does not move.
//
//   VMTOOLS_BENCH_VMTOOLS    the vmtools to run (by default the one beside this program)
//   VMTOOLS_BENCH_APPLIANCE  make devices from this appliance with "vmtools create";
//                            without it they are bare registered machines with a
//                            device's guest properties
//   VMTOOLS_BENCH_ROUNDS     rounds per command and size (5 by default)
#include "commandruns.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace {

struct Row
{
    std::string command;
    int devices = 0;
    int runs = 0;
    double ratio = 0;
    double seconds = 0;
    double baseline = 0;
};

std::vector<Row> rows;

QString setting(const char *name, const QString &fallback)
{
    const QString value = qEnvironmentVariable(name);
    return value.isEmpty() ? fallback : value;
}

QString vmtools()
{
    return setting("VMTOOLS_BENCH_VMTOOLS",
                   QCoreApplication::applicationDirPath() + QStringLiteral("/vmtools"));
}

QString appliance()
{
    return qEnvironmentVariable("VMTOOLS_BENCH_APPLIANCE");
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

const QStringList ListVms{QStringLiteral("list"), QStringLiteral("vms")};

void command(benchmark::State &state, const std::string &label, const QStringList &arguments,
             int devices)
{
    if (!CommandRuns::makeDevices(vmtools(), appliance(), devices)) {
        state.SkipWithError("the devices could not be made");
        return;
    }
    const QStringList line = QStringList{QStringLiteral("-v")} + arguments;
    // Untimed: VirtualBox's service comes up, vmtools' host-only interface is made.
    CommandRuns::run(QStringLiteral("VBoxManage"), ListVms);
    CommandRuns::run(vmtools(), line);

    std::vector<double> ratios, seconds, baselines;
    int runs = 0;
    bool commandFirst = false;
    for (auto _ : state) {
        CommandRuns::Outcome baseline, outcome;
        if (commandFirst)
            outcome = CommandRuns::run(vmtools(), line);
        baseline = CommandRuns::run(QStringLiteral("VBoxManage"), ListVms);
        if (!commandFirst)
            outcome = CommandRuns::run(vmtools(), line);
        commandFirst = !commandFirst;
        if (outcome.exitCode != 0 || baseline.exitCode != 0) {
            const QString why = outcome.exitCode != 0
                                    ? outcome.error.trimmed().split('\n').last()
                                    : QStringLiteral("VBoxManage list vms failed");
            state.SkipWithError(qPrintable(why));
            return;
        }
        state.SetIterationTime(outcome.seconds);
        ratios.push_back(outcome.seconds / baseline.seconds);
        seconds.push_back(outcome.seconds);
        baselines.push_back(baseline.seconds);
        runs = std::max(runs, outcome.calls);
    }
    Row row{label, devices, runs, median(ratios), median(seconds), median(baselines)};
    state.counters["runs"] = row.runs;
    state.counters["x_list_vms"] = row.ratio;
    state.counters["list_vms_ms"] = row.baseline * 1000;
    rows.push_back(row);
}

void registerAll()
{
    const QString device = CommandRuns::deviceName(1);
    const int rounds = setting("VMTOOLS_BENCH_ROUNDS", QStringLiteral("5")).toInt();
    struct Command
    {
        std::string label;
        QStringList arguments;
    };
    const std::vector<Command> commands{
        {"list", {QStringLiteral("list")}},
        {"show", {QStringLiteral("show"), device}},
        {"get resolution", {QStringLiteral("get"), device, QStringLiteral("resolution")}},
        {"info", {QStringLiteral("info")}},
    };
    // In this order: the devices only grow.
    for (int devices : {1, 8, 20}) {
        for (const Command &c : commands) {
            const std::string name = "command/" + c.label + "/" + std::to_string(devices);
            benchmark::RegisterBenchmark(name.c_str(), command, c.label, c.arguments, devices)
                ->Iterations(std::max(rounds, 1))
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond);
        }
    }
}

void printTable()
{
    std::printf(
        "\n| Command | Devices | VBoxManage runs | × `list vms` | Wall time | `list vms` |\n"
        "|---|---:|---:|---:|---:|---:|\n");
    for (const Row &row : rows)
        std::printf("| `%s` | %d | %d | %.1f× | %.2f s | %.2f s |\n", row.command.c_str(),
                    row.devices, row.runs, row.ratio, row.seconds, row.baseline);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    registerAll();
    benchmark::RunSpecifiedBenchmarks();
    CommandRuns::removeDevices(vmtools(), appliance());
    printTable();
    benchmark::Shutdown();
    return 0;
}
