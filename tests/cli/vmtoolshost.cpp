// SPDX-License-Identifier: Apache-2.0
#include "vmtoolshost.h"

#include <algorithm>

#include "printers.h"
#include "standin.h"

#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QThread>

#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

Terminal::Terminal()
    : m_master(::posix_openpt(O_RDWR | O_NOCTTY))
{
    if (m_master >= 0 && (::grantpt(m_master) != 0 || ::unlockpt(m_master) != 0)) {
        ::close(m_master);
        m_master = -1;
    }
    if (m_master >= 0)
        ::fcntl(m_master, F_SETFL, O_NONBLOCK);
}

Terminal::~Terminal()
{
    if (m_master >= 0)
        ::close(m_master);
}

QString Terminal::path() const
{
    return QString::fromLocal8Bit(::ptsname(m_master));
}

QByteArray Terminal::readUntil(const QByteArray &text, int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    for (;;) {
        char buffer[512];
        ssize_t n = 0;
        while ((n = ::read(m_master, buffer, sizeof buffer)) > 0)
            m_shown.append(buffer, static_cast<int>(n));
        if (m_shown.contains(text) || deadline.hasExpired())
            return m_shown;
        QThread::msleep(20);
    }
}

void Terminal::type(const QByteArray &keys)
{
    [[maybe_unused]] const ssize_t written = ::write(m_master, keys.constData(), keys.size());
}

QJsonObject VmtoolsResult::json() const
{
    return QJsonDocument::fromJson(out.toUtf8()).object();
}

