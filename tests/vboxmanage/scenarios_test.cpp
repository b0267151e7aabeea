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
#include "vboxtest.h"

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
            .replace("{locks}", HostLock::folder())
            .replace("{plugins}", QCoreApplication::applicationDirPath() + "/plugins/");
    }

    QString path(const QString &written) const
    {
        const QString expanded = expand(written);
        return QDir::isAbsolutePath(expanded) ? expanded : m_root.path() + '/' + expanded;
    }

    Scenario read(const QString &file) const;
    QString perform(const QString &op, const QStringList &a);

    QStringList tree() const { return fileTree(m_root.path()); }

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

// One operation of a transcript, by its name, with its result as text.
#define OPERATION(name, result)                                                                    \
    if (op == QLatin1String(name))                                                                 \
        return (result);

QString ScenarioTest::perform(const QString &op, const QStringList &a)
{
    using M = VMToolsMachine;
    using C = M::ConnectionInfo;
    const auto n = [&](int i) {
        return a.value(i).toUInt();
    };
    const auto on = [&](int i) {
        return a.value(i) == QLatin1String("true");
    };
    const auto number = [](auto value) {
        return QString::number(value);
    };
    const auto made = [this](M *machine) {
        m_machine.reset(machine);
        return machine ? text(machine->getName()) + ' ' + text(machine->getUuid()) : "none";
    };
    const auto machines = [&](QList<M *> list) {
        QStringList names;
        for (M *machine : list)
            names << text(machine->getName()) + ' ' + text(machine->getUuid()), delete machine;
        return names.join(", ");
    };
    const QStringList adapters{"none", "other", "hostonly"};
    const QStringList connections{"unknown", "nat", "bridged"};
    LoadStateInfo info{-1, QStringLiteral("untouched")};
    if (op == QLatin1String("load")) {
        m_engine.reset(VMToolsEngine::loadEngine(&info));
        return loadState(info, bool(m_engine));
    }
    OPERATION("initialize", loadState(core().initialize(), true))
    OPERATION("version", text(engine().version()))
    OPERATION("adapterName", text(engine().getAdapterName()))
    OPERATION("limits", number(engine().getMaxCpuCount()) + ' ' + number(engine().getMaxMemory()))
    OPERATION("ready", yes(engine().isSystemReady()))
    OPERATION("settingOf", text(Settings::get(a.value(0)).toString()))
    OPERATION("createMachine",
              number(engine().createMachine(a.value(0), a.value(1), n(2), n(3), n(4))))
    OPERATION("getMachine", made(engine().getMachine(a.value(0))))
    OPERATION("machine", made(new VBoxManageMachine(a.value(0), a.value(1), "VBoxManage")))
    OPERATION("getMachines", machines(engine().getMachines()))
    OPERATION("doesMachineExist", yes(engine().doesMachineExist(a.value(0))))
    OPERATION("copyDisk", number(engine().copyDisk(a.value(0), a.value(1))))
    OPERATION("deleteDisk", number(engine().deleteDisk(a.value(0))))
    OPERATION("deleteHostOnlyInterface", yes(core().deleteHostOnlyInterface(a.value(0))))
    OPERATION("isCompatible", yes(core().isCompatible(a.value(0))))
    OPERATION("machineFolder", text(core().getCurrentVBoxMachineFolderValue()))
    OPERATION("setMachineFolder", yes(core().setVBoxMachineFolderValue(a.value(0))))
    // The rest acts on the machine made last.
    if (!m_machine) {
        ADD_FAILURE() << "no machine for " << op.toStdString();
        return QString();
    }
    M &m = *m_machine;
    OPERATION("deleteMachine", yes(engine().deleteMachine(&m)))
    OPERATION("renameMachine", yes(engine().renameMachine(&m, a.value(0))))
    OPERATION("cloneMachine", number(engine().cloneMachine(&m, a.value(0), on(1))))
    OPERATION("startMachine", yes(engine().startMachine(&m, M::LaunchType(a.value(0) == "gui"))))
    OPERATION("startStopDevice", yes(engine().startStopDevice(&m)))
    OPERATION("createSDCard", number(core().createSDCard(&m, n(0))))
    OPERATION("name", text(m.getName()))
    OPERATION("path", text(m.getPath()))
    OPERATION("status", M::getStatusString(m.getStatus()))
    OPERATION("loadStatus", M::getStatusString(m.getOnLoadStatus()))
    OPERATION("cpus", number(m.getCPUCount()))
    OPERATION("ram", number(m.getRAM()))
    OPERATION("setCpus", yes(m.setCPUCount(n(0))))
    OPERATION("setRam", yes(m.setRAM(n(0))))
    OPERATION("resolution",
              number(m.getResolution().width()) + 'x' + number(m.getResolution().height()))
    OPERATION("setResolution", (m.setResolution(QSize(n(0), n(1))), QString()))
    OPERATION("density", text(m.getDensity()))
    OPERATION("deviceId", text(m.getDeviceId()))
    OPERATION("setDeviceId", (m.setDeviceId(a.value(0)), QString()))
    OPERATION("fullScreen", yes(m.isFullScreen()))
    OPERATION("setFullScreen", (m.setFullScreen(on(0)), QString()))
    OPERATION("hx", yes(m.isHX()))
    OPERATION("fullHx", yes(m.isFullHX()))
    OPERATION("setFullHx", yes(m.setFullHX(on(0))))
    OPERATION("keyboard", yes(m.getVirtualKeyboardOption()))
    OPERATION("setKeyboard", (m.setVirtualKeyboardOption(on(0)), QString()))
    OPERATION("dataDiskSize", number(m.getDataDiskSize()))
    OPERATION("deviceVersion", number(m.getDeviceVersion()))
    OPERATION("releaseDate", m.getReleaseDate().toString(Qt::ISODate))
    OPERATION("setReleaseDate",
              (m.setReleaseDate(QDateTime::fromString(a.value(0), Qt::ISODate)), QString()))
    OPERATION("androidVersion", text(m.getAndroidVersion()))
    OPERATION("setAndroidVersion", yes(m.setAndroidVersion(a.value(0))))
    OPERATION("setProductName", (m.setProductName(a.value(0)), QString()))
    OPERATION("setProductModel", (m.setProductModel(a.value(0)), QString()))
    OPERATION("setProductManufacturer", (m.setProductManufacturer(a.value(0)), QString()))
    OPERATION("setProductBrand", (m.setProductBrand(a.value(0)), QString()))
    OPERATION("setProductBoard", (m.setProductBoard(a.value(0)), QString()))
    OPERATION("setProductDevice", (m.setProductDevice(a.value(0)), QString()))
    OPERATION("setProductSerial", (m.setProductSerial(a.value(0)), QString()))
    OPERATION("setProductType", (m.setProductType(a.value(0)), QString()))
    OPERATION("setProductFingerPrint", (m.setProductFingerPrint(a.value(0)), QString()))
    OPERATION("setProductTags", (m.setProductTags(a.value(0)), QString()))
    OPERATION("productTags", text(m.getProductTags()))
    OPERATION("data", text(m.getData(a.value(0), a.value(1))))
    OPERATION("reload", (m.reloadProperties(), QString()))
    OPERATION("adapter", adapters.value(m.getAdapterType(n(0))))
    OPERATION("setAdapter",
              yes(m.setAdapterType(n(0), M::AdapterType(adapters.indexOf(a.value(1))), a.value(2))))
    const C connection = a.value(0) == "nat"       ? C::createNatConnectionInfo()
                         : a.value(0) == "bridged" ? C::createBridgedConnectionInfo(a.value(1))
                                                   : C::createUnknownConnectionInfo();
    const C current = op == "connection" ? m.getConnectionInfo() : connection;
    OPERATION("connection", connections.value(current.type()) + ' ' + text(current.name()))
    OPERATION("setConnection", yes(m.setConnectionInfo(connection)))
    OPERATION("waitForIP", text(m.waitForIP()))
    OPERATION("resetIP", yes(m.resetIP()))
    OPERATION("ip", text(m.getIPAddress()))
    OPERATION("adbSerial", text(m.getAdbSerial()))
    OPERATION("createFactoryBackup", yes(m.createFactoryBackup()))
    OPERATION("canResetToFactory", yes(m.canResetToFactory()))
    OPERATION("resetFactory", number(m.resetFactory()))
    OPERATION("listSnapshots", static_cast<VBoxManageMachine &>(m).listSnapshots().join(", "))
    OPERATION("diskUuid", text(m.getDiskUuid(DiskPort(n(0)), DiskDevice(n(1)))))
    OPERATION("attachDisk", yes(m.attachDisk(a.value(0), DiskPort(n(1)), DiskDevice(n(2)))))
    OPERATION("detachDisk", yes(m.deleteDisk(DiskPort(n(0)), DiskDevice(n(1)))))
    const VMTemplate t{a.value(0), n(1),        QDateTime::fromString(a.value(2), Qt::ISODate),
                       on(3),      on(4),       int(n(5)),
                       int(n(6)),  n(7),        on(8),
                       a.value(9), a.value(10), a.value(11),
                       n(12),      n(13)};
    OPERATION("template", (m.setPropertiesFromTemplate(&t), QString()))
    const std::unique_ptr<M> source(
        op == "copyProfileFrom" ? new VBoxManageMachine(a.value(0), a.value(1), "VBoxManage")
                                : nullptr);
    OPERATION("copyProfileFrom", (m.duplicateDeviceProperties(source.get()), QString()))
    ADD_FAILURE() << "unknown operation " << op.toStdString();
    return QString();
}

#undef OPERATION

TEST_P(ScenarioTest, RunsAsTranscribed)
{
    const Scenario s = read(GetParam());
    for (const QStringList &file : s.files) {
        const QString target = path(file.value(0));
        if (file.value(0).endsWith('/')) {
            QDir().mkpath(target);
            continue;
        }
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
