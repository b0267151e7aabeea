// SPDX-License-Identifier: Apache-2.0
#include "samples.h"

#include <QFile>

namespace {

QString octets(int n)
{
    return QStringLiteral("%1.%2").arg((n / 250) % 250).arg(n % 250 + 1);
}

} // namespace

namespace Samples {

QString recorded(const QString &file)
{
    QFile data(QStringLiteral(TEST_DATA_DIR "/5.2/") + file);
    if (!data.open(QIODevice::ReadOnly))
        qFatal("Cannot read %s", qPrintable(data.fileName()));
    return QString::fromUtf8(data.readAll());
}

QString uuid(int n)
{
    return QStringLiteral("%1-7d4c-4d2b-9a55-3e0f3f6e8a11").arg(n, 8, 16, QLatin1Char('0'));
}

QString machineList(int machines)
{
    QString text;
    for (int i = 0; i < machines; ++i)
        text += QStringLiteral("\"device-%1\" {%2}\n").arg(i).arg(uuid(i));
    return text;
}

QString dhcpServers(int servers)
{
    QString text;
    for (int i = 0; i < servers; ++i) {
        const QString net = QStringLiteral("10.%1").arg(octets(i));
        text += QStringLiteral("NetworkName:    HostInterfaceNetworking-vboxnet%1\n"
                               "IP:             %2.100\n"
                               "NetworkMask:    255.255.255.0\n"
                               "lowerIPAddress: %2.101\n"
                               "upperIPAddress: %2.254\n"
                               "Enabled:        %3\n\n")
                    .arg(i)
                    .arg(net)
                    .arg(i % 3 == 0 ? QStringLiteral("No") : QStringLiteral("Yes"));
    }
    return text;
}

QString interfaceRecords(int interfaces, const QString &prefix)
{
    QString text;
    for (int i = 0; i < interfaces; ++i) {
        text += QStringLiteral("Name:            %1%2\n"
                               "GUID:            786f6276-656e-4074-8000-0a00270%3\n"
                               "DHCP:            Disabled\n"
                               "IPAddress:       10.%4.1\n"
                               "NetworkMask:     255.255.255.0\n"
                               "IPV6Address:     fe80::800:27ff:fe00:0\n"
                               "IPV6NetworkMaskPrefixLength: 64\n"
                               "HardwareAddress: 0a:00:27:00:00:00\n"
                               "MediumType:      Ethernet\n"
                               "Wireless:        No\n"
                               "Status:          Up\n"
                               "VBoxNetworkName: HostInterfaceNetworking-%1%2\n\n")
                    .arg(prefix)
                    .arg(i)
                    .arg(i, 5, 10, QLatin1Char('0'))
                    .arg(octets(i));
    }
    return text;
}

QString hostOnlyInterfaces(int interfaces)
{
    return interfaceRecords(interfaces, QStringLiteral("vboxnet"));
}

QString bridgedInterfaces(int interfaces)
{
    return interfaceRecords(interfaces, QStringLiteral("enp"));
}

QString guestProperties(int properties)
{
    QString text;
    for (int i = 0; i < properties; ++i) {
        const QString key = i % 4 == 0 ? QStringLiteral("/VirtualBox/GuestInfo/Net/%1/V4/IP").arg(i)
                                       : QStringLiteral("product_property_%1").arg(i);
        text += QStringLiteral("Name: %1, value: value of %2, timestamp: 17174060310000%3, "
                               "flags: \n")
                    .arg(key)
                    .arg(i)
                    .arg(i, 5, 10, QLatin1Char('0'));
    }
    if (properties > 0)
        text += QStringLiteral("Name: vbox_graph_mode, value: 1080x1920-16, timestamp: "
                               "1717406031000000003, flags: \n");
    return text;
}

QString description(int attachments)
{
    // The recorded header up to the storage controllers: name, memory, CPUs, state.
    QString text = recorded(QStringLiteral("machine-showvminfo.txt"));
    text.truncate(text.indexOf(QLatin1String("Storage Controller Name")));
    text += QStringLiteral("Storage Controller Name (0):            SATA\n"
                           "Storage Controller Type (0):            IntelAhci\n");
    const QString folder = QStringLiteral("/home/alice/.Brellstock/Quillomate/deployed/phone/");
    for (int i = 1; i < attachments; ++i)
        text += QStringLiteral("SATA (%1, 0): %2disk-%1.vdi (UUID: %3)\n")
                    .arg(i)
                    .arg(folder)
                    .arg(uuid(i));
    text += QStringLiteral("IDEController (1, 0): %1android_sdcard_disk.vmdk (UUID: %2)\n")
                .arg(folder)
                .arg(uuid(0));
    for (int i = 1; i <= attachments; ++i)
        text += QStringLiteral("NIC %1:           MAC: 0800271A2B%2, Attachment: %3, Cable "
                               "connected: on, Trace: off (file: none), Type: virtio, Reported "
                               "speed: 0 Mbps, Boot priority: 0, Promisc Policy: deny, "
                               "Bandwidth group: none\n")
                    .arg(i)
                    .arg(i % 100, 2, 10, QLatin1Char('0'))
                    .arg(i == 1 ? QStringLiteral("Host-only Interface 'vboxnet0'")
                                : QStringLiteral("NAT"));
    text += QStringLiteral("UART 1:          disabled\n"
                           "Audio:           disabled\n"
                           "VRDE:            disabled\n"
                           "USB:             disabled\n");
    return text;
}

QString snapshots(int snapshots)
{
    QString text;
    for (int i = 0; i < snapshots; ++i) {
        // A realistic tree is shallow and wide: depth cycles through eight levels.
        const QString indent(3 * (i % 8 + 1), QLatin1Char(' '));
        text += QStringLiteral("%1Name: snapshot %2 (UUID: %3)%4\n%1Description:\nTaken before "
                               "update %2\n")
                    .arg(indent)
                    .arg(i)
                    .arg(uuid(i))
                    .arg(i == snapshots - 1 ? QStringLiteral(" *") : QString());
    }
    return text;
}

} // namespace Samples
