// SPDX-License-Identifier: Apache-2.0
#include "vboxmanagemachine.h"

#include "vboxinterfaceparser.h"

#include <vmtools/vboxlog.h>
#include <vmtools/vboxmanagecommon.h>

#include <QRegExp>

#include <unistd.h>

namespace {

const QString UnknownAddress = QStringLiteral("0.0.0.0");
// The guest publishes the address it leased on the host-only network here.
const QString IPProperty = QStringLiteral("tovalyn_ip_management");
constexpr int AdbPort = 5555;
constexpr int IPPolls = 20;
constexpr useconds_t IPPollPauseUs = 1000000;

struct AdapterStep
{
    const char *option;
    QString value;
    const char *failure;
};

} // namespace

bool VBoxManageMachine::resetIP()
{
    // Without a value VBoxManage deletes the property, so a stale address cannot be read back.
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath,
        {QStringLiteral("guestproperty"), QStringLiteral("set"), m_name, IPProperty},
        VBoxManageCommon::WaitForever);
    if (result.exitCode != 0)
        return false;
    m_ipAddress = UnknownAddress;
    return true;
}

QString VBoxManageMachine::waitForIP()
{
    if (m_ipAddress != UnknownAddress)
        return m_ipAddress;
    for (int poll = 0; poll < IPPolls; ++poll) {
        m_ipAddress = getIPAddress();
        if (m_ipAddress != UnknownAddress)
            break;
        usleep(IPPollPauseUs);
    }
    return m_ipAddress;
}

QString VBoxManageMachine::getIPAddress() const
{
    if (m_ipAddress != UnknownAddress)
        return m_ipAddress;
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath,
        {QStringLiteral("guestproperty"), QStringLiteral("get"), m_name, IPProperty},
        VBoxManageCommon::WaitForever);
    if (result.exitCode != 0)
        return UnknownAddress;
    QRegExp value(QStringLiteral("value:\\s+(\\d+\\.\\d+\\.\\d+\\.\\d+)"), Qt::CaseInsensitive);
    if (value.indexIn(result.output) < 0)
        return UnknownAddress;
    return value.cap(1);
}

QString VBoxManageMachine::getAdbSerial() const
{
    return getIPAddress() + QLatin1Char(':') + QString::number(AdbPort);
}

VBoxManageMachine::AdapterType VBoxManageMachine::getAdapterType(unsigned int adapter) const
{
    // Reflects the adapters as they were when this object was built.
    const auto nic = m_nics.constFind(static_cast<int>(adapter));
    if (nic == m_nics.constEnd())
        return NoAdapter;
    return nic->startsWith(QLatin1String("Host-only Interface")) ? HostOnlyAdapter : OtherAdapter;
}

bool VBoxManageMachine::setAdapterType(unsigned int adapter, AdapterType type,
                                       const QString &interfaceName)
{
    QList<AdapterStep> steps{
        {"--nic", getAdapterTypeString(type), "Failed to set adapter type on adapter %d"}};
    if (type == HostOnlyAdapter) {
        steps.append({"--hostonlyadapter", interfaceName,
                      "Failed to select the host only interface on adapter %d"});
        steps.append(
            {"--nictype", QStringLiteral("virtio"), "Failed to set hardware type on adapter %d"});
        steps.append({"--cableconnected", QStringLiteral("on"),
                      "Failed to connect the cable on adapter %d"});
    }
    const QString number = QString::number(adapter);
    for (const AdapterStep &step : steps) {
        const QStringList arguments{QStringLiteral("modifyvm"), m_name,
                                    QLatin1String(step.option) + number, step.value};
        if (VBoxManageCommon::call(m_vboxManagePath, arguments, VBoxManageCommon::WaitForever)
                .exitCode != 0) {
            VBoxLog::critical().noquote()
                << QString::asprintf(step.failure, static_cast<int>(adapter));
            return false;
        }
    }
    return true;
}

VBoxManageMachine::ConnectionInfo VBoxManageMachine::getConnectionInfo() const
{
    const QStringList arguments{QStringLiteral("showvminfo"), m_name};
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(m_vboxManagePath, arguments);
    if (result.exitCode != 0) {
        VBoxLog::warning() << "vboxmanage command failed" << arguments;
        return ConnectionInfo::createUnknownConnectionInfo();
    }
    ConnectionType type = UnknownConnection;
    QString interfaceName;
    if (!VBoxInterfaceParser::parseInterfaceStatus(result.output, &type, &interfaceName)) {
        VBoxLog::warning() << "error will parsing interface status";
        return ConnectionInfo::createUnknownConnectionInfo();
    }
    if (type == NatConnection)
        return ConnectionInfo::createNatConnectionInfo();
    return ConnectionInfo::createBridgedConnectionInfo(interfaceName);
}

bool VBoxManageMachine::setConnectionInfo(const ConnectionInfo &info)
{
    QStringList arguments{QStringLiteral("modifyvm"), m_name, QStringLiteral("--nic2")};
    if (info.type() != BridgedConnection) {
        arguments << QStringLiteral("nat");
        return VBoxManageCommon::call(m_vboxManagePath, arguments).exitCode == 0;
    }
    arguments << QStringLiteral("bridged");
    if (!info.name().isEmpty())
        arguments << QStringLiteral("--bridgeadapter2") << info.name();
    if (VBoxManageCommon::call(m_vboxManagePath, arguments).exitCode != 0)
        return false;
    if (!getConnectionInfo().name().isEmpty())
        return true;

    // Bridged to nothing: the guest would have no outward network, so take the first
    // interface the host can bridge.
    const QStringList interfaces = getBridgeableInterfaces();
    if (interfaces.isEmpty()) {
        VBoxLog::warning() << "no interface available for bridge";
        return false;
    }
    arguments = QStringList{QStringLiteral("modifyvm"),         m_name,
                            QStringLiteral("--nic2"),           QStringLiteral("bridged"),
                            QStringLiteral("--bridgeadapter2"), interfaces.first()};
    return VBoxManageCommon::call(m_vboxManagePath, arguments).exitCode == 0;
}

QStringList VBoxManageMachine::getBridgeableInterfaces() const
{
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath, {QStringLiteral("list"), QStringLiteral("bridgedifs")});
    if (result.exitCode != 0)
        return {};
    return VBoxInterfaceParser::parseBridgeableInterfaces(result.output);
}
