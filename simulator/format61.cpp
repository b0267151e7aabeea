#include "format61.h"

namespace VBoxSim {

QString Format61::versionString() const
{
    return QStringLiteral("6.1.50r161033");
}

QString Format61::dhcpServer(const DhcpServer &d) const
{
    const QString no = QStringLiteral("None");
    return row(QStringLiteral("NetworkName:"), d.networkName, 15) +
           row(QStringLiteral("Dhcpd IP:"), d.ipAddress, 15) +
           row(QStringLiteral("LowerIPAddress:"), d.lowerIp, 15) +
           row(QStringLiteral("UpperIPAddress:"), d.upperIp, 15) +
           row(QStringLiteral("NetworkMask:"), d.networkMask, 15) +
           row(QStringLiteral("Enabled:"), d.enabled ? QStringLiteral("Yes") : QStringLiteral("No"),
               15) +
           tr(QStringLiteral("Global Configuration:")) + '\n' +
           row(QStringLiteral("    minLeaseTime:"), QStringLiteral("default"), 21) +
           row(QStringLiteral("    defaultLeaseTime:"), QStringLiteral("default"), 21) +
           row(QStringLiteral("    maxLeaseTime:"), QStringLiteral("default"), 21) +
           row(QStringLiteral("    Forced options:"), no, 21) +
           row(QStringLiteral("    Suppressed opts.:"), no, 21) +
           QStringLiteral("        1/legacy: %1\n").arg(d.networkMask) +
           row(QStringLiteral("Groups:"), no, 21) +
           row(QStringLiteral("Individual Configs:"), no, 21);
}

QString Format61::dhcpServers(const HostState &host) const
{
    // A blank line between the blocks only.
    QStringList blocks;
    for (const DhcpServer &d : host.dhcpServers)
        blocks.append(dhcpServer(d));
    return blocks.join('\n');
}

QString Format61::diskItem(const QString &n, int unit, const ApplianceItem &item) const
{
    const QString what = item.overridden ? QStringLiteral("Hard disk image specified with --disk")
                                         : QStringLiteral("Hard disk image");
    return QStringLiteral("%1: %2: source image=%3, target path=%4, controller=%5;port=%6\n"
                          "    (change target path with \"--vsys 0 --unit %7 --disk path\";\n"
                          "    change controller with \"--vsys 0 --unit %7 --controller "
                          "<index>\";\n"
                          "    change controller port with \"--vsys 0 --unit %7 --port <n>\";\n"
                          "    disable with \"--vsys 0 --unit %7 --ignore\")\n")
        .arg(n, what, item.value, item.extra)
        .arg(item.controllerUnit)
        .arg(item.channel)
        .arg(unit);
}

} // namespace VBoxSim
