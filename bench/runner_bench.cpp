// The command runner against the bare minimum that any runner must do with the same child.
#include "barespawn.h"
#include "standin.h"

#include <vmtools/vboxmanagecommon.h>

#include <benchmark/benchmark.h>

namespace {

const QString Program = QStringLiteral("VBoxManage");
const QStringList Arguments{QStringLiteral("--version")};

void scriptVersion(StandIn &standIn)
{
    standIn.onExact(Arguments, {Answer::ok(QStringLiteral("5.2.44r139111\n"))});
}

void runnerCall(benchmark::State &state)
{
    StandIn standIn;
    scriptVersion(standIn);
    for (auto _ : state) {
        const VBoxManageCommon::CallResult result = VBoxManageCommon::call(Program, Arguments);
        if (result.exitCode != 0) {
            state.SkipWithError("the stand-in failed");
            break;
        }
        benchmark::DoNotOptimize(result.output.size());
    }
}

void bareSpawn(benchmark::State &state, int (*spawn)(const QString &, const QStringList &))
{
    StandIn standIn;
    scriptVersion(standIn);
    for (auto _ : state) {
        if (spawn(Program, Arguments) != 0) {
            state.SkipWithError("the stand-in failed");
            break;
        }
    }
}

const bool registered = [] {
    benchmark::RegisterBenchmark("runner/call", runnerCall)
        ->UseRealTime()
        ->MinTime(2.0)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("runner/bare_spawn", bareSpawn, BareSpawn::run)
        ->UseRealTime()
        ->MinTime(2.0)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("runner/bare_fork", bareSpawn, BareSpawn::runForked)
        ->UseRealTime()
        ->MinTime(2.0)
        ->Unit(benchmark::kMillisecond);
    return true;
}();

} // namespace
