// SPDX-License-Identifier: Apache-2.0
// Whole engine operations against the stand-in answering at once. Within each operation
// the time spent in its child runs is clocked (runclock.h); what remains is the library's
// own. The same calls are then run again as bare spawns of the same stand-in, which shows
// what the runner adds to the runs themselves.
#include "barespawn.h"
#include "runclock.h"
#include "samples.h"
#include "standin.h"
#include "vboxmanagecore.h"
#include "vboxmanagemachine.h"

#include <vmtools/engineresult.h>
#include <vmtools/settings.h>

#include <benchmark/benchmark.h>

#include <QProcess>
#include <QTemporaryDir>

#include <chrono>
#include <functional>

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Runs `operation` once per iteration after `script` has (re)written the stand-in's rules;
// only the operation is timed. Right after it, outside the timing, the calls it made are
// run again as bare spawns, so that both meet the same load of the machine.
// `operation` returns false when it did not succeed.
void measureOperation(benchmark::State &state, StandIn &standIn,
                      const std::function<void()> &script, const std::function<bool()> &operation)
{
    double inRunsSeconds = 0;
    double bareSeconds = 0;
    int vboxManageRuns = 0;
    int otherRuns = 0;
    for (auto _ : state) {
        standIn.clearRules();
        script();
        standIn.clearCalls();
        RunClock::reset();
        const Clock::time_point start = Clock::now();
        const bool succeeded = operation();
        state.SetIterationTime(secondsSince(start));
        inRunsSeconds += RunClock::seconds();
        if (!succeeded) {
            state.SkipWithError("the operation failed against the stand-in");
            return;
        }

        const QList<ToolCall> calls = standIn.allCalls();
        if (RunClock::runs() != calls.size()) {
            state.SkipWithError("a run was not clocked: check the --wrap names");
            return;
        }
        const Clock::time_point replay = Clock::now();
        for (const ToolCall &call : calls)
            BareSpawn::run(call.tool, call.args);
        bareSeconds += secondsSince(replay);
        for (const ToolCall &call : calls)
            ++(call.tool == QLatin1String("VBoxManage") ? vboxManageRuns : otherRuns);
    }
    const double iterations = static_cast<double>(state.iterations());
    state.counters["vboxmanage_runs"] = vboxManageRuns / iterations;
    state.counters["other_runs"] = otherRuns / iterations;
    state.counters["in_runs_ms"] = inRunsSeconds * 1e3 / iterations;
    state.counters["bare_ms"] = bareSeconds * 1e3 / iterations;
}

// VirtualBox's answer to a look-up of a machine that it does not know: only this code tells
// the plug-in that a name is free.
Answer notFound(const char *name)
{
    return Answer::fail(1, QStringLiteral("VBoxManage: error: Could not find a registered machine "
                                          "named '%1'\nVBoxManage: error: Details: code "
                                          "VBOX_E_OBJECT_NOT_FOUND (0x80bb0001)\n")
                               .arg(QLatin1String(name)));
}

void scriptHostNetwork(StandIn &standIn)
{
    standIn.onExact({"list", "hostinfo"}, {Answer::ok(Samples::recorded("core-hostinfo.txt"))});
    standIn.onExact({"--version"}, {Answer::ok("5.2.44r139111\n")});
    standIn.onExact({"list", "hostonlyifs"},
                    {Answer::ok(Samples::recorded("core-hostonlyifs.txt"))});
    standIn.onExact({"list", "dhcpservers"},
                    {Answer::ok(Samples::recorded("core-dhcpservers.txt"))});
    standIn.onExact({"addr", "show", "dev", "vboxnet0"},
                    {Answer::ok("5: vboxnet0: <BROADCAST,UP> state UP\n")}, "ip");
    standIn.onExact({"route"}, {Answer::ok("192.168.56.0/24 dev vboxnet0 proto kernel\n")}, "ip");
}

void scriptMachineFolder(StandIn &standIn)
{
    standIn.onExact({"list", "systemproperties"},
                    {Answer::ok(Samples::recorded("core-systemproperties.txt"))});
    standIn.onPrefix({"setproperty", "machinefolder"}, {Answer::ok()});
}

// A deploy directory of the benchmark's own and the remembered host-only interface.
class Deployment
{
public:
    Deployment()
    {
        Settings::set(QStringLiteral("vms.path"), m_root.path() + QStringLiteral("/deployed/"));
        Settings::set(QStringLiteral("host.only.interface"), QStringLiteral("vboxnet0"));
    }
    QString folder(const QString &device) const
    {
        return m_root.path() + QStringLiteral("/deployed/") + device + QLatin1Char('/');
    }

private:
    QTemporaryDir m_root;
};

