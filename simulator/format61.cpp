#include "format.h"

namespace VBoxSim {

QString Format61::versionString() const
{
    return QStringLiteral("6.1.50r161033");
}

QString Format61::hostInfo(const HostState &host) const
{
    QString text = Format::hostInfo(host);
    const QString anchor = QStringLiteral("Processor supports nested paging: yes\n");
    text.replace(anchor, anchor + QStringLiteral("Processor supports unrestricted guest: yes\n"
                                                 "Processor supports nested HW virtualization: "
                                                 "no\n"));
    return text;
}

QString Format61::systemProperties(const HostState &host) const
{
    QString text = Format::systemProperties(host);
    text.replace(QStringLiteral("API version:                     5_2"),
                 QStringLiteral("API version:                     6_1"));
    const QString floppy = QStringLiteral("Maximum PIIX3 Floppy Controllers:1\n");
    text.replace(floppy, QStringLiteral("Maximum virtio-scsi PIIX3 Controllers:  1\n"
                                        "Maximum virtio-scsi ICH9 Controllers:   8\n"
                                        "Maximum virtio-scsi Port count:         256\n"
                                        "Maximum Devices per virtio-scsi Port:   1\n") +
                             floppy);
    text += QStringLiteral("Proxy Mode:                      System\n"
                           "Proxy URL:                       \n");
    return text;
}

QString Format61::dhcpServers(const HostState &host) const
{
    QStringList blocks;
    for (const DhcpServer &d : host.dhcpServers) {
        blocks.append(QStringLiteral("NetworkName:    %1\n"
                                     "Dhcpd IP:       %2\n"
                                     "LowerIPAddress: %3\n"
                                     "UpperIPAddress: %4\n"
                                     "NetworkMask:    %5\n"
                                     "Enabled:        %6\n"
                                     "Global Configuration:\n"
                                     "    minLeaseTime:     default\n"
                                     "    defaultLeaseTime: default\n"
                                     "    maxLeaseTime:     default\n"
                                     "    Forced options:   None\n"
                                     "    Suppressed opts.: None\n"
                                     "        1/legacy: %5\n"
                                     "Groups:               None\n"
                                     "Individual Configs:   None\n")
                          .arg(d.networkName, d.ipAddress, d.lowerIp, d.upperIp, d.networkMask,
                               d.enabled ? QStringLiteral("Yes") : QStringLiteral("No")));
    }
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

QString Format61::onOff(bool value) const
{
    return value ? QStringLiteral("enabled") : QStringLiteral("disabled");
}

QString Format61::vmHead(const HostState &host, const Machine &m) const
{
    QString t = Format::vmHead(host, m);
    t.replace(QStringLiteral("Graphics Controller:         VBoxVGA\n"), QString());
    // Rebuild the lines whose labels changed in 6.x.
    QString out;
    for (const QString &line : t.split('\n', Qt::SkipEmptyParts)) {
        const int colon = line.indexOf(QStringLiteral(": "));
        QString label = line.left(colon + 1);
        QString value = colon < 0 ? QString() : line.mid(colon + 2).trimmed();
        if (line.endsWith(QStringLiteral(": ")) || line.endsWith(':'))
            value.clear();
        if (label.startsWith(QStringLiteral("Boot Device (")))
            label = QStringLiteral("Boot Device %1:").arg(label.mid(13, 1));
        else if (label == QLatin1String("Hardw. virt.ext:"))
            label = QStringLiteral("Hardware Virtualization:");
        else if (label == QLatin1String("VT-x unr. exec.:"))
            label = QStringLiteral("VT-x Unrestricted Exec.:");
        else if (label == QLatin1String("Effective Paravirt. Provider:"))
            label = QStringLiteral("Effective Paravirt. Prov.:");
        out += field(label, value);
        if (label == QLatin1String("HPET:"))
            out += field(QStringLiteral("CPUProfile:"), QStringLiteral("host"));
        else if (label == QLatin1String("X2APIC:"))
            out += field(QStringLiteral("Nested VT-x/AMD-V:"), onOff(false));
        else if (label == QLatin1String("State:"))
            out += field(QStringLiteral("Graphics Controller:"), QStringLiteral("VMSVGA"));
    }
    out += field(QStringLiteral("VM process priority:"), QStringLiteral("default"));
    return out;
}

QString Format61::vmDevices(const QString &audioDriver) const
{
    QString t = legacyDevices();
    t += field(
        QStringLiteral("Audio:"),
        QStringLiteral("enabled (Driver: %1, Controller: AC97, Codec: STAC9700)").arg(audioDriver));
    t += field("Audio playback:", "enabled");
    t += field("Audio capture:", "disabled");
    t += field("Clipboard Mode:", "disabled");
    t += field("Drag and drop Mode:", "disabled");
    t += field("VRDE:", "disabled");
    t += field("OHCI USB:", "enabled");
    t += field("EHCI USB:", "disabled");
    t += field("xHCI USB:", "disabled");
    return t;
}

QString Format61::vmTail(const Machine &m) const
{
    QString t = vmDevices(QStringLiteral("PulseAudio"));
    t += QStringLiteral("\nUSB Device Filters:\n\n<none>\n\n");
    t += QStringLiteral("Bandwidth groups:  <none>\n\n");
    t += QStringLiteral("Shared folders:<none>\n\n");
    t += field("Capturing:", "not active");
    t += QStringLiteral("\nGuest:\n\n");
    t += field("Configured memory balloon size:", "0MB");
    if (!m.snapshots.empty())
        t += QStringLiteral("\nSnapshots:\n\n") + snapshotTree(m.snapshots, m.currentSnapshot, {}) +
             '\n';
    return t;
}

} // namespace VBoxSim
