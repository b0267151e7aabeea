#include "format.h"

#include <QDateTime>
#include <QFileInfo>

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

QString attachmentText(const NetworkAdapter &nic)
{
    if (nic.attachment == QLatin1String("nat"))
        return QStringLiteral("NAT");
    if (nic.attachment == QLatin1String("bridged"))
        return QStringLiteral("Bridged Interface '%1'").arg(nic.bridgedInterface);
    if (nic.attachment == QLatin1String("hostonly"))
        return QStringLiteral("Host-only Interface '%1'").arg(nic.hostOnlyInterface);
    if (nic.attachment == QLatin1String("intnet"))
        return QStringLiteral("Internal Network '%1'").arg(nic.internalNetwork);
    if (nic.attachment == QLatin1String("natnetwork"))
        return QStringLiteral("NAT Network '%1'").arg(nic.natNetwork);
    if (nic.attachment == QLatin1String("generic"))
        return QStringLiteral("Generic ''");
    return QStringLiteral("none");
}

QString hostTime()
{
    return QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz")) +
           QStringLiteral("000000Z");
}

QString interfaceBlock(const QString &name, const QString &dhcp, const QString &ip,
                       const QString &mask, const QString &ipv6, const QString &mac,
                       const QString &status)
{
    return QStringLiteral("Name:            %1\n"
                          "GUID:            %2\n"
                          "DHCP:            %3\n"
                          "IPAddress:       %4\n"
                          "NetworkMask:     %5\n"
                          "IPV6Address:     %6\n"
                          "IPV6NetworkMaskPrefixLength: 64\n"
                          "HardwareAddress: %7\n"
                          "MediumType:      Ethernet\n"
                          "Wireless:        No\n"
                          "Status:          %8\n"
                          "VBoxNetworkName: HostInterfaceNetworking-%1\n\n")
        .arg(name, interfaceGuid(name, mac), dhcp, ip, mask, ipv6, mac, status);
}

} // namespace

std::unique_ptr<Format> Format::create(const QString &version)
{
    if (version == QLatin1String("6.1"))
        return std::make_unique<Format61>();
    if (version == QLatin1String("7.1"))
        return std::make_unique<Format71>();
    return std::make_unique<Format>();
}

QString Format::versionString() const
{
    return QStringLiteral("5.2.44r139111");
}

QString Format::logo() const
{
    return QStringLiteral("Oracle VM VirtualBox Command Line Management Interface Version 5.2.44\n"
                          "(C) 2005-2020 Oracle Corporation\n"
                          "All rights reserved.\n\n");
}

QString Format::hostInfo(const HostState &host) const
{
    QString text = QStringLiteral("Host Information:\n\n");
    text += QStringLiteral("Host time: %1\n").arg(hostTime());
    text += QStringLiteral("Processor online count: %1\n").arg(host.processorCount);
    text += QStringLiteral("Processor count: %1\n").arg(host.processorCount);
    text += QStringLiteral("Processor online core count: %1\n").arg(host.coreCount);
    text += QStringLiteral("Processor core count: %1\n").arg(host.coreCount);
    for (const char *feature : {"HW virtualization", "PAE", "long mode", "nested paging"})
        text += QStringLiteral("Processor supports %1: yes\n").arg(QLatin1String(feature));
    for (int i = 0; i < host.processorCount; ++i) {
        text += QStringLiteral("Processor#%1 speed: 3400 MHz\n").arg(i);
        text += QStringLiteral("Processor#%1 description: Intel(R) Core(TM) i7-6700 CPU @ "
                               "3.40GHz\n")
                    .arg(i);
    }
    text += QStringLiteral("Memory size: %1 MByte\n").arg(host.memoryMB);
    text += QStringLiteral("Memory available: %1 MByte\n").arg(host.memoryMB * 2 / 3);
    text += QStringLiteral("Operating system: Linux\n");
    text += QStringLiteral("Operating system version: 5.10.0-28-amd64\n");
    return text;
}