void getMachines(benchmark::State &state)
{
    StandIn standIn;
    const QString list = Samples::machineList(static_cast<int>(state.range(0)));
    const auto script = [&] {
        standIn.onExact({"list", "vms"}, {Answer::ok(list)});
        standIn.onPrefix({"guestproperty", "enumerate"},
                         {Answer::ok(Samples::recorded("machine-guestproperty-enumerate.txt"))});
        standIn.onPrefix({"showvminfo"}, {Answer::ok(Samples::recorded("machine-showvminfo.txt"))});
    };
    VBoxManageCore core;
    measureOperation(state, standIn, script, [&] {
        const QList<VMToolsMachine *> machines = core.getMachines();
        const bool complete = machines.size() == state.range(0);
        qDeleteAll(machines);
        return complete;
    });
}

void initialize(benchmark::State &state)
{
    StandIn standIn;
    Deployment deployment;
    VBoxManageCore core;
    measureOperation(
        state, standIn, [&] { scriptHostNetwork(standIn); },
        [&] { return core.initialize().state == 0 && core.getAdapterName() == "vboxnet0"; });
}

void createMachine(benchmark::State &state)
{
    StandIn standIn;
    Deployment deployment;
    const QString device = deployment.folder(QStringLiteral("phone"));
    const QString description =
        Samples::recorded("machine-showvminfo.txt")
            .replace(QLatin1String("/home/alice/.Brellstock/Quillomate/deployed/phone/"), device);
    const auto script = [&] {
        scriptHostNetwork(standIn);
        scriptMachineFolder(standIn);
        // Unknown to the existence check, found from then on.
        standIn.onExact({"showvminfo", "phone"}, {notFound("phone"), Answer::ok(description)});
        for (const char *command :
             {"closemedium", "import", "storageattach", "createhd", "modifyvm", "guestproperty"})
            standIn.onPrefix({command}, {Answer::ok()});
    };
    VBoxManageCore core;
    script();
    if (core.initialize().state != 0) {
        state.SkipWithError("initialize failed against the stand-in");
        return;
    }
    core.version(); // read once at load, as the loader does
    measureOperation(state, standIn, script, [&] {
        return core.createMachine(QStringLiteral("/apps/android.ova"), QStringLiteral("phone"), 2,
                                  2048, 512) == EngineResult::Success;
    });
}

void cloneMachine(benchmark::State &state)
{
    StandIn standIn;
    Deployment deployment;
    const QString description = Samples::recorded("machine-showvminfo.txt");
    const auto script = [&] {
        scriptMachineFolder(standIn);
        standIn.onExact(
            {"showvminfo", "copy"},
            {notFound("copy"),
             Answer::ok(
                 QString(description).replace(QLatin1String("phone"), QLatin1String("copy")))});
        standIn.onPrefix({"showvminfo"}, {Answer::ok(description)});
        standIn.onPrefix({"guestproperty", "enumerate"},
                         {Answer::ok(Samples::recorded("machine-guestproperty-enumerate.txt"))});
        standIn.onExact({"snapshot", "phone", "list"},
                        {Answer::ok(Samples::recorded("machine-snapshot-list.txt"))});
        standIn.onPrefix({"closemedium"}, {Answer::ok()});
        standIn.onPrefix({"clonevm"},
                         {Answer::ok("Machine has been successfully cloned as \"copy\"\n")});
    };
    script();
    VBoxManageMachine source(Samples::uuid(0), QStringLiteral("phone"),
                             QStringLiteral("VBoxManage"));
    VBoxManageCore core;
    measureOperation(state, standIn, script, [&] {
        return core.cloneMachine(&source, QStringLiteral("copy"), true) == EngineResult::Success;
    });
}

// Every operation that needs the deploy folder or the host-only interface reads a setting.
// With argument 1 each read comes right after a child run, as it does in the operations:
// QProcess forks the whole parent, and the parent's next steps pay for every page they
// write first (and for caches the child left cold).
void settingsGet(benchmark::State &state)
{
    Deployment deployment;
    const bool afterChild = state.range(0) == 1;
    for (auto _ : state) {
        if (afterChild) {
            QProcess child;
            child.start(QStringLiteral("true"), QStringList());
            child.waitForFinished(-1);
        }
        const Clock::time_point start = Clock::now();
        const QVariant value = Settings::get(QStringLiteral("host.only.interface"), QString());
        state.SetIterationTime(secondsSince(start));
        benchmark::DoNotOptimize(value.isValid());
    }
}

const bool registered = [] {
    benchmark::RegisterBenchmark("operation/settings_get", settingsGet)
        ->Arg(0)
        ->Arg(1)
        ->UseManualTime()
        ->Iterations(200)
        ->Unit(benchmark::kMicrosecond);
    for (int devices : {10, 100}) {
        benchmark::RegisterBenchmark("operation/getMachines", getMachines)
            ->Arg(devices)
            ->UseManualTime()
            ->Iterations(devices == 10 ? 20 : 4)
            ->Unit(benchmark::kMillisecond);
    }
    const std::pair<const char *, void (*)(benchmark::State &)> operations[] = {
        {"operation/initialize", initialize},
        {"operation/createMachine", createMachine},
        {"operation/cloneMachine", cloneMachine},
    };
    for (const auto &operation : operations) {
        benchmark::RegisterBenchmark(operation.first, operation.second)
            ->UseManualTime()
            ->Iterations(20)
            ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

} // namespace
