// SPDX-License-Identifier: Apache-2.0
#include "vboxmanagecore.h"

#include "hostlock.h"

#include "interfacestatus.h"
#include "vboxoutputparser.h"

#include <vmtools/settings.h>
#include <vmtools/vboxlog.h>
#include <vmtools/vboxmanagecommon.h>

#include <QRegExp>

namespace {

const QString HostOnlyInterfaceKey = QStringLiteral("host.only.interface");

// The listings print one record per interface or server; minimal matching keeps each
// ".*" from running past the next field, so one match is one record.
QRegExp recordPattern(const QString &pattern)
{
    QRegExp rx(pattern, Qt::CaseSensitive, QRegExp::RegExp);
    rx.setMinimal(true);
    return rx;
}

bool isAddressInRange(const QHostAddress &address, const QHostAddress &lower,
                      const QHostAddress &upper)
{
    const quint32 value = address.toIPv4Address();
    return lower.toIPv4Address() <= value && value <= upper.toIPv4Address();
}

// A network mask is a run of one-bits from the top; zero (or unreadable) is let through.
bool isContiguousMask(const QString &mask)
{
    const quint32 bits = QHostAddress(mask).toIPv4Address();
    return bits == 0 || ((0u - bits) & ~bits) == 0;
}

} // namespace

QList<VBoxManageCore::DhcpServerInfo> VBoxManageCore::getAvailableDhcpServerList()
{
    QList<DhcpServerInfo> servers;
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath, {QStringLiteral("list"), QStringLiteral("dhcpservers")});
    if (result.exitCode != 0)
        return servers;

    for (const VBoxOutputParser::DhcpServerRecord &record :
         VBoxOutputParser::parseDhcpServers(result.output)) {
        if (!record.enabled) {
            VBoxLog::debug() << "[getAvailableDhcpServerList]" << record.networkName
                             << "DHCP server is not enabled";
            continue;
        }
        servers.append({record.networkName, QHostAddress(record.ipAddress),
                        QHostAddress(record.networkMask), QHostAddress(record.lowerIpAddress),
                        QHostAddress(record.upperIpAddress)});
    }
    return servers;
}

bool VBoxManageCore::checkIfInterfaceHasValidDhcp(const InterfaceInfo &iface,
                                                  const DhcpServerInfo &server)
{
    if (!server.networkName.endsWith(iface.name))
        return false;
    VBoxLog::debug() << "[checkIfInterfaceHasValidDhcp]" << server.networkName
                     << "DHCP server is associated with" << iface.name << "interface";

    // The server's mask decides the subnet; the interface's own mask is not consulted.
    const QPair<QHostAddress, int> subnet = QHostAddress::parseSubnet(
        QStringLiteral("%1/%2").arg(iface.ipAddress.toString(), server.networkMask.toString()));
    const bool compatible =
        iface.ipAddress != subnet.first && server.ipAddress.isInSubnet(subnet) &&
        server.lowerIpAddress.isInSubnet(subnet) && server.upperIpAddress.isInSubnet(subnet) &&
        server.upperIpAddress.toIPv4Address() > server.lowerIpAddress.toIPv4Address() &&
        !isAddressInRange(server.ipAddress, server.lowerIpAddress, server.upperIpAddress) &&
        !isAddressInRange(iface.ipAddress, server.lowerIpAddress, server.upperIpAddress);
    VBoxLog::debug() << "[checkIfInterfaceHasValidDhcp]" << iface.name
                     << (compatible ? "interface is compatible" : "interface is not compatible");
    return compatible;
}

bool VBoxManageCore::findHostOnlyInterface()
{
    VBoxLog::debug() << "[findHostOnlyInterface]"
                     << "Looking for compatible host-only interface";
    const InterfaceInfo iface = getSavedHostOnlyInterface();
    if (iface.name.isEmpty()) {
        VBoxLog::debug() << "Empty interface name";
        return false;
    }
    const QList<DhcpServerInfo> servers = getAvailableDhcpServerList();
    if (servers.isEmpty()) {
        VBoxLog::debug() << "No Dhcp server available";
        return false;
    }
    for (const DhcpServerInfo &server : servers) {
        if (checkIfInterfaceHasValidDhcp(iface, server))
            return true;
    }
    VBoxLog::debug() << "[findHostOnlyInterface]"
                     << "No compatible host-only interface found";
    return false;
}