QString Format::systemProperties(const HostState &host) const
{
    return QStringLiteral("API version:                     5_2\n"
                          "Minimum guest RAM size:          4 Megabytes\n"
                          "Maximum guest RAM size:          2097152 Megabytes\n"
                          "Minimum video RAM size:          0 Megabytes\n"
                          "Maximum video RAM size:          256 Megabytes\n"
                          "Maximum guest monitor count:     64\n"
                          "Minimum guest CPU count:         1\n"
                          "Maximum guest CPU count:         32\n"
                          "Virtual disk limit (info):       2199022206976 Bytes\n"
                          "Maximum Serial Port count:       4\n"
                          "Maximum Parallel Port count:     2\n"
                          "Maximum Boot Position:           4\n"
                          "Maximum PIIX3 Network Adapter count:   8\n"
                          "Maximum ICH9 Network Adapter count:   36\n"
                          "Maximum PIIX3 IDE Controllers:   1\n"
                          "Maximum ICH9 IDE Controllers:    1\n"
                          "Maximum IDE Port count:          2\n"
                          "Maximum Devices per IDE Port:    2\n"
                          "Maximum PIIX3 SATA Controllers:  1\n"
                          "Maximum ICH9 SATA Controllers:   8\n"
                          "Maximum SATA Port count:         30\n"
                          "Maximum Devices per SATA Port:   1\n"
                          "Maximum PIIX3 Floppy Controllers:1\n"
                          "Maximum ICH9 Floppy Controllers: 1\n"
                          "Maximum Floppy Port count:       1\n"
                          "Maximum Devices per Floppy Port: 2\n"
                          "Default machine folder:          %1\n"
                          "Raw-mode Supported:              yes\n"
                          "Exclusive HW virtualization use: on\n"
                          "Default hard disk format:        VDI\n"
                          "VRDE auth library:               VBoxAuth\n"
                          "Webservice auth. library:        VBoxAuth\n"
                          "Remote desktop ExtPack:          \n"
                          "Log history count:               3\n"
                          "Default frontend:                \n"
                          "Autostart database path:         \n"
                          "Default Guest Additions ISO:     "
                          "/usr/share/virtualbox/VBoxGuestAdditions.iso\n"
                          "Logging Level:                   all\n")
        .arg(host.machineFolder);
}

QString Format::dhcpServers(const HostState &host) const
{
    QString text;
    for (const DhcpServer &d : host.dhcpServers) {
        text += QStringLiteral("NetworkName:    %1\n"
                               "IP:             %2\n"
                               "NetworkMask:    %3\n"
                               "lowerIPAddress: %4\n"
                               "upperIPAddress: %5\n"
                               "Enabled:        %6\n\n")
                    .arg(d.networkName, d.ipAddress, d.networkMask, d.lowerIp, d.upperIp,
                         d.enabled ? QStringLiteral("Yes") : QStringLiteral("No"));
    }
    return text;
}

QString Format::natNetworks() const
{
    return QString();
}

QString Format::hostOnlyInterfaces(const HostState &host) const
{
    QString text;
    for (const HostOnlyInterface &i : host.hostOnlyInterfaces) {
        text += interfaceBlock(
            i.name, QStringLiteral("Disabled"), i.ipAddress, i.networkMask,
            QStringLiteral("fe80::800:27ff:fe00:%1").arg(QString::number(i.index, 16)),
            hostOnlyMac(i.index), i.up ? QStringLiteral("Up") : QStringLiteral("Down"));
    }
    return text;
}

QString Format::bridgedInterfaces(const HostState &host) const
{
    QString text;
    for (const BridgedInterface &b : host.bridgedInterfaces)
        text +=
            interfaceBlock(b.name, QStringLiteral("Disabled"), b.ipAddress, b.networkMask,
                           QStringLiteral("fe80::5054:ff:fe12:3456"), b.mac, QStringLiteral("Up"));
    return text;
}

QString Format::internalNetworks(const HostState &host) const
{
    QStringList names;
    for (const Machine &m : host.machines)
        for (const NetworkAdapter &n : m.config.nics)
            if (!n.internalNetwork.isEmpty() && !names.contains(n.internalNetwork))
                names.append(n.internalNetwork);
    names.sort();
    QString text;
    for (const QString &name : names)
        text += QStringLiteral("Name:        %1\n").arg(name);
    return text;
}

QString Format::progress() const
{
    return QStringLiteral("0%...10%...20%...30%...40%...50%...60%...70%...80%...90%...100%\n");
}

QString Format::progressFailure(const QString &hresult) const
{
    return QStringLiteral("0%...\nProgress state: %1\n").arg(hresult);
}

QString Format::onOff(bool value) const
{
    return value ? QStringLiteral("on") : QStringLiteral("off");
}

QString Format::field(const QString &label, const QString &value) const
{
    return label.leftJustified(labelWidth()) + ' ' + value + '\n';
}

QString Format::showVmInfo(HostState &host, const Machine &machine) const
{
    return vmHead(host, machine) + vmStorage(host, machine) + vmNics(machine) + vmTail(machine);
}

