// SPDX-License-Identifier: Apache-2.0
// The engine's and the machine's scenarios are transcripts in tests/data/scenarios: the
// operations to run, the calls they must make in that order with the answers VirtualBox
// gives, and what the log and the files must show afterwards. README.md there has the format.
#include "hostlock.h"
#include "logcapture.h"
#include "printers.h"
#include "standin.h"
#include "vboxmanagecore.h"
#include "vboxmanagemachine.h"

#include <vmtools/paths.h>
#include <vmtools/settings.h>
#include <vmtools/vmtemplate.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QSize>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <list>
#include <memory>

namespace {

const QString Folder = QStringLiteral(TEST_DATA_DIR "/scenarios");

struct Call
{
    QString tool;
    QStringList args;
    Answer answer;
    bool answered = false; // without answer lines a repeated call answers as it did before
};

struct Step
{
    int line = 0;
    QString op;
    QStringList args;
    bool checked = false;
    QString expected;
    QList<Call> calls;
};

struct Scenario
{
    QList<QStringList> files;
    QList<QStringList> settings;
    QStringList locks;
    QList<Step> steps;
    QList<LogLine> log;
    QStringList gone;
    QStringList kept;
    bool unchanged = false;
};

// Words separated by spaces; double quotes hold spaces, \" and \\ inside them.
QStringList words(const QString &line)
{
    QStringList result;
    QString word;
    bool inWord = false;
    bool quoted = false;
    for (int i = 0; i < line.size(); ++i) {
        const QChar c = line.at(i);
        if (quoted && c == '\\' && i + 1 < line.size() &&
            (line[i + 1] == '"' || line[i + 1] == '\\'))
            word += line.at(++i);
        else if (c == '"')
            quoted = !quoted, inWord = true;
        else if (c == ' ' && !quoted) {
            if (inWord)
                result << word;
            word.clear();
            inWord = false;
        } else
            word += c, inWord = true;
    }
    if (inWord)
        result << word;
    return result;
}

// A call as a line of the transcript, so that a failed comparison reads like one.
QString shown(const QString &tool, const QStringList &args)
{
    QString line = tool;
    for (const QString &arg : args)
        line += ' ' + (arg.isEmpty() || arg.contains(' ') ? '"' + arg + '"' : arg);
    return line;
}

QString text(const QString &value)
{
    return '"' + value + '"';
}

QString yes(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QString loadState(const LoadStateInfo &info, bool engine)
{
    return QString::number(info.state) + ' ' + text(info.message) + (engine ? "" : " no engine");
}

class ScenarioTest : public ::testing::TestWithParam<QString>
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_root.isValid());
        Settings::set(QStringLiteral("vms.path"), m_root.path() + QStringLiteral("/deployed/"));
    }

    void TearDown() override
    {
        m_machine.reset();
        m_engine.reset();
        for (const char *key : {"vms.path", "host.only.interface"})
            Settings::remove(QLatin1String(key));
        QFile::remove(HostLock::folder() + QStringLiteral("/machine-folder.user"));
    }

    QString expand(QString line) const
    {
        return line.replace("{deploy}", m_root.path() + "/deployed")
            .replace("{root}", m_root.path())
            .replace("{home}", QDir::homePath())
            .replace("{product}", Paths::getQuillomatePath())
            .replace("{locks}", HostLock::folder())
            .replace("{plugins}", QCoreApplication::applicationDirPath() + "/plugins/");
    }

    QString path(const QString &written) const
    {
        const QString expanded = expand(written);
        return QDir::isAbsolutePath(expanded) ? expanded : m_root.path() + '/' + expanded;
    }

    Scenario read(const QString &file) const;
    QString perform(const QString &op, const QStringList &args);

    // Every entry under the temporary root with its size, to prove that nothing changed.
    QStringList tree() const
    {
        QStringList entries;
        QDirIterator it(m_root.path(), QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            it.next();
            entries << it.filePath() + ' ' +
                           QString::number(it.fileInfo().isDir() ? -1 : it.fileInfo().size());
        }
        entries.sort();
        return entries;
    }

    VBoxManageCore &core()
    {
        if (!m_core)
            m_core.reset(new VBoxManageCore);
        return *m_core;
    }
    VMToolsEngine &engine() { return m_engine ? *m_engine : core(); }

    QTemporaryDir m_root;
    StandIn m_standIn;
    LogCapture m_log;
    std::unique_ptr<VBoxManageCore> m_core;
    std::unique_ptr<VMToolsEngine> m_engine; // the plug-in as a host loads it
    std::list<std::unique_ptr<HostLock>> m_locks;
    std::unique_ptr<VMToolsMachine> m_machine;
};

