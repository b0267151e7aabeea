// SPDX-License-Identifier: Apache-2.0
#include "faultcells.h"

#include "hangbreaker.h"
#include "logcapture.h"
#include "vboxmanagecommon_p.h"

#include <vmtools/settings.h>
#include <vmtools/vboxmanagecommon.h>
#include <vmtools/vmtoolsengine.h>
#include <vmtools/vmtoolsmachine.h>

#include <QDate>
#include <QElapsedTimer>
#include <QMap>
#include <QVector>

#include <algorithm>
#include <functional>
#include <memory>
#include <thread>

namespace FaultCells {
namespace {

const QString Device = QStringLiteral("phone");
const QString HostOnlyKey = QStringLiteral("host.only.interface");
// The limits of the hang column: every call there hangs, so no call of the stand-in that
// works is ever cut short by them.
constexpr int ShortDefaultMs = 300;
constexpr int ShortLongMs = 600;
constexpr int SlackMs = 3000;

const char *const FaultNames[FaultCount] = {"none",    "missing", "not executable",
                                            "killed",  "hang",    "flood",
                                            "garbage", "empty",   "noservice"};

Outcome yesNo(bool ok)
{
    return {!ok, ok ? QStringLiteral("true") : QStringLiteral("false")};
}

Outcome code(unsigned int value)
{
    return {value != 0, QString::number(value)};
}

// Long or odd answers (a flood taken for a version, bytes that are not text) kept short.
QString shortText(const QString &text)
{
    QString shown = text.left(16);
    shown.replace('\n', QStringLiteral("\\n")).replace('|', QStringLiteral("\\|"));
    if (text.size() > 16)
        shown += QStringLiteral("… (%1 chars)").arg(text.size());
    return '"' + shown + '"';
}

Outcome text(const QString &value, bool failed)
{
    return {failed, shortText(value)};
}

// A sequence of calls fails only when every one of them does.
Outcome all(const QList<Outcome> &parts)
{
    Outcome joined{true, QString()};
    for (const Outcome &part : parts) {
        joined.failed = joined.failed && part.failed;
        joined.shown += (joined.shown.isEmpty() ? QString() : QStringLiteral(" / ")) + part.shown;
    }
    return joined;
}

struct Subject
{
    const FaultTestbed &bed;
    std::unique_ptr<VMToolsEngine> engine;
    std::unique_ptr<VMToolsMachine> phone;
};

// What an operation needs before the fault starts.
enum class Needs { Nothing, OpenedEngine, Device, RunningDevice };

} // namespace

struct Operation
{
    const char *name;
    Needs needs;
    int pausesMs; // what the operation sleeps by design when every call fails
    std::function<Outcome(Subject &)> run;
    const char *waits = "";            // the pauses and polls, for the table
    Fault answersAnyway = Fault::None; // a fault under which success is the right answer
    Fault promised = Fault::Missing;   // see promisedFault
};

namespace {

const QList<Operation> &operations()
{
    static const QList<Operation> list = {
        {"start-up (`loadEngine`)", Needs::Nothing, 6 * 500,
         [](Subject &) {
             LoadStateInfo info;
             const std::unique_ptr<VMToolsEngine> engine(VMToolsEngine::loadEngine(&info));
             return Outcome{
                 !engine,
                 QStringLiteral("%1, state %2").arg(engine ? "engine" : "null").arg(info.state)};
         },
         "up to 6 runs of `list hostinfo`, which has no time limit, with 0.5 s after each failed "
         "one (3 s)"},
        {"`version` (first call)", Needs::OpenedEngine, 0,
         [](Subject &s) {
             const QString version = s.engine->version();
             return text(version, version == QLatin1String("unknown"));
         },
         "", Fault::NoService},
        {"`getMachines`", Needs::Device, 0,
         [](Subject &s) {
             const QList<VMToolsMachine *> machines = s.engine->getMachines();
             qDeleteAll(machines);
             return Outcome{machines.isEmpty(), QStringLiteral("%1 devices").arg(machines.size())};
         }},
        {"`getMachine` / `doesMachineExist`", Needs::Device, 0,
         [](Subject &s) {
             const std::unique_ptr<VMToolsMachine> found(s.engine->getMachine(Device));
             return all({{!found, found ? QStringLiteral("machine") : QStringLiteral("null")},
                         yesNo(s.engine->doesMachineExist(Device))});
         }},
        {"`createMachine`", Needs::Device, 0,
         [](Subject &s) {
             return code(s.engine->createMachine(VBOXSIM_SAMPLE_OVA, "tablet", 2, 2048, 64));
         }},
        {"`cloneMachine` (from the factory snapshot)", Needs::Device, 0,
         [](Subject &s) {
             return code(s.engine->cloneMachine(s.phone.get(), "copy", true));
         }},
        {"`renameMachine`", Needs::Device, 0,
         [](Subject &s) {
             return yesNo(s.engine->renameMachine(s.phone.get(), "renamed"));
         }},
        // Answers that are not VirtualBox's never get a folder deleted.
        {"`deleteMachine`", Needs::Device, 0,
         [](Subject &s) { return yesNo(s.engine->deleteMachine(s.phone.get())); }, "", Fault::None,
         Fault::Garbage},
        {"`startMachine`", Needs::Device, 0,
         [](Subject &s) {
             return yesNo(s.engine->startMachine(s.phone.get(), VMToolsMachine::HeadlessLaunch));
         }},
        {"`stopMachine`", Needs::RunningDevice, 0,
         [](Subject &s) {
             return yesNo(s.engine->stopMachine(s.phone.get()));
         }},
        {"`exportMachine`", Needs::Device, 0,
         [](Subject &s) {
             return yesNo(
                 s.engine->exportMachine(s.phone.get(), s.bed.exports + "/phone.ova", nullptr));
         }},
        {"`copyDisk`", Needs::Device, 0,
         [](Subject &s) {
             return code(s.engine->copyDisk(s.bed.deploy + "/phone/android_data_disk.vmdk",
                                            s.bed.media + "/copy.vmdk"));
         }},
        {"`deleteDisk` (engine, by path)", Needs::Device, 0,
         [](Subject &s) {
             return code(s.engine->deleteDisk(s.bed.media + "/loose.vdi"));
         }},
        // Every fault costs the remembered interface (see docs/reliability.md).
        {"`checkAndCreateVboxInterface`", Needs::Device, 0,
         [](Subject &s) {
             s.engine->checkAndCreateVboxInterface();
             const QString adapter = s.engine->getAdapterName();
             return text(adapter, adapter.isEmpty());
         },
         "up to 3 runs of `hostonlyif remove` in a row", Fault::None, Fault::None},
        {"`dumpInfos` (engine, machine)", Needs::Device, 0,
         [](Subject &s) {
             QFile sink(QStringLiteral("/dev/null"));
             sink.open(QIODevice::WriteOnly);
             s.engine->dumpInfos(&sink);
             s.phone->dumpInfos(&sink);
             return Outcome{false, QStringLiteral("(none)"), false};
         }},
        {"`getPath` / `getStatus` (running)", Needs::RunningDevice, 0,
         [](Subject &s) {
             const QString path = s.phone->getPath();
             const VMToolsMachine::State state = s.phone->getStatus();
             return all({text(QFileInfo(path).fileName(), path.isEmpty()),
                         {state != VMToolsMachine::On, VMToolsMachine::getStatusString(state)}});
         }},
        {"profile read (`reloadProperties`, `getDensity`)", Needs::Device, 0,
         [](Subject &s) {
             s.phone->reloadProperties();
             return Outcome{false, shortText(s.phone->getDensity()), false};
         }},
        {"profile write (`setAndroidVersion`)", Needs::Device, 0,
         [](Subject &s) {
             return yesNo(s.phone->setAndroidVersion("9.0"));
         }},
        {"`setRAM` / `setCPUCount`", Needs::Device, 2 * 6 * 500,
         [](Subject &s) {
             return all({yesNo(s.phone->setRAM(1024)), yesNo(s.phone->setCPUCount(1))});
         },
         "up to 6 attempts each, 0.5 s apart (3 s each)"},
        {"adapters (`setAdapterType`, `getConnectionInfo`, `setConnectionInfo`, "
         "`getBridgeableInterfaces`)",
         Needs::Device, 0,
         [](Subject &s) {
             const bool typed = s.phone->setAdapterType(1, VMToolsMachine::HostOnlyAdapter,
                                                        QStringLiteral("vboxnet0"));
             const VMToolsMachine::ConnectionType type = s.phone->getConnectionInfo().type();
             const bool connected = s.phone->setConnectionInfo(
                 VMToolsMachine::ConnectionInfo::createNatConnectionInfo());
             const int bridgeable = s.phone->getBridgeableInterfaces().size();
             return all(
                 {yesNo(typed),
                  {type == VMToolsMachine::UnknownConnection, QStringLiteral("type %1").arg(type)},
                  yesNo(connected),
                  {bridgeable == 0, QStringLiteral("%1 bridgeable").arg(bridgeable)}});
         }},
        {"factory backup and reset (`createFactoryBackup`, `canResetToFactory`, "
         "`resetFactory`)",
         Needs::Device, 0,
         [](Subject &s) {
             const bool backedUp = s.phone->createFactoryBackup();
             const bool canReset = s.phone->canResetToFactory();
             const int reset = s.phone->resetFactory();
             return all({yesNo(backedUp), yesNo(canReset), {reset != 0, QString::number(reset)}});
         }},
        {"`getIPAddress` / `resetIP` (running)", Needs::RunningDevice, 0,
         [](Subject &s) {
             const QString address = s.phone->getIPAddress();
             return all(
                 {text(address, address == QLatin1String("0.0.0.0")), yesNo(s.phone->resetIP())});
         },
         "`waitForIP`, not run here, asks `getIPAddress` up to 20 times 1 s apart (20 s when no "
         "address comes)"},
        {"disks (`attachDisk`, `getDiskUuid`, `deleteDisk`)", Needs::Device, 0,
         [](Subject &s) {
             const bool attached =
                 s.phone->attachDisk(s.bed.media + "/loose.vdi", SecondaryPort, SlaveDevice);
             const QString uuid = s.phone->getDiskUuid(SecondaryPort, SlaveDevice);
             const bool deleted = s.phone->deleteDisk(SecondaryPort, SlaveDevice);
             // The UUID is new on every run: the table says only whether one was read.
             return all({yesNo(attached),
                         {uuid.isEmpty(), uuid.isEmpty() ? QStringLiteral("\"\"") : "a UUID"},
                         yesNo(deleted)});
         }},
    };
    return list;
}

QString shortfallWords(const Measured &m)
{
    static const QList<QPair<QChar, QString>> words = {{'S', QStringLiteral("reports success")},
                                                       {'L', QStringLiteral("no limit")},
                                                       {'Q', QStringLiteral("no reason logged")},
                                                       {'F', QStringLiteral("folders changed")},
                                                       {'C', QStringLiteral("settings changed")}};
    QStringList shown;
    for (const auto &word : words)
        if (m.shortfall.contains(word.first))
            shown.append(QStringLiteral("**%1**").arg(word.second));
    if (m.ended > 0 && !shown.isEmpty())
        shown.last() += QStringLiteral(" (%1 ended by the tool)").arg(m.ended);
    return shown.join(QStringLiteral(", "));
}

// The first warning or critical line, past a bare exit code when a line with more follows.
QString firstReason(const LogCapture &log)
{
    QString reason;
    for (const LogLine &line : log.lines()) {
        if (line.type != QtWarningMsg && line.type != QtCriticalMsg)
            continue;
        if (reason.isEmpty())
            reason = line.text;
        if (!line.text.startsWith(QLatin1String("[VBox] Return code:")))
            return line.text;
    }
    return reason;
}

Subject prepare(FaultTestbed &bed, Needs needs, bool *prepared)
{
    Subject subject{bed, nullptr, nullptr};
    *prepared = true;
    if (needs == Needs::OpenedEngine) {
        subject.engine.reset(VMToolsEngine::openEngine());
        *prepared = subject.engine != nullptr;
    }
    if (needs >= Needs::Device) {
        LoadStateInfo info;
        subject.engine.reset(VMToolsEngine::loadEngine(&info));
        if (subject.engine)
            subject.phone.reset(subject.engine->getMachine(Device));
        *prepared = subject.phone != nullptr;
    }
    if (needs == Needs::RunningDevice)
        *prepared =
            *prepared && bed.host.vbox({"startvm", Device, "--type", "headless"}).exitCode == 0;
    return subject;
}

QString shortfall(const Operation &operation, Fault fault, const Measured &m, int calls,
                  const QStringList &before, const QStringList &after)
{
    const int limitMs = fault == Fault::Hang ? ShortLongMs : VBoxManageCommon::LongTimeoutMs;
    const qint64 boundMs = qint64(calls + 2) * limitMs + operation.pausesMs + SlackMs;
    const bool success =
        m.outcome.hasResult && !m.outcome.failed && operation.answersAnyway != fault;
    QStringList changed;
    for (const QString &line : before + after)
        if (before.contains(line) != after.contains(line))
            changed.append(line);
    const auto changes = [&changed](const char *kind) {
        return std::any_of(changed.begin(), changed.end(),
                           [kind](const QString &line) { return line.startsWith(kind); });
    };
    return QString(success ? "S" : "") + (m.ended > 0 || m.ms > boundMs ? "L" : "") +
           (m.reason.isEmpty() ? "Q" : "") + (changes("folder:") ? "F" : "") +
           (changes("settings:") ? "C" : "");
}

} // namespace

QString faultName(Fault fault)
{
    return QLatin1String(FaultNames[int(fault)]);
}

int operationCount()
{
    return operations().size();
}

QString operationName(int operation)
{
    return QLatin1String(operations()[operation].name);
}

Fault promisedFault(int operation)
{
    return operations()[operation].promised;
}

Measured measure(FaultTestbed &bed, int index, Fault fault)
{
    const Operation &operation = operations()[index];
    bed.reset();
    const ScopedEnvironment virtualBox = bed.host.use();
    Settings::set(HostOnlyKey, QStringLiteral("vboxnet0"));
    Measured m;
    Subject subject = prepare(bed, operation.needs, &m.prepared);
    const QStringList before = bed.state();
    int calls = 0;
    {
        ScopedEnvironment path;
        if (fault == Fault::Missing || fault == Fault::NotExecutable)
            path.set("PATH",
                     QFile::encodeName(fault == Fault::Missing ? bed.empty : bed.notExecutable));
        if (fault == Fault::Hang)
            VBoxManageCommon::setTimeLimitsForTesting(ShortDefaultMs, ShortLongMs);
        if (fault >= Fault::Killed)
            bed.host.setFaults(QStringLiteral("* %1\n").arg(faultName(fault)));
        LogCapture log;
        const HangBreaker breaker(fault == Fault::Hang ? ShortLongMs + 1000 : 120000);
        QElapsedTimer timer;
        timer.start();
        m.outcome = operation.run(subject);
        m.ms = timer.elapsed();
        m.ended = breaker.ended();
        m.reason = firstReason(log).replace(bed.host.path(QString()), QStringLiteral("<test>/"));
        calls = log.texts().filter(QStringLiteral("[VBox] Call:")).size();
    }
    bed.host.setFaults(QString());
    VBoxManageCommon::setTimeLimitsForTesting(0, 0);
    if (fault != Fault::None)
        m.shortfall = shortfall(operation, fault, m, calls, before, bed.state());
    Settings::remove(HostOnlyKey);
    return m;
}

QString cell(const Measured &m)
{
    QString text = QStringLiteral("%1, %2 s").arg(m.outcome.shown).arg(m.ms / 1000.0, 0, 'f', 1);
    if (!m.prepared)
        text += QStringLiteral(", **not prepared**");
    const QString words = shortfallWords(m);
    return words.isEmpty() ? text : text + QStringLiteral(", ") + words;
}

QString markdown(const QList<QList<Measured>> &rows)
{
    QString table = QStringLiteral("| Operation |");
    for (const char *fault : FaultNames)
        table += QStringLiteral(" %1 |").arg(QLatin1String(fault));
    table += QStringLiteral("\n|---|") + QStringLiteral("---|").repeated(FaultCount) + '\n';
    QVector<QMap<QString, int>> reasons(FaultCount);
    QString waits;
    for (int i = 0; i < rows.size(); ++i) {
        const Operation &operation = operations()[i];
        table += QStringLiteral("| %1 |").arg(QLatin1String(operation.name));
        for (int f = 0; f < rows[i].size(); ++f) {
            table += ' ' + cell(rows[i][f]) + QStringLiteral(" |");
            const QString reason = rows[i][f].reason.left(100).replace('|', "\\|");
            ++reasons[f][reason.isEmpty() ? QStringLiteral("(none)") : '`' + reason + '`'];
        }
        table += '\n';
        if (*operation.waits)
            waits += QStringLiteral("- %1: %2\n")
                         .arg(QLatin1String(operation.name), QLatin1String(operation.waits));
    }
    QString why = QStringLiteral("\n| Fault | First warning or critical line of each operation "
                                 "(how many operations) |\n|---|---|\n");
    for (int f = 1; f < reasons.size(); ++f) {
        QStringList lines;
        for (auto reason = reasons[f].cbegin(); reason != reasons[f].cend(); ++reason)
            lines.append(QStringLiteral("%1 (%2)").arg(reason.key()).arg(reason.value()));
        why += QStringLiteral("| %1 | %2 |\n")
                   .arg(QLatin1String(FaultNames[f]), lines.join(QStringLiteral("<br>")));
    }
    return table + why +
           QStringLiteral("\nWaits by design, which every failing call adds to:\n\n") + waits +
           QStringLiteral("\nMeasured %1 on %2 processors.\n")
               .arg(QDate::currentDate().toString(Qt::ISODate))
               .arg(std::thread::hardware_concurrency());
}

} // namespace FaultCells
