// SPDX-License-Identifier: Apache-2.0
#include "format.h"

namespace VBoxSim {

namespace {

QString guestOsName(const QString &osType)
{
    if (osType == QLatin1String("Linux26"))
        return QStringLiteral("Linux 2.6 / 3.x / 4.x (32-bit)");
    if (osType == QLatin1String("Linux26_64"))
        return QStringLiteral("Linux 2.6 / 3.x / 4.x (64-bit)");
    return osType;
}

} // namespace

QString Format::onOff(bool value) const
{
    return value ? QStringLiteral("on") : QStringLiteral("off");
}

QString Format::showVmInfo(HostState &host, const Machine &machine) const
{
    return layout(vmHeadLines(host, machine)) + vmStorage(host, machine) + vmNics(machine) +
           vmTail(machine);
}

QString Format::layout(const InfoLines &lines) const
{
    QString text;
    for (const InfoLine &line : lines)
        text += row(line.label, line.value, line.width > 0 ? line.width : labelWidth());
    return text;
}

void Format::insertAfter(InfoLines &lines, const QString &anchor, const InfoLine &line)
{
    for (int i = 0; i < lines.size(); ++i) {
        if (lines[i].label == anchor) {
            lines.insert(i + 1, line);
            return;
        }
    }
    lines.append(line);
}

InfoLines Format::vmHeadLines(const HostState &, const Machine &m) const
{
    const QString folder = m.folder();
    const QString state =
        tr(m.state) + ' ' + tr(QStringLiteral("(since %1)")).arg(sinceText(m.stateSinceMs));
    return {{"Name:", m.name},
            {"Groups:", "/"},
            {"Guest OS:", guestOsName(m.config.osType)},
            {"UUID:", m.uuid},
            {"Config file:", m.settingsFile},
            {"Snapshot folder:", folder + "/Snapshots"},
            {"Log folder:", folder + "/Logs"},
            {"Hardware UUID:", m.uuid},
            {"Memory size:", QString::number(m.config.memoryMB) + "MB"},
            {"Page Fusion:", onOff(false)},
            {"VRAM size:", "16MB"},
            {"CPU exec cap:", "100%"},
            {"HPET:", onOff(false)},
            {"Chipset:", "piix3"},
            {"Firmware:", "BIOS"},
            {"Number of CPUs:", QString::number(m.config.cpus)},
            {"PAE:", onOff(true)},
            {"Long Mode:", onOff(false)},
            {"Triple Fault Reset:", onOff(false)},
            {"APIC:", onOff(true)},
            {"X2APIC:", onOff(true)},
            {"CPUID Portability Level:", "0"},
            {"CPUID overrides:", "None"},
            {"Boot menu mode:", "message and menu"},
            {"Boot Device (1):", "HardDisk"},
            {"Boot Device (2):", "DVD"},
            {"Boot Device (3):", "Not Assigned"},
            {"Boot Device (4):", "Not Assigned"},
            {"ACPI:", onOff(true)},
            {"IOAPIC:", onOff(true)},
            {"BIOS APIC mode:", "APIC"},
            {"Time offset:", "0ms"},
            {"RTC:", "UTC"},
            {"Hardw. virt.ext:", onOff(true)},
            {"Nested Paging:", onOff(true)},
            {"Large Pages:", onOff(true)},
            {"VT-x VPID:", onOff(true)},
            {"VT-x unr. exec.:", onOff(true)},
            {"Paravirt. Provider:", "Default"},
            {"Effective Paravirt. Provider:", "KVM"},
            {"State:", state},
            // 5.2.36 and later print this one line 28 wide.
            {"Graphics Controller:", "VBoxVGA", 28},
            {"Monitor count:", "1"},
            {"3D Acceleration:", onOff(false)},
            {"2D Video Acceleration:", onOff(false)},
            {"Teleporter Enabled:", onOff(false)},
            {"Teleporter Port:", "0"},
            {"Teleporter Address:", ""},
            {"Teleporter Password:", ""},
            {"Tracing Enabled:", onOff(false)},
            {"Allow Tracing to Access VM:", onOff(false)},
            {"Tracing Configuration:", ""},
            {"Autostart Enabled:", onOff(false)},
            {"Autostart Delay:", "0"},
            {"Default Frontend:", ""}};
}

QString Format::vmStorage(HostState &host, const Machine &m) const
{
    QString t;
    for (int i = 0; i < m.config.controllers.size(); ++i) {
        const StorageController &c = m.config.controllers[i];
        t += QStringLiteral("Storage Controller Name (%1):            %2\n").arg(i).arg(c.name);
        t += QStringLiteral("Storage Controller Type (%1):            %2\n").arg(i).arg(c.type);
        t += QStringLiteral("Storage Controller Instance Number (%1): 0\n").arg(i);
        t += QStringLiteral("Storage Controller Max Port Count (%1):  %2\n")
                 .arg(i)
                 .arg(c.maxPortCount);
        t +=
            QStringLiteral("Storage Controller Port Count (%1):      %2\n").arg(i).arg(c.portCount);
        t += QStringLiteral("Storage Controller Bootable (%1):        %2\n")
                 .arg(i)
                 .arg(c.bootable ? "on" : "off");
    }
    for (const StorageController &c : m.config.controllers) {
        for (int port = 0; port < c.portCount; ++port) {
            for (int device = 0; device < 2; ++device) {
                const Attachment *a = c.attachmentAt(port, device);
                if (!a)
                    continue;
                const Medium *medium = host.findMedium(a->mediumUuid);
                const QString what =
                    medium ? QStringLiteral("%1 (UUID: %2)").arg(medium->location, medium->uuid)
                           : QStringLiteral("Empty");
                t +=
                    QStringLiteral("%1 (%2, %3): %4\n").arg(c.name).arg(port).arg(device).arg(what);
            }
        }
    }
    return t;
}

QString Format::attachment(const NetworkAdapter &nic) const
{
    if (nic.attachment == QLatin1String("nat"))
        return QStringLiteral("NAT");
    if (nic.attachment == QLatin1String("bridged"))
        return tr(QStringLiteral("Bridged Interface '%1'")).arg(nic.bridgedInterface);
    if (nic.attachment == QLatin1String("hostonly"))
        return tr(QStringLiteral("Host-only Interface '%1'")).arg(nic.hostOnlyInterface);
    if (nic.attachment == QLatin1String("intnet"))
        return tr(QStringLiteral("Internal Network '%1'")).arg(nic.internalNetwork);
    if (nic.attachment == QLatin1String("natnetwork"))
        return tr(QStringLiteral("NAT Network '%1'")).arg(nic.natNetwork);
    if (nic.attachment == QLatin1String("generic"))
        return tr(QStringLiteral("Generic '%1'")).arg(QString());
    return tr(QStringLiteral("none"));
}

QString Format::vmNics(const Machine &m) const
{
    QString t;
    for (int i = 0; i < 8; ++i) {
        const QString label = QStringLiteral("NIC %1:").arg(i + 1);
        if (i >= m.config.nics.size() || !m.config.nics[i].enabled) {
            t += field(label, "disabled");
            continue;
        }
        const NetworkAdapter &n = m.config.nics[i];
        t += field(label, QStringLiteral("MAC: %1, Attachment: %2, Cable connected: %3, Trace: off "
                                         "(file: none), Type: %4, Reported speed: 0 Mbps, Boot "
                                         "priority: 0, Promisc Policy: deny, Bandwidth group: none")
                              .arg(n.mac, attachment(n),
                                   n.cableConnected ? QStringLiteral("on") : QStringLiteral("off"),
                                   n.type));
        if (n.attachment == QLatin1String("nat"))
            t += natSettings(i + 1);
    }
    return t;
}

QString Format::natSettings(int slot) const
{
    return QStringLiteral("NIC %1 Settings:  MTU: 0, Socket (send: 64, receive: 64), TCP Window "
                          "(send:64, receive: 64)\n")
        .arg(slot);
}

// Input devices and ports, printed alike by every version.
QString Format::legacyDevices() const
{
    QString t;
    t += field("Pointing Device:", "USB Tablet");
    t += field("Keyboard Device:", "PS/2 Keyboard");
    t += field("UART 1:", "disabled");
    t += field("UART 2:", "disabled");
    t += field("UART 3:", "disabled");
    t += field("UART 4:", "disabled");
    t += field("LPT 1:", "disabled");
    t += field("LPT 2:", "disabled");
    return t;
}

QString Format::vmTail(const Machine &m) const
{
    QString t;
    t += legacyDevices();
    t += field("Audio:", "enabled (Driver: PulseAudio, Controller: AC97, Codec: STAC9700)");
    t += field("Clipboard Mode:", "disabled");
    t += field("Drag and drop Mode:", "disabled");
    t += field("VRDE:", "disabled");
    t += field("USB:", "enabled");
    t += field("EHCI:", "disabled");
    t += field("XHCI:", "disabled");
    t += QStringLiteral("\nUSB Device Filters:\n\n<none>\n\n");
    t += QStringLiteral("Bandwidth groups:  <none>\n\n");
    t += QStringLiteral("Shared folders:  <none>\n\n");
    t += QStringLiteral("Video capturing:    not active\n");
    t += QStringLiteral("\nGuest:\n\n");
    t += QStringLiteral("Configured memory balloon size:      0 MB\n");
    if (!m.snapshots.empty())
        t += QStringLiteral("\nSnapshots:\n\n") + snapshotTree(m.snapshots, m.currentSnapshot, {}) +
             '\n';
    return t;
}

QString Format::guestProperties(const QList<GuestProperty> &properties) const
{
    if (properties.isEmpty())
        return QStringLiteral("No properties found.\n");
    QString text;
    for (const GuestProperty &p : properties)
        text += QStringLiteral("Name: %1, value: %2, timestamp: %3, flags: %4\n")
                    .arg(p.name, p.value, QString::number(p.timestampNs), p.flags);
    return text;
}

QString Format::snapshotList(const Machine &machine) const
{
    return snapshotTree(machine.snapshots, machine.currentSnapshot, {});
}

QString Format::snapshotTree(const std::vector<Snapshot> &list, const QString &current,
                             const QString &prefix) const
{
    QString text;
    for (const Snapshot &s : list) {
        text += QStringLiteral("   ") + prefix + tr(QStringLiteral("Name:")) +
                QStringLiteral(" %1 (UUID: %2)%3\n")
                    .arg(s.name, s.uuid, s.uuid == current ? QStringLiteral(" *") : QString());
        if (!s.description.isEmpty())
            text += snapshotDescription(prefix, s.description);
        text += snapshotTree(s.children, current, prefix + QStringLiteral("   "));
    }
    return text;
}

QString Format::snapshotDescription(const QString &prefix, const QString &text) const
{
    return QStringLiteral("   ") + prefix + tr(QStringLiteral("Description:")) + '\n' + text + '\n';
}

} // namespace VBoxSim
