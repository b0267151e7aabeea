// SPDX-License-Identifier: Apache-2.0
#include "format70.h"

#include <QDateTime>
#include <QFileInfo>
#include <algorithm>

namespace VBoxSim {

QString Format70::versionString() const
{
    return QStringLiteral("7.0.10r158379");
}

QString Format70::logo() const
{
    return QStringLiteral("Oracle VM VirtualBox Command Line Management Interface Version %1\n"
                          "Copyright (C) 2005-%2 Oracle and/or its affiliates\n\n")
        .arg(versionNumber())
        .arg(copyrightYear());
}

QString Format70::guestProperties(const QList<GuestProperty> &properties) const
{
    if (properties.isEmpty())
        return QStringLiteral("No properties found.\n");
    int nameWidth = 0, valueWidth = 0;
    for (const GuestProperty &p : properties) {
        nameWidth = std::max(nameWidth, int(p.name.size()));
        valueWidth = std::max(valueWidth, int(p.value.size()));
    }
    nameWidth = std::min(nameWidth, 48);
    valueWidth = std::min(valueWidth, 28);
    QString text;
    for (const GuestProperty &p : properties) {
        QString line = QStringLiteral("%1 = '%2'").arg(p.name.leftJustified(nameWidth), p.value);
        const int pad = std::max(1, nameWidth + valueWidth + 6 - int(line.size()));
        const QString time = QDateTime::fromMSecsSinceEpoch(p.timestampNs / 1000000, Qt::UTC)
                                 .toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzzZ"));
        line += QString(pad, ' ') + QStringLiteral("@ ") + time;
        if (!p.flags.isEmpty())
            line += ' ' + p.flags;
        text += line + '\n';
    }
    return text;
}

QString Format70::progressFailure(const QString &hresult) const
{
    return QStringLiteral("0%...%1\n").arg(hresult);
}

InfoLines Format70::vmHeadLines(const HostState &host, const Machine &m) const
{
    InfoLines lines = Format61::vmHeadLines(host, m);
    const QString nvram =
        m.folder() + '/' + QFileInfo(m.settingsFile).completeBaseName() + ".nvram";
    insertAfter(lines, QStringLiteral("Name:"), {"Encryption:", "disabled", encryptionWidth()});
    insertAfter(lines, QStringLiteral("Time offset:"), {"BIOS NVRAM File:", nvram});
    insertAfter(lines, QStringLiteral("VT-x Unrestricted Exec.:"),
                {"AMD-V Virt. Vmsave/Vmload:", onOff(true)});
    insertAfter(lines, QStringLiteral("AMD-V Virt. Vmsave/Vmload:"), {"IOMMU:", "None"});
    return lines;
}

QString Format70::vmStorage(HostState &host, const Machine &m) const
{
    if (m.config.controllers.isEmpty())
        return field(QStringLiteral("Storage Controllers:"), QStringLiteral("<none>"));
    QString t = QStringLiteral("Storage Controllers:\n");
    for (int i = 0; i < m.config.controllers.size(); ++i) {
        const StorageController &c = m.config.controllers[i];
        t += QStringLiteral("#%1: '%2', Type: %3, Instance: 0, Ports: %4 (max %5), %6\n")
                 .arg(i)
                 .arg(c.name, c.type)
                 .arg(c.portCount)
                 .arg(c.maxPortCount)
                 .arg(c.bootable ? QStringLiteral("Bootable") : QStringLiteral("Not bootable"));
        for (int port = 0; port < c.portCount; ++port) {
            for (int device = 0; device < 2; ++device) {
                const Attachment *a = c.attachmentAt(port, device);
                if (!a)
                    continue;
                const QString slot = QStringLiteral("  ") +
                                     tr(QStringLiteral("Port %1, Unit %2:")).arg(port).arg(device);
                const Medium *medium = host.findMedium(a->mediumUuid);
                if (!medium) {
                    t += slot + ' ' + tr(QStringLiteral("Empty")) + '\n';
                    continue;
                }
                t += slot + QStringLiteral(" UUID: %1\n    ").arg(medium->uuid) +
                     tr(QStringLiteral("Location:")) +
                     QStringLiteral(" \"%1\"\n").arg(medium->location);
            }
        }
    }
    return t;
}

QString Format70::vmTail(const Machine &m) const
{
    QString t = vmDevices(QStringLiteral("Default"));
    t += field("USB Device Filters:", "<none>");
    t += field("Bandwidth groups:", "<none>");
    t += field("Shared folders:", "<none>");
    t += field("Recording enabled:", "no");
    if (!m.snapshots.empty())
        t += QStringLiteral("* Snapshots:\n") + snapshotTree(m.snapshots, m.currentSnapshot, {});
    t += QStringLiteral("* Guest:\n");
    t += field("Configured memory balloon:", "0MB");
    return t;
}

QString Format70::snapshotDescription(const QString &prefix, const QString &text) const
{
    if (text.contains('\n'))
        return Format61::snapshotDescription(prefix, text);
    return QStringLiteral("   ") + prefix + tr(QStringLiteral("Description:")) + ' ' + text + '\n';
}

} // namespace VBoxSim
