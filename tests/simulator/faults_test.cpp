// SPDX-License-Identifier: Apache-2.0
// VirtualBox misbehaving under every engine and machine operation, end to end: the plug-in
// loaded as a host loads it, against the stand-in, with one fault at a time on every run of
// VBoxManage that the operation makes. A cell checks the operation's result, its time
// against its limits, the reason in the log, the deploy, media and export folders (no
// half-made device, no temporary folder) and the settings (the user's and the install
// store, VirtualBox's default machine folder). The default run checks a few cells;
// FAULT_TABLE=<path> runs them all and writes the measured table there as Markdown.
#include "logcapture.h"
#include "procstats.h"
#include "simhost.h"
#include "vboxmanagecommon_p.h"

#include <vmtools/paths.h>
#include <vmtools/settings.h>
#include <vmtools/vboxmanagecommon.h>
#include <vmtools/vmtoolsengine.h>
#include <vmtools/vmtoolsmachine.h>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QHash>
#include <QVector>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

#include <signal.h>

namespace {

const QString Device = QStringLiteral("phone");
const QString HostOnlyKey = QStringLiteral("host.only.interface");
// The limits of the hang column: every call there hangs, so no call of the stand-in that
// works is ever cut short by them.
constexpr int ShortDefaultMs = 300;
constexpr int ShortLongMs = 600;
constexpr int SlackMs = 3000;

enum class Fault { None, Missing, NotExecutable, Killed, Hang, Flood, Garbage, Empty, NoService };
// From "killed" on, the stand-in's fault of that name; the others the test makes itself.
const char *const FaultNames[] = {"none",  "missing", "not executable", "killed",   "hang",
                                  "flood", "garbage", "empty",          "noservice"};
constexpr int FaultCount = int(std::size(FaultNames));

struct Outcome
{
    bool failed;
    QString shown;
    bool hasResult = true; // false for operations that return nothing
};

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

// Ends runs of VBoxManage that outlive `afterMs`, which only a call without a time limit
// allows, so that such a call shows in the table instead of stopping the test. Every
// child of this process is one that the test started.
class HangBreaker
{
public:
    explicit HangBreaker(int afterMs)
        : m_afterMs(afterMs)
        , m_thread([this] { watch(); })
    {}
    ~HangBreaker()
    {
        m_stop = true;
        m_thread.join();
    }
    int ended() const { return m_ended; }

private:
    static bool isRunningVBoxManage(qint64 pid)
    {
        QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
        if (!stat.open(QIODevice::ReadOnly))
            return false;
        const QByteArray fields = stat.readAll();
        return fields.contains("(VBoxManage) ") && !fields.contains(") Z ");
    }
    void watch()
    {
        QHash<qint64, QElapsedTimer> seen;
        while (!m_stop) {
            for (const qint64 pid : ProcStats::children()) {
                if (!isRunningVBoxManage(pid))
                    continue;
                if (!seen.contains(pid)) {
                    seen[pid].start();
                } else if (seen[pid].elapsed() > m_afterMs) {
                    ::kill(static_cast<pid_t>(pid), SIGKILL);
                    seen.remove(pid);
                    ++m_ended;
                }
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }

    const int m_afterMs;
    std::atomic<bool> m_stop{false};
    std::atomic<int> m_ended{0};
    std::thread m_thread;
};

// Every file and folder below `root`, relative to it, but for the copy of a machine's old
// settings that VirtualBox keeps on any change.
QStringList tree(const QString &root)
{
    QStringList entries;
    QDirIterator it(root, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString entry = QDir(root).relativeFilePath(it.next());
        if (!entry.endsWith(QLatin1String(".vbox-prev")))
            entries.append(entry);
    }
    entries.sort();
    return entries;
}

void copyTree(const QString &from, const QString &to)
{
    QDir().mkpath(to);
    EXPECT_EQ(QProcess::execute("cp", {"-a", from + "/.", to}), 0) << qPrintable(from);
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A simulated host with one device deployed as the engine deploys it, with its factory
// snapshot, and a loose disk; every cell starts from a copy of it.
class Testbed
{
public:
    Testbed()
    {
        host.addHostOnlyNetwork();
        QDir().mkpath(media);
        EXPECT_EQ(host.vbox({"setproperty", "machinefolder", deploy}).exitCode, 0);
        EXPECT_EQ(host.importSample(Device, deploy + "/%1/android_%2_disk.vmdk").exitCode, 0);
        // A machine folder of the user's own, which the engine must put back as it was.
        for (const QStringList &args :
             {QStringList{"setproperty", "machinefolder", host.path(QStringLiteral("my VMs"))},
              QStringList{"modifyvm", Device, "--hostonlyadapter1", "vboxnet0"},
              QStringList{"snapshot", Device, "take", "factory-backup"},
              QStringList{"createhd", "--filename", media + "/loose.vdi", "--size", "8"}})
            EXPECT_EQ(host.vbox(args).exitCode, 0) << qPrintable(args.join(' '));
        QDir().mkpath(exports);
        for (const QString &folder : {host.home(), deploy, media, exports})
            copyTree(folder, template_ + folder);
        QDir().mkpath(empty);
        QDir().mkpath(notExecutable);
        QFile::copy(SimHost::program(QStringLiteral("VBoxManage")),
                    notExecutable + QStringLiteral("/VBoxManage"));
        QFile::setPermissions(notExecutable + QStringLiteral("/VBoxManage"),
                              QFile::ReadOwner | QFile::WriteOwner);
    }

    void reset()
    {
        host.setFaults(QString());
        // A note of the user's machine folder, left by a switch that could not be put back,
        // would be read by the next cell's switch: each cell starts without one.
        QDir(Paths::getQuillomatePath() + QStringLiteral("/locks")).removeRecursively();
        for (const QString &folder : {host.home(), deploy, media, exports}) {
            QDir(folder).removeRecursively();
            copyTree(template_ + folder, folder);
        }
    }

    // What a failed operation must leave as it was.
    QStringList state() const
    {
        QStringList lines;
        for (const QString &folder : {deploy, media, exports})
            for (const QString &entry : tree(folder))
                lines.append(QStringLiteral("folder: ") + folder + '/' + entry);
        const QString userStore = Settings::getApplicationSettings()->fileName();
        const QString installStore =
            QCoreApplication::applicationDirPath() + QStringLiteral("/quillomate.ini");
        for (const QString &store : {userStore, installStore})
            lines.append(QStringLiteral("settings: ") + store + ' ' +
                         QString::fromUtf8(contents(store).toHex()));
        const QString properties = host.vbox({"list", "systemproperties"}).out;
        lines.append(QStringLiteral("settings: ") +
                     properties.section(QStringLiteral("Default machine folder:"), 1)
                         .section('\n', 0, 0)
                         .trimmed());
        return lines;
    }

    SimHost host;
    const QString deploy = QDir::cleanPath(Paths::getQuillomatePath() + "/deployed");
    const QString media = host.path(QStringLiteral("media"));
    const QString exports = host.path(QStringLiteral("exports"));
    const QString empty = host.path(QStringLiteral("bin-empty"));
    const QString notExecutable = host.path(QStringLiteral("bin-not-executable"));

private:
    const QString template_ = host.path(QStringLiteral("template"));
};

struct Subject
{
    const Testbed &bed;
    std::unique_ptr<VMToolsEngine> engine;
    std::unique_ptr<VMToolsMachine> phone;
};

// What an operation needs before the fault starts.
enum class Needs { Nothing, OpenedEngine, Device, RunningDevice };

struct Operation
{
    const char *name;
    Needs needs;
    int pausesMs; // what the operation sleeps by design when every call fails
    std::function<Outcome(Subject &)> run;
    // What falls short of the goal, as measured under each fault but "none", in the order
    // of FaultNames; "-" where nothing does. Letters as in shortfallWords; the default run
    // checks the cells marked "*" and the "none" column, FAULT_TABLE every cell.
    const char *shortfalls = "- - - - - - - -";
    const char *waits = "";            // the pauses and polls, for the table
    Fault answersAnyway = Fault::None; // a fault under which success is the right answer
};

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
         "-* - - L C C* - -",
         "up to 6 runs of `list hostinfo`, which has no time limit, with 0.5 s after each failed "
         "one (3 s)"},
        {"`version` (first call)", Needs::OpenedEngine, 0,
         [](Subject &s) {
             const QString version = s.engine->version();
             return text(version, version == QLatin1String("unknown"));
         },
         "- - - S SQ SQ SQ Q*", "", Fault::NoService},
        {"`getMachines`", Needs::Device, 0,
         [](Subject &s) {
             const QList<VMToolsMachine *> machines = s.engine->getMachines();
             qDeleteAll(machines);
             return Outcome{machines.isEmpty(), QStringLiteral("%1 devices").arg(machines.size())};
         },
         "- - - L Q* Q Q -"},
        {"`getMachine` / `doesMachineExist`", Needs::Device, 0,
         [](Subject &s) {
             const std::unique_ptr<VMToolsMachine> found(s.engine->getMachine(Device));
             return all({{!found, found ? QStringLiteral("machine") : QStringLiteral("null")},
                         yesNo(s.engine->doesMachineExist(Device))});
         },
         "- - - L Q Q Q -"},
        {"`createMachine`", Needs::Device, 0,
         [](Subject &s) {
             return code(s.engine->createMachine(VBOXSIM_SAMPLE_OVA, "tablet", 2, 2048, 64));
         },
         "- - C* L - - - -"},
        {"`cloneMachine` (from the factory snapshot)", Needs::Device, 0,
         [](Subject &s) { return code(s.engine->cloneMachine(s.phone.get(), "copy", true)); },
         "- - C* L - - - -"},
        {"`renameMachine`", Needs::Device, 0,
         [](Subject &s) { return yesNo(s.engine->renameMachine(s.phone.get(), "renamed")); },
         "- - F L* - - - -"},
        {"`deleteMachine`", Needs::Device, 0,
         [](Subject &s) { return yesNo(s.engine->deleteMachine(s.phone.get())); },
         "- - - L - -* - -"},
        {"`startMachine`", Needs::Device, 0,
         [](Subject &s) {
             return yesNo(s.engine->startMachine(s.phone.get(), VMToolsMachine::HeadlessLaunch));
         },
         "- - - L - - - -"},
        {"`stopMachine`", Needs::RunningDevice, 0,
         [](Subject &s) { return yesNo(s.engine->stopMachine(s.phone.get())); },
         "- - - S* SQ SQ SQ -"},
        {"`exportMachine`", Needs::Device, 0,
         [](Subject &s) {
             return yesNo(
                 s.engine->exportMachine(s.phone.get(), s.bed.exports + "/phone.ova", nullptr));
         },
         "- -* - L - - - -"},
        {"`copyDisk`", Needs::Device, 0,
         [](Subject &s) {
             return code(s.engine->copyDisk(s.bed.deploy + "/phone/android_data_disk.vmdk",
                                            s.bed.media + "/copy.vmdk"));
         },
         "- - F L SQ SQ SQ* -"},
        {"`deleteDisk` (engine, by path)", Needs::Device, 0,
         [](Subject &s) { return code(s.engine->deleteDisk(s.bed.media + "/loose.vdi")); },
         "- - F L SQ SQ SQ -"},
        {"`checkAndCreateVboxInterface`", Needs::Device, 0,
         [](Subject &s) {
             s.engine->checkAndCreateVboxInterface();
             const QString adapter = s.engine->getAdapterName();
             return text(adapter, adapter.isEmpty());
         },
         "C C C LC C C C C*", "up to 3 runs of `hostonlyif remove` in a row"},
        {"`dumpInfos` (engine, machine)", Needs::Device, 0,
         [](Subject &s) {
             QFile sink(QStringLiteral("/dev/null"));
             sink.open(QIODevice::WriteOnly);
             s.engine->dumpInfos(&sink);
             s.phone->dumpInfos(&sink);
             return Outcome{false, QStringLiteral("(none)"), false};
         },
         "- - - - Q Q Q -"},
        {"`getPath` / `getStatus` (running)", Needs::RunningDevice, 0,
         [](Subject &s) {
             const QString path = s.phone->getPath();
             const VMToolsMachine::State state = s.phone->getStatus();
             return all({text(QFileInfo(path).fileName(), path.isEmpty()),
                         {state != VMToolsMachine::On, VMToolsMachine::getStatusString(state)}});
         },
         "- - - L Q Q Q -"},
        {"profile read (`reloadProperties`, `getDensity`)", Needs::Device, 0,
         [](Subject &s) {
             s.phone->reloadProperties();
             return Outcome{false, shortText(s.phone->getDensity()), false};
         },
         "- - - L Q Q Q -"},
        {"profile write (`setAndroidVersion`)", Needs::Device, 0,
         [](Subject &s) { return yesNo(s.phone->setAndroidVersion("9.0")); }, "- - - L SQ SQ SQ -"},
        {"`setRAM` / `setCPUCount`", Needs::Device, 2 * 6 * 500,
         [](Subject &s) {
             return all({yesNo(s.phone->setRAM(1024)), yesNo(s.phone->setCPUCount(1))});
         },
         "- - - L SQ SQ SQ -", "up to 6 attempts each, 0.5 s apart (3 s each)"},
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
         },
         "- - - SL S S S -"},
        {"factory backup and reset (`createFactoryBackup`, `canResetToFactory`, "
         "`resetFactory`)",
         Needs::Device, 0,
         [](Subject &s) {
             const bool backedUp = s.phone->createFactoryBackup();
             const bool canReset = s.phone->canResetToFactory();
             const int reset = s.phone->resetFactory();
             return all({yesNo(backedUp), yesNo(canReset), {reset != 0, QString::number(reset)}});
         },
         "- - F S S S S -"},
        {"`getIPAddress` / `resetIP` (running)", Needs::RunningDevice, 0,
         [](Subject &s) {
             const QString address = s.phone->getIPAddress();
             return all(
                 {text(address, address == QLatin1String("0.0.0.0")), yesNo(s.phone->resetIP())});
         },
         "- - -* L SQ SQ SQ -",
         "`waitForIP`, not run here, asks `getIPAddress` up to 20 times 1 s apart (20 s when no "
         "address comes)"},
        {"disks (`attachDisk`, `getDiskUuid`, `deleteDisk`)", Needs::Device, 0,
         [](Subject &s) {
             const bool attached =
                 s.phone->attachDisk(s.bed.media + "/loose.vdi", SecondaryPort, SlaveDevice);
             const QString uuid = s.phone->getDiskUuid(SecondaryPort, SlaveDevice);
             const bool deleted = s.phone->deleteDisk(SecondaryPort, SlaveDevice);
             return all({yesNo(attached), text(uuid.left(8), uuid.isEmpty()), yesNo(deleted)});
         },
         "- - - L SQ SQ SQ -*"},
    };
    return list;
}