Scenario ScenarioTest::read(const QString &name) const
{
    Scenario s;
    QFile file(Folder + '/' + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly | QIODevice::Text)) << name.toStdString();
    const QStringList lines = QString::fromUtf8(file.readAll()).split('\n');
    for (int n = 0; n < lines.size(); ++n) {
        const QString line = expand(lines.at(n));
        const QString head = line.section(' ', 0, 0);
        const QString rest = line.section(' ', 1);
        const auto answer = [&]() -> Answer & {
            EXPECT_FALSE(s.steps.isEmpty() || s.steps.last().calls.isEmpty()) << "line " << n + 1;
            s.steps.last().calls.last().answered = true;
            return s.steps.last().calls.last().answer;
        };
        if (head.isEmpty() || head.startsWith('#'))
            continue;
        if (head == "file" || head == "setting")
            (head == "file" ? s.files : s.settings) << words(rest);
        else if (head == "lock")
            s.locks << rest;
        else if (head == "do") {
            Step step;
            step.line = n + 1;
            const QStringList parts = (rest + ' ').split(QStringLiteral(" => "));
            step.args = words(parts.first());
            step.op = step.args.takeFirst();
            step.checked = parts.size() > 1;
            step.expected = parts.mid(1).join(" => ").trimmed();
            s.steps << step;
        } else if (head == ">") {
            QStringList args = words(rest);
            const QString tool = args.takeFirst();
            EXPECT_FALSE(s.steps.isEmpty()) << "line " << n + 1;
            if (!s.steps.isEmpty())
                s.steps.last().calls << Call{tool, args, Answer::ok()};
        } else if (head == "<")
            answer().out += rest + '\n';
        else if (head == "<.")
            answer().out += rest;
        else if (head == "<<") {
            QFile data(QStringLiteral(TEST_DATA_DIR "/") + rest);
            EXPECT_TRUE(data.open(QIODevice::ReadOnly)) << rest.toStdString();
            answer().out += QString::fromUtf8(data.readAll());
        } else if (head == "!")
            answer().err += rest + '\n';
        else if (head == "=")
            answer().exitCode = rest.toInt();
        else if (head == "log") {
            const QMap<QString, QtMsgType> levels{
                {"D", QtDebugMsg}, {"W", QtWarningMsg}, {"C", QtCriticalMsg}};
            EXPECT_TRUE(levels.contains(rest.left(1))) << "line " << n + 1;
            s.log << LogLine{levels.value(rest.left(1)), rest.mid(2)};
        } else if (head == "gone" || head == "kept")
            (head == "gone" ? s.gone : s.kept) << path(rest);
        else if (head == "unchanged")
            s.unchanged = true;
        else
            ADD_FAILURE() << name.toStdString() << ':' << n + 1 << ": unknown line";
    }
    return s;
}

using MachineAction = std::function<QString(VMToolsMachine &, const QStringList &)>;

// A getter that reads a value as text.
template<typename Get> MachineAction reads(Get get)
{
    return [get](VMToolsMachine &m, const QStringList &) {
        return text(std::invoke(get, m));
    };
}

// A setter of a text value.
MachineAction writes(void (VMToolsMachine::*set)(const QString &))
{
    return [set](VMToolsMachine &m, const QStringList &a) {
        (m.*set)(a.value(0));
        return QString();
    };
}

const QMap<QString, VMToolsMachine::AdapterType> Adapters{
    {"none", VMToolsMachine::NoAdapter},
    {"other", VMToolsMachine::OtherAdapter},
    {"hostonly", VMToolsMachine::HostOnlyAdapter}};

QString connection(const VMToolsMachine::ConnectionInfo &info)
{
    static const char *const types[] = {"unknown", "nat", "bridged"};
    return QString(types[info.type()]) + ' ' + text(info.name());
}

