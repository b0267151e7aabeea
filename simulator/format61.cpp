// SPDX-License-Identifier: Apache-2.0
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
    // A disk placed with --disk keeps only the hints for its controller and port.
    const QString hints =
        QStringLiteral("change controller with \"--vsys 0 --unit %1 --controller <index>\";\n"
                       "    change controller port with \"--vsys 0 --unit %1 --port <n>\"")
            .arg(unit);
    if (item.overridden)
        return QStringLiteral("%1: Hard disk image specified with --disk: source image=%2, target "
                              "path=%3, controller=%4;port=%5\n    (%6)\n")
            .arg(n, item.value, item.extra)
            .arg(item.controllerUnit)
            .arg(item.channel)
            .arg(hints);
    return QStringLiteral("%1: Hard disk image: source image=%2, target path=%3, "
                          "controller=%4;port=%5\n"
                          "    (change target path with \"--vsys 0 --unit %6 --disk path\";\n"
                          "    %7;\n"
                          "    disable with \"--vsys 0 --unit %6 --ignore\")\n")
        .arg(n, item.value, diskTarget(item.extra))
        .arg(item.controllerUnit)
        .arg(item.channel)
        .arg(unit)
        .arg(hints);
}

} // namespace VBoxSim