struct Measured
{
    Outcome outcome;
    qint64 ms = 0;
    int ended = 0;     // hung calls that the test had to end
    QString reason;    // firstReason
    QString shortfall; // letters, as in shortfallWords
};

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
    if (m.ended > 0)
        shown.last() += QStringLiteral(" (%1 ended by the test)").arg(m.ended);
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

Subject prepare(Testbed &bed, Needs needs)
{
    Subject subject{bed, nullptr, nullptr};
    if (needs == Needs::OpenedEngine)
        subject.engine.reset(VMToolsEngine::openEngine());
    if (needs >= Needs::Device) {
        LoadStateInfo info;
        subject.engine.reset(VMToolsEngine::loadEngine(&info));
        if (subject.engine)
            subject.phone.reset(subject.engine->getMachine(Device));
        EXPECT_TRUE(subject.phone);
    }
    if (needs == Needs::RunningDevice) {
        EXPECT_EQ(bed.host.vbox({"startvm", Device, "--type", "headless"}).exitCode, 0);
    }
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

Measured measure(Testbed &bed, const Operation &operation, Fault fault)
{
    bed.reset();
    const ScopedEnvironment virtualBox = bed.host.use();
    Settings::set(HostOnlyKey, QStringLiteral("vboxnet0"));
    Subject subject = prepare(bed, operation.needs);
    const QStringList before = bed.state();
    Measured m;
    int calls = 0;
    {
        ScopedEnvironment path;
        if (fault == Fault::Missing || fault == Fault::NotExecutable)
            path.set("PATH",
                     QFile::encodeName(fault == Fault::Missing ? bed.empty : bed.notExecutable));
        if (fault == Fault::Hang)
            VBoxManageCommon::setTimeLimitsForTesting(ShortDefaultMs, ShortLongMs);
        if (fault >= Fault::Killed)
            bed.host.setFaults(QStringLiteral("* %1\n").arg(QLatin1String(FaultNames[int(fault)])));
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
    return m;
}

QString cell(const Measured &m)
{
    QString text = QStringLiteral("%1, %2 s").arg(m.outcome.shown).arg(m.ms / 1000.0, 0, 'f', 1);
    const QString words = shortfallWords(m);
    return words.isEmpty() ? text : text + QStringLiteral(", ") + words;
}

// The measured table, the reasons logged and the waits, as docs/reliability.md shows them.
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

} // namespace

TEST(SimulatorFaults, EveryOperationFailsInTimeLogsWhyAndLeavesNothingBehind)
{
    const QString tablePath = QString::fromLocal8Bit(qgetenv("FAULT_TABLE"));
    Testbed bed;
    QList<QList<Measured>> rows;
    for (const Operation &operation : operations()) {
        const QStringList expected = QString::fromLatin1(operation.shortfalls).split(' ');
        rows.append(QList<Measured>());
        for (int f = 0; f < FaultCount; ++f) {
            const Fault fault = Fault(f);
            QString known = expected.value(f - 1);
            const bool quick = fault == Fault::None || known.endsWith('*');
            known.remove('*');
            if (tablePath.isEmpty() && !quick) {
                rows.last().append(Measured());
                continue;
            }
            SCOPED_TRACE(
                QStringLiteral("%1 under %2").arg(operation.name, FaultNames[f]).toStdString());
            const Measured m = measure(bed, operation, fault);
            rows.last().append(m);
            if (fault == Fault::None) {
                EXPECT_FALSE(m.outcome.failed) << qPrintable(m.outcome.shown);
                continue;
            }
            EXPECT_EQ(m.shortfall, known == "-" ? QString() : known) << qPrintable(cell(m));
        }
    }
    Settings::remove(HostOnlyKey);
    if (tablePath.isEmpty())
        return;
    QFile table(tablePath);
    ASSERT_TRUE(table.open(QIODevice::WriteOnly | QIODevice::Truncate));
    table.write(markdown(rows).toUtf8());
}