const QMap<QString, MachineAction> &machineActions()
{
    using M = VMToolsMachine;
    using A = const QStringList &;
    static const QMap<QString, MachineAction> actions{
        {"name", reads(&M::getName)},
        {"uuid", reads(&M::getUuid)},
        {"path", reads(&M::getPath)},
        {"status",
         [](M &m, A) {
             return M::getStatusString(m.getStatus());
         }},
        {"loadStatus",
         [](M &m, A) {
             return M::getStatusString(m.getOnLoadStatus());
         }},
        {"cpus",
         [](M &m, A) {
             return QString::number(m.getCPUCount());
         }},
        {"ram",
         [](M &m, A) {
             return QString::number(m.getRAM());
         }},
        {"setCpus",
         [](M &m, A a) {
             return yes(m.setCPUCount(a.value(0).toUInt()));
         }},
        {"setRam",
         [](M &m, A a) {
             return yes(m.setRAM(a.value(0).toUInt()));
         }},
        {"resolution",
         [](M &m, A) {
             return QStringLiteral("%1x%2")
                 .arg(m.getResolution().width())
                 .arg(m.getResolution().height());
         }},
        {"setResolution",
         [](M &m, A a) {
             m.setResolution(QSize(a.value(0).toInt(), a.value(1).toInt()));
             return QString();
         }},
        {"density", reads(&M::getDensity)},
        {"deviceId", reads(&M::getDeviceId)},
        {"setDeviceId", writes(&M::setDeviceId)},
        {"fullScreen",
         [](M &m, A) {
             return yes(m.isFullScreen());
         }},
        {"setFullScreen",
         [](M &m, A a) {
             m.setFullScreen(a.value(0) == "true");
             return QString();
         }},
        {"hx",
         [](M &m, A) {
             return yes(m.isHX());
         }},
        {"fullHx",
         [](M &m, A) {
             return yes(m.isFullHX());
         }},
        {"setFullHx",
         [](M &m, A a) {
             return yes(m.setFullHX(a.value(0) == "true"));
         }},
        {"keyboard",
         [](M &m, A) {
             return yes(m.getVirtualKeyboardOption());
         }},
        {"setKeyboard",
         [](M &m, A a) {
             m.setVirtualKeyboardOption(a.value(0) == "true");
             return QString();
         }},
        {"dataDiskSize",
         [](M &m, A) {
             return QString::number(m.getDataDiskSize());
         }},
        {"deviceVersion",
         [](M &m, A) {
             return QString::number(m.getDeviceVersion());
         }},
        {"releaseDate",
         [](M &m, A) {
             return m.getReleaseDate().toString(Qt::ISODate);
         }},
        {"setReleaseDate",
         [](M &m, A a) {
             m.setReleaseDate(QDateTime::fromString(a.value(0), Qt::ISODate));
             return QString();
         }},
        {"androidVersion", reads(&M::getAndroidVersion)},
        {"setAndroidVersion",
         [](M &m, A a) {
             return yes(m.setAndroidVersion(a.value(0)));
         }},
        {"setProductName", writes(&M::setProductName)},
        {"setProductModel", writes(&M::setProductModel)},
        {"setProductManufacturer", writes(&M::setProductManufacturer)},
        {"setProductBrand", writes(&M::setProductBrand)},
        {"setProductBoard", writes(&M::setProductBoard)},
        {"setProductDevice", writes(&M::setProductDevice)},
        {"setProductSerial", writes(&M::setProductSerial)},
        {"setProductType", writes(&M::setProductType)},
        {"setProductFingerPrint", writes(&M::setProductFingerPrint)},
        {"setProductTags", writes(&M::setProductTags)},
        {"productTags", reads(&M::getProductTags)},
        {"data",
         [](M &m, A a) {
             return text(m.getData(a.value(0), a.value(1)));
         }},
        {"reload",
         [](M &m, A) {
             m.reloadProperties();
             return QString();
         }},
        {"adapter",
         [](M &m, A a) {
             return Adapters.key(m.getAdapterType(a.value(0).toUInt()), "?");
         }},
        {"setAdapter",
         [](M &m, A a) {
             return yes(
                 m.setAdapterType(a.value(0).toUInt(), Adapters.value(a.value(1)), a.value(2)));
         }},
        {"connection",
         [](M &m, A) {
             return connection(m.getConnectionInfo());
         }},
        {"setConnection",
         [](M &m, A a) {
             using C = M::ConnectionInfo;
             return yes(m.setConnectionInfo(a.value(0) == "nat" ? C::createNatConnectionInfo()
                                            : a.value(0) == "bridged"
                                                ? C::createBridgedConnectionInfo(a.value(1))
                                                : C::createUnknownConnectionInfo()));
         }},
        {"waitForIP", reads(&M::waitForIP)},
        {"resetIP",
         [](M &m, A) {
             return yes(m.resetIP());
         }},
        {"ip", reads(&M::getIPAddress)},
        {"adbSerial", reads(&M::getAdbSerial)},
        {"createFactoryBackup",
         [](M &m, A) {
             return yes(m.createFactoryBackup());
         }},
        {"canResetToFactory",
         [](M &m, A) {
             return yes(m.canResetToFactory());
         }},
        {"resetFactory",
         [](M &m, A) {
             return QString::number(m.resetFactory());
         }},
        {"listSnapshots",
         [](M &m, A) {
             auto *machine = dynamic_cast<VBoxManageMachine *>(&m);
             return machine ? machine->listSnapshots().join(", ") : QStringLiteral("?");
         }},
        {"diskUuid",
         [](M &m, A a) {
             return text(
                 m.getDiskUuid(DiskPort(a.value(0).toInt()), DiskDevice(a.value(1).toInt())));
         }},
        {"attachDisk",
         [](M &m, A a) {
             return yes(m.attachDisk(a.value(0), DiskPort(a.value(1).toInt()),
                                     DiskDevice(a.value(2).toInt())));
         }},
        {"deleteDisk",
         [](M &m, A a) {
             return yes(m.deleteDisk(DiskPort(a.value(0).toInt()), DiskDevice(a.value(1).toInt())));
         }},
    };
    return actions;
}