VBoxManageCore::InterfaceInfo VBoxManageCore::getSavedHostOnlyInterface()
{
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath, {QStringLiteral("list"), QStringLiteral("hostonlyifs")});
    if (result.exitCode != 0)
        return {};

    for (const VBoxOutputParser::HostOnlyRecord &record :
         VBoxOutputParser::parseHostOnlyInterfaces(result.output)) {
        const QString &name = record.name;
        const QHostAddress address(record.ipAddress);
        const QString &mask = record.networkMask;

        VBoxLog::warning() << "[getSavedHostOnlyInterface]"
                           << "Checking" << name << "interface status"
                           << "(" << address << ")";
        if (name != m_adapterName)
            continue;
        switch (getInterfaceStatus(name, address.toString())) {
        case 1:
            VBoxLog::debug() << "[getSavedHostOnlyInterface]" << name
                             << "Interface seems compatible";
            return {name, address, QHostAddress(mask)};
        case 2:
            VBoxLog::warning() << "[getSavedHostOnlyInterface]"
                               << "Interface has no route";
            break;
        case 0:
            VBoxLog::warning() << "[getSavedHostOnlyInterface]" << name << "Interface is down";
            break;
        default:
            VBoxLog::warning() << "[getSavedHostOnlyInterface]" << name
                               << "Unable to retrieve status";
            break;
        }
    }
    return {};
}

LoadStateInfo VBoxManageCore::createHostOnlyInterface()
{
    LoadStateInfo state;
    if (!m_adapterName.isEmpty()) {
        VBoxLog::debug() << "[createHostOnlyInterface]"
                         << "Must delete the old one" << m_adapterName;
        const QString oldName = m_adapterName;
        if (!deleteHostOnlyInterface()) {
            // Not fatal: the new interface is still worth making.
            VBoxLog::warning() << "[createHostOnlyInterface] Failed to delete" << oldName;
            state = {3, oldName};
        }
    }

    VBoxLog::debug() << "[createHostOnlyInterface]"
                     << "Creating new host-only interface";
    const VBoxManageCommon::CallResult created = VBoxManageCommon::call(
        m_vboxManagePath, {QStringLiteral("hostonlyif"), QStringLiteral("create")},
        VBoxManageCommon::WaitForever);
    if (created.exitCode != 0) {
        VBoxLog::critical() << "[createHostOnlyInterface]"
                            << "Failed to create interface";
        return {2, QString()};
    }
    QString name;
    if (!VBoxOutputParser::parseCreatedInterfaceName(created.output, &name)) {
        VBoxLog::critical() << "[createHostOnlyInterface]"
                            << "Failed to retrieve interface name";
        return {2, QString()};
    }
    m_adapterName = name;
    VBoxLog::debug() << "[createHostOnlyInterface]"
                     << "Interface" << m_adapterName << "created with success";

    if (!configureHostOnlyInterface(m_adapterName)) {
        const QString newName = m_adapterName;
        deleteHostOnlyInterface();
        return {4, newName};
    }
    return state;
}

