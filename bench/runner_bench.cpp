// SPDX-License-Identifier: Apache-2.0
// The command runner against the bare minimum that any runner must do with the same child.
// The variants take turns within each iteration, so that a change in the machine's load
// weighs on all of them alike and their ratio stays fair on a busy machine.
#include "barespawn.h"
#include "procstats.h"
#include "standin.h"

#include <vmtools/vboxmanagecommon.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <ctime>

namespace {

const QString Program = QStringLiteral("VBoxManage");
const QStringList Arguments{QStringLiteral("--version")};

using Clock = std::chrono::steady_clock;

// CPU time of this process: its own work, none of the children's.
double processCpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

struct Variant
{
    const char *name;
    bool (*run)();
    double seconds = 0;
    double cpuSeconds = 0;
};

bool runnerCall()
{
    return VBoxManageCommon::call(Program, Arguments).exitCode == 0;
}

bool bareSpawn()
{
    return BareSpawn::run(Program, Arguments) == 0;
}

bool bareFork()
{
    return BareSpawn::runForked(Program, Arguments) == 0;
}

// Times one run of the variant; false when the child failed.
bool timeRun(Variant &variant)
{
    const double cpuStart = processCpuSeconds();
    const Clock::time_point start = Clock::now();
    const bool succeeded = variant.run();
    variant.seconds += std::chrono::duration<double>(Clock::now() - start).count();
    variant.cpuSeconds += processCpuSeconds() - cpuStart;
    return succeeded;
}

// The benchmark's own time is the runner's; the counters carry every variant per run.
void runnerAgainstBare(benchmark::State &state)
{
    StandIn standIn;
    standIn.onExact(Arguments, {Answer::ok(QStringLiteral("5.2.44r139111\n"))});
    Variant variants[] = {{"call", runnerCall}, {"bare", bareSpawn}, {"fork", bareFork}};
    for (auto _ : state) {
        const double callBefore = variants[0].seconds;
        for (Variant &variant : variants) {
            if (!timeRun(variant)) {
                state.SkipWithError("the stand-in failed");
                return;
            }
        }
        state.SetIterationTime(variants[0].seconds - callBefore);
    }
    const double iterations = static_cast<double>(state.iterations());
    for (const Variant &variant : variants) {
        const std::string name = variant.name;
        state.counters[name + "_ms"] = variant.seconds * 1e3 / iterations;
        state.counters[name + "_cpu_ms"] = variant.cpuSeconds * 1e3 / iterations;
    }
}

bool trivialCall()
{
    return VBoxManageCommon::call(QStringLiteral("/bin/true"), {}, VBoxManageCommon::Silent)
               .exitCode == 0;
}

// What runner calls of a trivial child leave behind after a warm-up: descriptors, children
// and resident memory, as counters.
void runnerHygiene(benchmark::State &state)
{
    for (int i = 0; i < 100; ++i)
        trivialCall();
    const int descriptors = ProcStats::openDescriptors();
    const qint64 residentKiB = ProcStats::residentKiB();
    for (auto _ : state) {
        if (!trivialCall()) {
            state.SkipWithError("/bin/true failed");
            return;
        }
    }
    state.counters["fds_left"] = ProcStats::openDescriptors() - descriptors;
    state.counters["children_left"] = static_cast<double>(ProcStats::children().size());
    state.counters["rss_growth_kib"] = static_cast<double>(ProcStats::residentKiB() - residentKiB);
}

const bool registered = [] {
    benchmark::RegisterBenchmark("runner/call", runnerAgainstBare)
        ->UseManualTime()
        ->MinTime(4.0)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("runner/hygiene", runnerHygiene)
        ->Iterations(10000)
        ->Unit(benchmark::kMillisecond);
    return true;
}();

} // namespace