QString ScenarioTest::perform(const QString &op, const QStringList &a)
{
    const auto number = [&](int i) {
        return a.value(i).toUInt();
    };
    if (op == "load") {
        LoadStateInfo info{-1, QStringLiteral("untouched")};
        m_engine.reset(VMToolsEngine::loadEngine(&info));
        return loadState(info, bool(m_engine));
    }
    if (op == "initialize")
        return loadState(core().initialize(), true);
    if (op == "version")
        return text(engine().version());
    if (op == "adapterName")
        return text(engine().getAdapterName());
    if (op == "limits")
        return QString::number(engine().getMaxCpuCount()) + ' ' +
               QString::number(engine().getMaxMemory());
    if (op == "settingOf")
        return text(Settings::get(a.value(0)).toString());
    if (op == "ready")
        return yes(engine().isSystemReady());
    if (op == "createMachine")
        return QString::number(
            engine().createMachine(a.value(0), a.value(1), number(2), number(3), number(4)));
    if (op == "getMachine") {
        m_machine.reset(engine().getMachine(a.value(0)));
        return m_machine ? text(m_machine->getName()) + ' ' + text(m_machine->getUuid()) : "none";
    }
    if (op == "getMachines") {
        QStringList names;
        for (VMToolsMachine *machine : engine().getMachines()) {
            names << text(machine->getName()) + ' ' + text(machine->getUuid());
            delete machine;
        }
        return names.join(", ");
    }
    if (op == "doesMachineExist")
        return yes(engine().doesMachineExist(a.value(0)));
    if (op == "copyDisk")
        return QString::number(engine().copyDisk(a.value(0), a.value(1)));
    if (op == "deleteDisk")
        return QString::number(engine().deleteDisk(a.value(0)));
    if (op == "cleanDeployDir")
        return yes(core().cleanDeployDir(a.value(0)));
    if (op == "deleteHostOnlyInterface")
        return yes(core().deleteHostOnlyInterface(a.value(0)));
    if (op == "isCompatible")
        return yes(core().isCompatible(a.value(0)));
    if (op == "machineFolder")
        return text(core().getCurrentVBoxMachineFolderValue());
    if (op == "setMachineFolder")
        return yes(core().setVBoxMachineFolderValue(a.value(0)));
    // The rest acts on a machine: "machine UUID NAME" makes one without the engine.
    if (op == "machine") {
        m_machine.reset(
            new VBoxManageMachine(a.value(0), a.value(1), QStringLiteral("VBoxManage")));
        return QString();
    }
    if (!m_machine) {
        ADD_FAILURE() << "no machine for " << op.toStdString();
        return QString();
    }
    VMToolsMachine &machine = *m_machine;
    if (op == "deleteMachine")
        return yes(engine().deleteMachine(&machine));
    if (op == "renameMachine")
        return yes(engine().renameMachine(&machine, a.value(0)));
    if (op == "cloneMachine")
        return QString::number(engine().cloneMachine(&machine, a.value(0), a.value(1) == "true"));
    if (op == "startMachine")
        return yes(engine().startMachine(&machine, a.value(0) == "gui"
                                                       ? VMToolsMachine::GuiLaunch
                                                       : VMToolsMachine::HeadlessLaunch));
    if (op == "stopMachine")
        return yes(engine().stopMachine(&machine));
    if (op == "startStopDevice")
        return yes(engine().startStopDevice(&machine));
    if (op == "createSDCard")
        return QString::number(core().createSDCard(&machine, number(0)));
    if (op == "template") {
        const VMTemplate t{a.value(0),
                           number(1),
                           QDateTime::fromString(a.value(2), Qt::ISODate),
                           a.value(3) == "true",
                           a.value(4) == "true",
                           int(number(5)),
                           int(number(6)),
                           number(7),
                           a.value(8) == "true",
                           a.value(9),
                           a.value(10),
                           a.value(11),
                           number(12),
                           number(13)};
        machine.setPropertiesFromTemplate(&t);
        return QString();
    }
    if (op == "copyProfileFrom") {
        const std::unique_ptr<VMToolsMachine> source(
            new VBoxManageMachine(a.value(0), a.value(1), QStringLiteral("VBoxManage")));
        machine.duplicateDeviceProperties(source.get());
        return QString();
    }
    const auto action = machineActions().find(op);
    if (action == machineActions().end()) {
        ADD_FAILURE() << "unknown operation " << op.toStdString();
        return QString();
    }
    return (*action)(machine, a);
}