QString Format::vmHead(const HostState &, const Machine &m) const
{
    const QString folder = m.folder();
    QString t;
    t += field("Name:", m.name);
    t += field("Groups:", "/");
    t += field("Guest OS:", guestOsName(m.config.osType));
    t += field("UUID:", m.uuid);
    t += field("Config file:", m.settingsFile);
    t += field("Snapshot folder:", folder + "/Snapshots");
    t += field("Log folder:", folder + "/Logs");
    t += field("Hardware UUID:", m.uuid);
    t += field("Memory size:", QString::number(m.config.memoryMB) + "MB");
    t += field("Page Fusion:", onOff(false));
    t += field("VRAM size:", "16MB");
    t += field("CPU exec cap:", "100%");
    t += field("HPET:", onOff(false));
    t += field("Chipset:", "piix3");
    t += field("Firmware:", "BIOS");
    t += field("Number of CPUs:", QString::number(m.config.cpus));
    t += field("PAE:", onOff(true));
    t += field("Long Mode:", onOff(false));
    t += field("Triple Fault Reset:", onOff(false));
    t += field("APIC:", onOff(true));
    t += field("X2APIC:", onOff(true));
    t += field("CPUID Portability Level:", "0");
    t += field("CPUID overrides:", "None");
    t += field("Boot menu mode:", "message and menu");
    t += field("Boot Device (1):", "HardDisk");
    t += field("Boot Device (2):", "DVD");
    t += field("Boot Device (3):", "Not Assigned");
    t += field("Boot Device (4):", "Not Assigned");
    t += field("ACPI:", onOff(true));
    t += field("IOAPIC:", onOff(true));
    t += field("BIOS APIC mode:", "APIC");
    t += field("Time offset:", "0ms");
    t += field("RTC:", "UTC");
    t += field("Hardw. virt.ext:", onOff(true));
    t += field("Nested Paging:", onOff(true));
    t += field("Large Pages:", onOff(true));
    t += field("VT-x VPID:", onOff(true));
    t += field("VT-x unr. exec.:", onOff(true));
    t += field("Paravirt. Provider:", "Default");
    t += field("Effective Paravirt. Provider:", "KVM");
    t += field("State:", QStringLiteral("%1 (since %2)").arg(m.state, sinceText(m.stateSinceMs)));
    t += QStringLiteral("Graphics Controller:         VBoxVGA\n");
    t += field("Monitor count:", "1");
    t += field("3D Acceleration:", onOff(false));
    t += field("2D Video Acceleration:", onOff(false));
    t += field("Teleporter Enabled:", onOff(false));
    t += field("Teleporter Port:", "0");
    t += field("Teleporter Address:", "");
    t += field("Teleporter Password:", "");
    t += field("Tracing Enabled:", onOff(false));
    t += field("Allow Tracing to Access VM:", onOff(false));
    t += field("Tracing Configuration:", "");
    t += field("Autostart Enabled:", onOff(false));
    t += field("Autostart Delay:", "0");
    t += field("Default Frontend:", "");
    return t;
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
                              .arg(n.mac, attachmentText(n),
                                   n.cableConnected ? QStringLiteral("on") : QStringLiteral("off"),
                                   n.type));
        if (n.attachment == QLatin1String("nat"))
            t += QStringLiteral("NIC %1 Settings:  MTU: 0, Socket (send: 64, receive: 64), TCP "
                                "Window (send:64, receive: 64)\n")
                     .arg(i + 1);
    }
    return t;
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
        text +=
            QStringLiteral("   %1Name: %2 (UUID: %3)%4\n")
                .arg(prefix, s.name, s.uuid, s.uuid == current ? QStringLiteral(" *") : QString());
        if (!s.description.isEmpty())
            text += snapshotDescription(prefix, s.description);
        text += snapshotTree(s.children, current, prefix + QStringLiteral("   "));
    }
    return text;
}

QString Format::snapshotDescription(const QString &prefix, const QString &text) const
{
    return QStringLiteral("   %1Description:\n%2\n").arg(prefix, text);
}