QStringList VmtoolsResult::errLines() const
{
    return err.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

VmtoolsHost::VmtoolsHost()
    : m_dir(QDir::tempPath() + QStringLiteral("/vmtools-cli-test-XXXXXX"))
{
    const QString bin = m_dir.path() + QStringLiteral("/bin");
    QDir().mkpath(bin);
    QDir().mkpath(m_dir.path() + QStringLiteral("/home"));
    QDir().mkpath(scratch());
    QFile::copy(QStringLiteral(VMTOOLS_EXECUTABLE), bin + QStringLiteral("/vmtools"));
    QFile::setPermissions(bin + QStringLiteral("/vmtools"),
                          QFile::permissions(QStringLiteral(VMTOOLS_EXECUTABLE)));
    QFile::link(QStringLiteral(VMTOOLS_PLUGIN_DIR), bin + QStringLiteral("/plugins"));
}

QString VmtoolsHost::scratch(const QString &name) const
{
    const QString folder = m_dir.path() + QStringLiteral("/scratch");
    return name.isEmpty() ? folder : folder + QLatin1Char('/') + name;
}

QString VmtoolsHost::scratchFile(const QString &name, const QByteArray &contents) const
{
    QFile file(scratch(name));
    file.open(QIODevice::WriteOnly);
    file.write(contents);
    return file.fileName();
}

QProcessEnvironment VmtoolsHost::environment() const
{
    // Read at each start: the stand-in changes PATH while it lives.
    QProcessEnvironment environment =
        m_base.isEmpty() ? QProcessEnvironment::systemEnvironment() : m_base;
    const QString home = m_dir.path() + QStringLiteral("/home");
    environment.insert(QStringLiteral("HOME"), home);
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/.config"));
    environment.insert(QStringLiteral("QM_HOME"), home + QStringLiteral("/qm"));
    // A read is asked again only where a test wants it: on a loaded machine a scripted run
    // can take seconds, and the tests count runs.
    environment.insert(QStringLiteral("VMTOOLS_READ_PATIENCE_MS"), QStringLiteral("600000"));
    environment.insert(m_variables);
    return environment;
}

std::unique_ptr<QProcess> VmtoolsHost::start(const QStringList &arguments,
                                             const QString &terminalPath) const
{
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(environment());
    if (!terminalPath.isEmpty()) {
        process->setStandardInputFile(terminalPath);
        process->setStandardErrorFile(terminalPath, QIODevice::Append);
    }
    process->start(m_dir.path() + QStringLiteral("/bin/vmtools"), arguments);
    process->waitForStarted();
    return process;
}

VmtoolsResult VmtoolsHost::run(const QStringList &arguments, int timeoutMs) const
{
    const auto process = start(arguments);
    VmtoolsResult result;
    if (!process->waitForFinished(timeoutMs)) {
        process->kill();
        process->waitForFinished();
        result.err = QStringLiteral("(vmtools did not finish in time)");
        return result;
    }
    result.exitCode = process->exitStatus() == QProcess::NormalExit ? process->exitCode() : -2;
    result.out = QString::fromUtf8(process->readAllStandardOutput());
    result.err += QString::fromUtf8(process->readAllStandardError());
    return result;
}

QString readSource(const QString &path)
{
    QFile file(QStringLiteral(VMTOOLS_SOURCE_DIR "/") + path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << file.fileName().toStdString();
    return QString::fromUtf8(file.readAll());
}

QString recorded(const QString &name)
{
    return readSource(QStringLiteral("tests/data/5.2/") + name);
}

QList<QStringList> dataRows(const QString &name, const QMap<QString, QString> &fill)
{
    QList<QStringList> rows;
    for (const QString &line : readSource(QStringLiteral("tests/data/cli/") + name).split('\n')) {
        if (line.trimmed().isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        QStringList columns;
        // " |" ends a column when a blank or the line's end follows: an empty one may be " | |".
        static const QRegularExpression separator(QStringLiteral(" \\|(?= |$)"));
        for (const QString &text : line.split(separator)) {
            QString column = text.trimmed();
            for (auto it = fill.begin(); it != fill.end(); ++it)
                column.replace(it.key(), it.value());
            columns.append(column.replace(QStringLiteral("\\n"), QStringLiteral("\n"))
                               .replace(QStringLiteral("\\t"), QStringLiteral("\t")));
        }
        rows.append(columns);
    }
    return rows;
}

void scriptEngineStart(StandIn &standIn)
{
    standIn.onExact({"list", "hostinfo"}, {Answer::ok(recorded("core-hostinfo.txt"))});
    // The first start of a host finds nothing remembered and makes vboxnet0; later starts
    // find it listed, up and routed, with its DHCP server.
    standIn.onExact({"list", "hostonlyifs"}, {Answer::ok(recorded("core-hostonlyifs.txt"))});
    standIn.onExact({"hostonlyif", "create"},
                    {Answer::ok("Interface 'vboxnet0' was successfully created\n")});
    standIn.onExact({"list", "dhcpservers"}, {Answer::ok(recorded("core-dhcpservers.txt"))});
    standIn.onPrefix({"hostonlyif", "ipconfig"}, {Answer::ok()});
    standIn.onPrefix({"dhcpserver"}, {Answer::ok()});
    standIn.onExact({"--version"}, {Answer::ok("5.2.44r139111\n")});
    standIn.onPrefix({"addr", "show", "dev", "vboxnet0"},
                     {Answer::ok("4: vboxnet0: <BROADCAST,MULTICAST,UP,LOWER_UP> state UP\n")},
                     QStringLiteral("ip"));
    standIn.onExact({"route"},
                    {Answer::ok("192.168.56.0/24 dev vboxnet0 proto kernel scope link\n")},
                    QStringLiteral("ip"));
}

namespace {

// The recorded description of "phone", as this device in this state.
QString showVmInfo(const DeviceScript &device, const QString &state)
{
    QString text = recorded(QStringLiteral("machine-showvminfo.txt"));
    return text.replace(QStringLiteral("running (since"), state + QStringLiteral(" (since"))
        .replace(QStringLiteral("5f0d3c2a-8b1e-4c6f-9a7d-2e4b6c8d0f12"), device.uuid)
        .replace(QStringLiteral("phone"), device.name);
}

} // namespace

void scriptDevice(StandIn &standIn, const DeviceScript &device)
{
    if (device.runningFromLookup >= 0) {
        QList<Answer> lookups;
        for (int i = 0; i < device.runningFromLookup; ++i)
            lookups.append(Answer::ok(showVmInfo(device, device.state)));
        lookups.append(Answer::ok(showVmInfo(device, QStringLiteral("running"))));
        standIn.onExact({"showvminfo", device.name}, lookups);
    }
    const QString properties = recorded(QStringLiteral("machine-guestproperty-enumerate.txt"));
    for (const QString &id : {device.name, device.uuid}) {
        standIn.onExact({"showvminfo", id}, {Answer::ok(showVmInfo(device, device.state))});
        standIn.onExact({"guestproperty", "enumerate", id}, {Answer::ok(properties)});
    }
    standIn.onExact({"snapshot", device.name, "list"},
                    {device.factoryBackup
                         ? Answer::ok(recorded(QStringLiteral("machine-snapshot-list.txt")))
                         : Answer::fail(1, "VBoxManage: error: This machine does not have any "
                                           "snapshots\n")});
}

QList<QStringList> callsWith(const StandIn &standIn, const QStringList &prefix)
{
    QList<QStringList> calls;
    for (const QStringList &args : standIn.calls()) {
        if (args.mid(0, prefix.size()) == prefix)
            calls.append(args);
    }
    return calls;
}

bool calledWithPrefix(const StandIn &standIn, const QStringList &prefix)
{
    return !callsWith(standIn, prefix).isEmpty();
}

void scriptUsualHost(StandIn &standIn)
{
    scriptEngineStart(standIn);
    scriptDevice(standIn, {});
    scriptDevice(standIn, {"tablet", "e1a5e766-27cc-4b13-8c81-b69a5aa5dac7", "running", true});
    standIn.onPattern(QStringLiteral(".*"), {Answer::ok()});
    standIn.onPattern(QStringLiteral(".*"), {Answer::ok()}, QStringLiteral("ip"));
}

void scriptNoMachine(StandIn &standIn, const QString &name)
{
    const QString missing =
        readSource(QStringLiteral("tests/data/7.2/error-showvminfo-missing.txt"));
    standIn.onPrefix(
        {"showvminfo", name},
        {Answer::fail(1, QString(missing).replace(QStringLiteral("'ghost'"), '\'' + name + '\''))});
}

namespace {

std::string jsonText(const QJsonValue &value)
{
    return QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact).toStdString();
}

void expectMembers(const QJsonObject &actual, const QJsonObject &expected)
{
    for (auto it = expected.begin(); it != expected.end(); ++it) {
        SCOPED_TRACE(it.key().toStdString());
        if (it.value().isObject())
            expectMembers(actual.value(it.key()).toObject(), it.value().toObject());
        else
            EXPECT_EQ(jsonText(actual.value(it.key())), jsonText(it.value()));
    }
}

} // namespace

void expectMembers(const QJsonObject &actual, const QString &expected)
{
    expectMembers(actual, QJsonDocument::fromJson(expected.toUtf8()).object());
}

QList<VmtoolsResult> expectRuns(const VmtoolsHost &host, const QList<Expect> &runs)
{
    QList<VmtoolsResult> results;
    for (const Expect &expected : runs) {
        SCOPED_TRACE(expected.arguments.join(' ').toStdString());
        results.append(host.run(expected.arguments));
        const VmtoolsResult &result = results.constLast();
        EXPECT_EQ(result.exitCode, expected.exitCode) << result.err.toStdString();
        const bool json = expected.arguments.contains(QStringLiteral("--json"));
        const QStringList messages = expected.error.split('\n', Qt::SkipEmptyParts);
        // A failure's line may go on with its cause; rows that name the cause check it too.
        for (const QString &message : messages) {
            const QStringList lines = result.errLines();
            EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [&](const QString &line) {
                return line == "vmtools: " + message ||
                       line.startsWith("vmtools: " + message + ' ') ||
                       line.startsWith("vmtools: " + message + ':');
            })) << result.err.toStdString();
        }
        if (json && !messages.isEmpty()) {
            EXPECT_TRUE(result.json().value("error").toString().startsWith(messages.first()))
                << result.json().value("error").toString().toStdString();
        }
        if (json && !expected.out.isNull()) {
            expectMembers(result.json(), expected.out);
        } else if (!expected.out.isNull()) {
            EXPECT_EQ(result.out, expected.out);
        }
    }
    return results;
}