TEST_P(ScenarioTest, RunsAsTranscribed)
{
    const Scenario s = read(GetParam());
    for (const QStringList &file : s.files) {
        const QString target = path(file.value(0));
        QDir().mkpath(QFileInfo(target).path());
        QFile out(target);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly)) << target.toStdString();
        out.write(file.size() > 1 ? file.mid(1).join(' ').toUtf8() : QByteArray("disk"));
    }
    for (const QStringList &setting : s.settings)
        Settings::set(setting.value(0), setting.value(1));
    for (const QString &name : s.locks) {
        QDir().mkpath(HostLock::folder());
        m_locks.emplace_back(new HostLock(name));
        ASSERT_TRUE(m_locks.back()->tryAcquire());
    }
    // Each distinct call gets one rule that gives its answers in the transcript's order.
    QMap<QString, QPair<Call, QList<Answer>>> rules;
    QStringList order;
    for (const Step &step : s.steps) {
        for (const Call &call : step.calls) {
            const QString key = shown(call.tool, call.args);
            if (!rules.contains(key))
                order << key, rules[key].first = call;
            QList<Answer> &answers = rules[key].second;
            answers << (call.answered || answers.isEmpty() ? call.answer : answers.last());
        }
    }
    for (const QString &key : order)
        m_standIn.onExact(rules[key].first.args, rules[key].second, rules[key].first.tool);
    const QStringList before = tree();

    for (const Step &step : s.steps) {
        SCOPED_TRACE(
            QStringLiteral("%1:%2 %3").arg(GetParam()).arg(step.line).arg(step.op).toStdString());
        m_standIn.clearCalls();
        const QString result = perform(step.op, step.args);
        if (step.checked) {
            EXPECT_EQ(result, step.expected);
        }
        QStringList made, expected;
        for (const ToolCall &call : m_standIn.allCalls())
            made << shown(call.tool, call.args);
        for (const Call &call : step.calls)
            expected << shown(call.tool, call.args);
        EXPECT_EQ(made, expected);
    }

    // Critical lines are all transcribed (their first lines, without the command runner's
    // echo of failed calls); the others only where a reader depends on them, in their order.
    QStringList critical;
    int from = 0;
    const QList<LogLine> lines = m_log.lines();
    for (const LogLine &line : s.log) {
        if (line.type == QtCriticalMsg) {
            critical << line.text;
            continue;
        }
        const int at = lines.indexOf(line, from);
        EXPECT_GE(at, 0) << "not logged in this order: " << line.text.toStdString() << "\nlog:\n"
                         << m_log.texts().join('\n').toStdString();
        from = at < 0 ? from : at + 1;
    }
    QStringList logged;
    for (const QString &text : m_log.texts(QtCriticalMsg)) {
        if (!text.startsWith("[VBox] Return code: ") && !text.startsWith("[VBox] Output command: "))
            logged << text.section('\n', 0, 0);
    }
    EXPECT_EQ(logged, critical);
    for (const QString &file : s.gone)
        EXPECT_FALSE(QFileInfo::exists(file)) << file.toStdString();
    for (const QString &file : s.kept)
        EXPECT_TRUE(QFileInfo::exists(file)) << file.toStdString();
    if (s.unchanged) {
        EXPECT_EQ(tree(), before);
    }
}

QStringList transcripts()
{
    return QDir(Folder).entryList({QStringLiteral("*.txt")}, QDir::Files, QDir::Name);
}

INSTANTIATE_TEST_SUITE_P(Transcripts, ScenarioTest, ::testing::ValuesIn(transcripts()),
                         [](const ::testing::TestParamInfo<QString> &info) {
                             return QString(info.param)
                                 .chopped(4)
                                 .replace(QRegularExpression("[^A-Za-z0-9]"), "_")
                                 .toStdString();
                         });

} // namespace
