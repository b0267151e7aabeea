#include "format.h"

#include <QDateTime>
#include <QFileInfo>
#include <QMap>
#include <algorithm>

namespace VBoxSim {

QString Format71::versionString() const
{
    return QStringLiteral("7.1.6r167084");
}

QString Format71::logo() const
{
    return QStringLiteral("Oracle VirtualBox Command Line Management Interface Version 7.1.6\n"
                          "Copyright (C) 2005-2025 Oracle and/or its affiliates\n\n");
}

QString Format71::hostInfo(const HostState &host) const
{
    QString text = Format61::hostInfo(host);
    const QString anchor = QStringLiteral("Processor supports nested HW virtualization: no\n");
    text.replace(anchor, anchor + QStringLiteral("Processor supports virt. vmsave/vmload: no\n"));
    return text;
}

QString Format71::systemProperties(const HostState &host) const
{
    return QStringLiteral("API version:                     7_1\n"
                          "Minimum guest RAM size:          4 Megabytes\n"
                          "Maximum guest RAM size:          2097152 Megabytes\n"
                          "Minimum video RAM size:          0 Megabytes\n"
                          "Maximum video RAM size:          256 Megabytes\n"
                          "Maximum guest monitor count:     64\n"
                          "Minimum guest CPU count:         1\n"
                          "Maximum guest CPU count:         64\n"
                          "Virtual disk limit (info):       2199022206976 Bytes\n"
                          "Maximum Serial Port count:       4\n"
                          "Maximum Parallel Port count:     2\n"
                          "Maximum Boot Position:           4\n"
                          "Default machine folder:          %1\n"
                          "Raw-mode Supported:              no\n"
                          "Exclusive HW virtualization use: on\n"
                          "Default hard disk format:        VDI\n"
                          "VRDE auth library:               VBoxAuth\n"
                          "Webservice auth. library:        VBoxAuth\n"
                          "Remote desktop ExtPack:          \n"
                          "VM encryption ExtPack:           \n"
                          "Log history count:               3\n"
                          "Default frontend:                \n"
                          "Default audio driver:            PulseAudio\n"
                          "Autostart database path:         \n"
                          "Default Guest Additions ISO:     "
                          "/usr/share/virtualbox/VBoxGuestAdditions.iso\n"
                          "Logging Level:                   all\n"
                          "Proxy Mode:                      System\n"
                          "Proxy URL:                       \n"
                          "User language:                   C\n"
                          "Host platform properties:\n"
                          "Supports HW virtualization:      yes\n"
                          "\n"
                          "Supported platform architectures: x86\n"
                          "\n"
                          "x86 platform properties:\n"
                          "Maximum PIIX3 Network Adapter count:   8\n"
                          "Maximum ICH9 Network Adapter count:   36\n"
                          "Maximum PIIX3 IDE Controllers:   1\n"
                          "Maximum ICH9 IDE Controllers:    1\n"
                          "Maximum IDE Port count:          2\n"
                          "Maximum Devices per IDE Port:    2\n")
        .arg(host.machineFolder);
}

QString Format71::guestProperties(const QList<GuestProperty> &properties) const
{
    if (properties.isEmpty())
        return QStringLiteral("No properties found.\n");
    QList<GuestProperty> sorted = properties;
    std::sort(sorted.begin(), sorted.end(),
              [](const GuestProperty &a, const GuestProperty &b) { return a.name < b.name; });
    int nameWidth = 0, valueWidth = 0;
    for (const GuestProperty &p : sorted) {
        nameWidth = std::max(nameWidth, int(p.name.size()));
        valueWidth = std::max(valueWidth, int(p.value.size()));
    }
    nameWidth = std::min(nameWidth, 48);
    valueWidth = std::min(valueWidth, 28);
    QString text;
    for (const GuestProperty &p : sorted) {
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

QString Format71::progressFailure(const QString &hresult) const
{
    return QStringLiteral("0%...%1\n").arg(hresult);
}

QString Format71::vmHead(const HostState &host, const Machine &m) const
{
    // 7.1 prints the 6.1 lines in another order, plus a few of its own.
    QMap<QString, QString> lines;
    for (const QString &line : Format61::vmHead(host, m).split('\n', Qt::SkipEmptyParts))
        lines.insert(line.left(line.indexOf(':') + 1), line + '\n');
    lines.insert("Encryption:", field("Encryption:", "disabled"));
    lines.insert("Platform Architecture:", field("Platform Architecture:", "x86"));
    lines.insert("AMD-V Virt. Vmsave/Vmload:", field("AMD-V Virt. Vmsave/Vmload:", onOff(true)));
    lines.insert("BIOS NVRAM File:",
                 field("BIOS NVRAM File:",
                       m.folder() + '/' + QFileInfo(m.settingsFile).completeBaseName() + ".nvram"));
    lines.insert("IOMMU:", field("IOMMU:", "None"));
    static const QStringList order = {"Name:",
                                      "Encryption:",
                                      "Groups:",
                                      "Platform Architecture:",
                                      "Guest OS:",
                                      "UUID:",
                                      "Config file:",
                                      "Snapshot folder:",
                                      "Log folder:",
                                      "Hardware UUID:",
                                      "Memory size:",
                                      "Page Fusion:",
                                      "VRAM size:",
                                      "CPU exec cap:",
                                      "CPUProfile:",
                                      "Chipset:",
                                      "Firmware:",
                                      "Number of CPUs:",
                                      "HPET:",
                                      "PAE:",
                                      "Long Mode:",
                                      "Triple Fault Reset:",
                                      "APIC:",
                                      "X2APIC:",
                                      "Nested VT-x/AMD-V:",
                                      "CPUID overrides:",
                                      "Hardware Virtualization:",
                                      "Nested Paging:",
                                      "Large Pages:",
                                      "VT-x VPID:",
                                      "VT-x Unrestricted Exec.:",
                                      "AMD-V Virt. Vmsave/Vmload:",
                                      "CPUID Portability Level:",
                                      "Boot menu mode:",
                                      "Boot Device 1:",
                                      "Boot Device 2:",
                                      "Boot Device 3:",
                                      "Boot Device 4:",
                                      "ACPI:",
                                      "IOAPIC:",
                                      "BIOS APIC mode:",
                                      "Time offset:",
                                      "BIOS NVRAM File:",
                                      "RTC:",
                                      "IOMMU:",
                                      "Paravirt. Provider:",
                                      "Effective Paravirt. Prov.:",
                                      "State:",
                                      "Graphics Controller:",
                                      "Monitor count:",
                                      "3D Acceleration:",
                                      "2D Video Acceleration:",
                                      "Teleporter Enabled:",
                                      "Teleporter Port:",
                                      "Teleporter Address:",
                                      "Teleporter Password:",
                                      "Tracing Enabled:",
                                      "Allow Tracing to Access VM:",
                                      "Tracing Configuration:",
                                      "Autostart Enabled:",
                                      "Autostart Delay:",
                                      "Default Frontend:",
                                      "VM process priority:"};
    QString out;
    for (const QString &label : order)
        out += lines.value(label);
    return out;
}

QString Format71::vmStorage(HostState &host, const Machine &m) const
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
                const Medium *medium = host.findMedium(a->mediumUuid);
                if (!medium) {
                    t += QStringLiteral("  Port %1, Unit %2: Empty\n").arg(port).arg(device);
                    continue;
                }
                t += QStringLiteral("  Port %1, Unit %2: UUID: %3\n    Location: \"%4\"\n")
                         .arg(port)
                         .arg(device)
                         .arg(medium->uuid, medium->location);
            }
        }
    }
    return t;
}

QString Format71::vmTail(const Machine &m) const
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

QString Format71::snapshotDescription(const QString &prefix, const QString &text) const
{
    if (text.contains('\n'))
        return Format61::snapshotDescription(prefix, text);
    return QStringLiteral("   %1Description: %2\n").arg(prefix, text);
}

} // namespace VBoxSim