QString Format::importListing(const QList<ApplianceItem> &items) const
{
    QString t = QStringLiteral("Virtual system 0:\n");
    for (int unit = 0; unit < items.size(); ++unit) {
        const ApplianceItem &item = items[unit];
        const QString n = QString::number(unit).rightJustified(2);
        switch (item.kind) {
        case ApplianceItem::OsType:
            t += QStringLiteral("%1: Suggested OS type: \"%2\"\n    (change with \"--vsys 0 "
                                "--ostype <type>\"; use \"list ostypes\" to list all possible "
                                "values)\n")
                     .arg(n, item.value);
            break;
        case ApplianceItem::Name:
            t += item.overridden
                     ? QStringLiteral("%1: VM name specified with --vmname: \"%2\"\n")
                           .arg(n, item.value)
                     : QStringLiteral("%1: Suggested VM name \"%2\"\n    (change with \"--vsys 0 "
                                      "--vmname <name>\")\n")
                           .arg(n, item.value);
            break;
        case ApplianceItem::Cpus:
            t += item.overridden
                     ? QStringLiteral("%1: No. of CPUs specified with --cpus: %2\n")
                           .arg(n, item.value)
                     : QStringLiteral("%1: Number of CPUs: %2\n    (change with \"--vsys 0 --cpus "
                                      "<n>\")\n")
                           .arg(n, item.value);
            break;
        case ApplianceItem::Memory:
            t += item.overridden
                     ? QStringLiteral("%1: Guest memory specified with --memory: %2 MB\n")
                           .arg(n, item.value)
                     : QStringLiteral("%1: Guest memory: %2 MB\n    (change with \"--vsys 0 "
                                      "--memory <MB>\")\n")
                           .arg(n, item.value);
            break;
        case ApplianceItem::SoundCard:
            t += QStringLiteral("%1: Sound card (appliance expects \"%2\", can change on import)\n"
                                "    (disable with \"--vsys 0 --unit %3 --ignore\")\n")
                     .arg(n, item.value)
                     .arg(unit);
            break;
        case ApplianceItem::Usb:
            t += QStringLiteral("%1: USB controller\n    (disable with \"--vsys 0 --unit %2 "
                                "--ignore\")\n")
                     .arg(n)
                     .arg(unit);
            break;
        case ApplianceItem::NetworkAdapter:
            t += QStringLiteral("%1: Network adapter: orig %2, config 3, extra slot=%3;type=%2\n")
                     .arg(n, item.value, item.extra);
            break;
        case ApplianceItem::Controller:
            t += QStringLiteral("%1: IDE controller, type %2\n    (disable with \"--vsys 0 "
                                "--unit %3 --ignore\")\n")
                     .arg(n, item.extra)
                     .arg(unit);
            break;
        case ApplianceItem::Disk:
            t += diskItem(n, unit, item);
            break;
        case ApplianceItem::Group:
            t +=
                QStringLiteral("%1: Suggested VM group \"%2\"\n    (change with \"--vsys 0 --group "
                               "<group>\")\n")
                    .arg(n, item.value);
            break;
        case ApplianceItem::SettingsFile:
            t += QStringLiteral("%1: Suggested VM settings file name \"%2\"\n    (change with "
                                "\"--vsys 0 --settingsfile <filename>\")\n")
                     .arg(n, item.value);
            break;
        case ApplianceItem::BaseFolder:
            t += QStringLiteral("%1: Suggested VM base folder \"%2\"\n    (change with \"--vsys 0 "
                                "--basefolder <path>\")\n")
                     .arg(n, item.value);
            break;
        }
    }
    return t;
}

QString Format::diskItem(const QString &n, int unit, const ApplianceItem &item) const
{
    QString t = QStringLiteral("%1: Hard disk image: source image=%2, target path=%3, "
                               "controller=%4;channel=%5\n")
                    .arg(n, item.value, item.extra)
                    .arg(item.controllerUnit)
                    .arg(item.channel);
    if (!item.overridden)
        t += QStringLiteral("    (change target path with \"--vsys 0 --unit %1 --disk path\";\n"
                            "    disable with \"--vsys 0 --unit %1 --ignore\")\n")
                 .arg(unit);
    return t;
}

QString hostOnlyMac(int index)
{
    return QStringLiteral("0a:00:27:00:00:%1").arg(index, 2, 16, QLatin1Char('0'));
}

QString interfaceGuid(const QString &name, const QString &mac)
{
    QByteArray bytes = name.toUtf8().left(16);
    bytes.append(QByteArray(16 - bytes.size(), '\0'));
    auto byte = [&](int i) {
        return static_cast<quint8>(bytes[i]);
    };
    const quint32 first = byte(0) | byte(1) << 8 | byte(2) << 16 | quint32(byte(3)) << 24;
    const quint16 second = quint16(byte(4) | byte(5) << 8);
    const quint16 third = quint16(((byte(6) | byte(7) << 8) & 0x0fff) | 0x4000);
    const quint16 fourth = quint16(((byte(8) & 0x3f) | 0x80) << 8 | byte(9));
    QString node = mac;
    node.remove(':');
    return QStringLiteral("%1-%2-%3-%4-%5")
        .arg(first, 8, 16, QLatin1Char('0'))
        .arg(second, 4, 16, QLatin1Char('0'))
        .arg(third, 4, 16, QLatin1Char('0'))
        .arg(fourth, 4, 16, QLatin1Char('0'))
        .arg(node.toLower());
}

} // namespace VBoxSim