bool VBoxManageCore::configureHostOnlyInterface(const QString &name)
{
    const VBoxManageCommon::CallResult listing = VBoxManageCommon::call(
        m_vboxManagePath, {QStringLiteral("list"), QStringLiteral("hostonlyifs")});
    // The name goes into the pattern as it stands, as VirtualBox printed it.
    QRegExp rx =
        recordPattern(QStringLiteral("\\bName:\\s+%1\\r?\\n.*").arg(name) +
                      QStringLiteral("\\bIPAddress:\\s+(\\d+\\.\\d+\\.\\d+)\\.\\d+\\r?\\n.*"
                                     "\\bNetworkMask:\\s+(\\d+\\.\\d+\\.\\d+\\.\\d+)\\r?\\n.*"));
    if (listing.exitCode != 0 || rx.indexIn(listing.output) == -1) {
        VBoxLog::critical() << "[createHostOnlyInterface]"
                            << "Unable to retrieve interface";
        VBoxLog::critical() << "[createHostOnlyInterface]"
                            << "Output:" << listing.output;
        return false;
    }
    const QString subnet = rx.cap(1).trimmed();
    const QString mask = rx.cap(2).trimmed();
    if (subnet.isEmpty() || subnet == QLatin1String("0.0.0") || !isContiguousMask(mask)) {
        VBoxLog::critical() << "[createHostOnlyInterface]" << name << "configuration is not valid."
                            << "Subnet:" << subnet << ". Mask:" << mask;
        return false;
    }

    const VBoxManageCommon::CallResult ipconfig = VBoxManageCommon::call(
        m_vboxManagePath,
        {QStringLiteral("hostonlyif"), QStringLiteral("ipconfig"), name, QStringLiteral("--ip"),
         subnet + QStringLiteral(".1"), QStringLiteral("--netmask"), mask});
    if (ipconfig.exitCode != 0) {
        VBoxLog::critical() << "[createHostOnlyInterface]"
                            << "Failed to configure interface ip/mask";
        return false;
    }
    if (!addDhcpServer(name, subnet, mask)) {
        VBoxLog::critical() << "[createHostOnlyInterface]"
                            << "Failed to create DHCP server for interface";
        return false;
    }

    VBoxLog::debug() << "[createHostOnlyInterface]"
                     << "DHCP server created with success";
    VBoxLog::debug() << "set" << name << "to"
                     << "host.only.interface";
    Settings::set(HostOnlyInterfaceKey, name);
    VBoxLog::debug() << "[createHostOnlyInterface]" << name
                     << "host-only interface is ready to use";
    return true;
}

bool VBoxManageCore::addDhcpServer(const QString &name, const QString &subnet, const QString &mask)
{
    // A server left over from an earlier interface of the same name would clash.
    VBoxManageCommon::call(
        m_vboxManagePath,
        {QStringLiteral("dhcpserver"), QStringLiteral("remove"), QStringLiteral("--ifname"), name},
        VBoxManageCommon::WaitForever);
    const VBoxManageCommon::CallResult added = VBoxManageCommon::call(
        m_vboxManagePath,
        {QStringLiteral("dhcpserver"), QStringLiteral("add"), QStringLiteral("--ifname"), name,
         QStringLiteral("--ip"), subnet + QStringLiteral(".100"), QStringLiteral("--netmask"), mask,
         QStringLiteral("--lowerip"), subnet + QStringLiteral(".101"), QStringLiteral("--upperip"),
         subnet + QStringLiteral(".254"), QStringLiteral("--enable")},
        VBoxManageCommon::WaitForever);
    return added.exitCode == 0;
}

bool VBoxManageCore::deleteHostOnlyInterface(const QString &name)
{
    VBoxLog::debug() << "[deleteHostOnlyInterface]"
                     << "Deleting" << name << "host-only interface";
    for (int attempt = 0; attempt < 3; ++attempt) {
        const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
            m_vboxManagePath, {QStringLiteral("hostonlyif"), QStringLiteral("remove"), name});
        if (result.exitCode == 0)
            return true;
        // An interface that is already gone is as good as removed.
        if (result.error.contains(QLatin1String("could not be found"))) {
            // Names the engine's current interface, not the one removed: hosts match
            // this line as it has always read.
            VBoxLog::debug() << "[deleteHostOnlyInterface]" << m_adapterName
                             << "could not be found";
            return true;
        }
    }
    return false;
}

bool VBoxManageCore::deleteHostOnlyInterface()
{
    const bool removed = deleteHostOnlyInterface(m_adapterName);
    m_adapterName = QStringLiteral("");
    VBoxLog::debug() << "erase"
                     << "host.only.interface";
    Settings::set(HostOnlyInterfaceKey, m_adapterName);
    return removed;
}

void VBoxManageCore::checkAndCreateVboxInterface()
{
    HostLock networkLock(QStringLiteral("host-only-interface"));
    networkLock.acquire("[checkAndCreateVboxInterface]");
    if (findHostOnlyInterface())
        return;
    VBoxLog::debug() << "[checkAndCreateVboxInterface] network interface is recreated";
    createHostOnlyInterface();
}

bool VBoxManageCore::isCompatible(const QString &machine) const
{
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath, {QStringLiteral("guestproperty"), QStringLiteral("enumerate"), machine},
        VBoxManageCommon::WaitForever);
    return result.exitCode == 0 &&
           VBoxOutputParser::containsProperty(result.output, QStringLiteral("vbox_graph_mode"));
}
