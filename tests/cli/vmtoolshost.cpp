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

void scriptEngineStart(StandIn &standIn)
{
    standIn.onExact({"list", "hostinfo"},
                    {Answer::ok("Host Information:\n\nProcessor online count: 4\n"
                                "Processor count: 4\nProcessor online core count: 2\n"
                                "Memory size: 15923 MByte\nMemory available: 9000 MByte\n")});
    // The first start of a host finds nothing remembered and makes vboxnet0; later starts
    // find it listed, up and routed, with its DHCP server.
    standIn.onExact({"list", "hostonlyifs"},
                    {Answer::ok("Name:            vboxnet0\nGUID:            786f\n"
                                "DHCP:            Disabled\nIPAddress:       192.168.56.1\n"
                                "NetworkMask:     255.255.255.0\nStatus:          Up\n\n")});
    standIn.onExact({"hostonlyif", "create"},
                    {Answer::ok("Interface 'vboxnet0' was successfully created\n")});
    standIn.onExact({"list", "dhcpservers"},
                    {Answer::ok("NetworkName:    HostInterfaceNetworking-vboxnet0\n"
                                "IP:             192.168.56.100\nNetworkMask:    255.255.255.0\n"
                                "lowerIPAddress: 192.168.56.101\n"
                                "upperIPAddress: 192.168.56.254\nEnabled:        Yes\n\n")});
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

QString showVmInfo(const DeviceScript &device, const QString &state)
{
    return QStringLiteral(
               "Name:            %1\nGroups:          /\nUUID:            %2\n"
               "Config file:     /vms/%1/%1.vbox\nMemory size:     2048MB\n"
               "Number of CPUs:  2\nState:           %3 (since 2024-06-03T09:14:07.512000000)\n"
               "IDEController (1, 0): /vms/%1/sdcard.vdi (UUID: "
               "3e9a7c5d-4f6b-4a8c-adbe-2f3a4b5c6d7e)\n"
               "NIC 1:           MAC: 0800271A2B3C, Attachment: Host-only Interface 'vboxnet0', "
               "Cable connected: on, Type: virtio\n"
               "NIC 2:           MAC: 0800274D5E6F, Attachment: NAT, Cable connected: on, Type: "
               "82540EM\nNIC 3:           disabled\n")
        .arg(device.name, device.uuid, state);
}

QString guestProperties()
{
    QString text;
    for (const char *property :
         {"android_version=8.0", "vbox_graph_mode=1080x1920-16", "vbox_dpi=420",
          "quillomate_full_screen=yes", "vkeyboard_mode=2", "hardware_opengl=1",
          "quillomate_device_id=358240051111110", "product_model=Pixel 2"})
        text += QStringLiteral("Name: %1, value: %2, timestamp: 1717406031000000000, flags: \n")
                    .arg(QString(property).section('=', 0, 0), QString(property).section('=', 1));
    return text;
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
    for (const QString &id : {device.name, device.uuid}) {
        standIn.onExact({"showvminfo", id}, {Answer::ok(showVmInfo(device, device.state))});
        standIn.onExact({"guestproperty", "enumerate", id}, {Answer::ok(guestProperties())});
    }
    standIn.onExact({"snapshot", device.name, "list"},
                    {device.factoryBackup
                         ? Answer::ok("   Name: factory-backup (UUID: "
                                      "9b2c4d6e-8f0a-4b1c-9d3e-5f7a9b1c3d5e) *\n")
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
    standIn.onPrefix({"showvminfo", name},
                     {Answer::fail(1, QStringLiteral("VBoxManage: error: Could not find a "
                                                     "registered machine named '%1'\n"
                                                     "VBoxManage: error: Details: code "
                                                     "VBOX_E_OBJECT_NOT_FOUND (0x80bb0001), "
                                                     "component VirtualBoxWrap, interface "
                                                     "IVirtualBox, callee nsISupports\n")
                                          .arg(name))});
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
