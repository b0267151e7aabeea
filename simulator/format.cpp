// SPDX-License-Identifier: Apache-2.0
#include "format.h"

#include "format60.h"
#include "format61.h"
#include "format70.h"
#include "format71.h"
#include "format72.h"
#include "translation.h"

#include <QDateTime>
#include <QMap>

#include <algorithm>
#include <array>

namespace VBoxSim {

namespace {

QString hostTime()
{
    return QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz")) +
           QStringLiteral("000000Z");
}

// A line of "list systemproperties" and the releases that print it: from `since` on,
// before `until` (0 for still printed).
struct PropertyLine
{
    int since;
    int until;
    const char *text; // %1 the machine folder, %2 the API version, %3 the user language
};

const PropertyLine HeadProperties[] = {
    {52, 0, "API version:                     %2"},
    {52, 0, "Minimum guest RAM size:          4 Megabytes"},
    {52, 0, "Maximum guest RAM size:          2097152 Megabytes"},
    {52, 0, "Minimum video RAM size:          0 Megabytes"},
    {52, 0, "Maximum video RAM size:          256 Megabytes"},
    {52, 0, "Maximum guest monitor count:     64"},
    {52, 0, "Minimum guest CPU count:         1"},
    {52, 70, "Maximum guest CPU count:         32"},
    {70, 0, "Maximum guest CPU count:         64"},
    {52, 0, "Virtual disk limit (info):       2199022206976 Bytes"},
    // 7.2 moved these three under the platform properties.
    {52, 72, "Maximum Serial Port count:       4"},
    {52, 72, "Maximum Parallel Port count:     2"},
    {52, 72, "Maximum Boot Position:           4"},
};

// The per-chipset limits, which 7.1 moved under "x86 platform properties:".
const PropertyLine LimitProperties[] = {
    {52, 0, "Maximum PIIX3 Network Adapter count:   8"},
    {52, 0, "Maximum ICH9 Network Adapter count:   36"},
    {52, 0, "Maximum PIIX3 IDE Controllers:   1"},
    {52, 0, "Maximum ICH9 IDE Controllers:    1"},
    {52, 0, "Maximum IDE Port count:          2"},
    {52, 0, "Maximum Devices per IDE Port:    2"},
    {52, 0, "Maximum PIIX3 SATA Controllers:  1"},
    {52, 0, "Maximum ICH9 SATA Controllers:   8"},
    {52, 0, "Maximum SATA Port count:         30"},
    {52, 0, "Maximum Devices per SATA Port:   1"},
    {52, 0, "Maximum PIIX3 SCSI Controllers:  1"},
    {52, 0, "Maximum ICH9 SCSI Controllers:   8"},
    {52, 0, "Maximum SCSI Port count:         16"},
    {52, 0, "Maximum Devices per SCSI Port:   1"},
    {52, 0, "Maximum SAS PIIX3 Controllers:   1"},
    {52, 0, "Maximum SAS ICH9 Controllers:    8"},
    {52, 0, "Maximum SAS Port count:          255"},
    {52, 0, "Maximum Devices per SAS Port:    1"},
    {52, 0, "Maximum NVMe PIIX3 Controllers:  1"},
    {52, 0, "Maximum NVMe ICH9 Controllers:   8"},
    {52, 0, "Maximum NVMe Port count:         255"},
    {52, 0, "Maximum Devices per NVMe Port:   1"},
    {61, 0, "Maximum virtio-scsi PIIX3 Controllers:  1"},
    {61, 0, "Maximum virtio-scsi ICH9 Controllers:   8"},
    {61, 0, "Maximum virtio-scsi Port count:         256"},
    {61, 0, "Maximum Devices per virtio-scsi Port:   1"},
    {52, 0, "Maximum PIIX3 Floppy Controllers:1"},
    {52, 0, "Maximum ICH9 Floppy Controllers: 1"},
    {52, 0, "Maximum Floppy Port count:       1"},
    {52, 0, "Maximum Devices per Floppy Port: 2"},
};

const PropertyLine RestProperties[] = {
    {52, 0, "Default machine folder:          %1"},
    // 6.1 dropped raw-mode.
    {52, 61, "Raw-mode Supported:              yes"},
    {61, 0, "Raw-mode Supported:              no"},
    {52, 0, "Exclusive HW virtualization use: on"},
    {52, 0, "Default hard disk format:        VDI"},
    {52, 0, "VRDE auth library:               VBoxAuth"},
    {52, 0, "Webservice auth. library:        VBoxAuth"},
    {52, 0, "Remote desktop ExtPack:          "},
    {70, 0, "VM encryption ExtPack:           "},
    {52, 0, "Log history count:               3"},
    {52, 0, "Default frontend:                "},
    {52, 0, "Default audio driver:            PulseAudio"},
    {52, 0, "Autostart database path:         "},
    {52, 0, "Default Guest Additions ISO:     /usr/share/virtualbox/VBoxGuestAdditions.iso"},
    {52, 0, "Logging Level:                   all"},
    {60, 0, "Proxy Mode:                      System"},
    {60, 0, "Proxy URL:                       "},
    {70, 0, "User language:                   %3"},
};

template<size_t N>
QString printedLines(const PropertyLine (&lines)[N], int release, const Format &format)
{
    QString text;
    for (const PropertyLine &line : lines)
        if (line.since <= release && (line.until == 0 || release < line.until))
            text += format.tr(QLatin1String(line.text)) + '\n';
    return text;
}

} // namespace

std::unique_ptr<Format> Format::create(const QString &version, const QString &language)
{
    std::unique_ptr<Format> format;
    if (version == QLatin1String("6.0"))
        format = std::make_unique<Format60>();
    else if (version == QLatin1String("6.1"))
        format = std::make_unique<Format61>();
    else if (version == QLatin1String("7.0"))
        format = std::make_unique<Format70>();
    else if (version == QLatin1String("7.1"))
        format = std::make_unique<Format71>();
    else if (version == QLatin1String("7.2"))
        format = std::make_unique<Format72>();
    else
        format = std::make_unique<Format>();
    format->m_language = language;
    format->m_russian = format->translates() && language.startsWith(QLatin1String("ru"));
    return format;
}

QString Format::tr(const QString &english) const
{
    return m_russian ? Translation::russian(english) : english;
}

QString Format::versionString() const
{
    return QStringLiteral("5.2.44r139111");
}

int Format::release() const
{
    const QStringList parts = versionNumber().split('.');
    return parts.value(0).toInt() * 10 + parts.value(1).toInt();
}

QString Format::versionNumber() const
{
    return versionString().section('r', 0, 0);
}

int Format::sourceLine(SourceCall call) const
{
    // For 5.2.44, 6.0.24, 6.1.50, 7.0.10, 7.1.6 and 7.2.22 in turn; where a release's sources
    // were not at hand, those of the release before it, or for 7.x those of 6.1, stand in.
    static const QMap<SourceCall, std::array<int, 6>> lines = {
        {SourceCall::HostOnlyCreate, {94, 94, 95, 105, 105, 105}},
        {SourceCall::HostOnlyRemove, {139, 139, 140, 150, 150, 150}},
        {SourceCall::HostOnlyIpConfig, {231, 231, 232, 242, 242, 242}},
        {SourceCall::CreateMedium, {450, 450, 510, 630, 630, 630}},
        {SourceCall::CloneCreateMachine, {467, 593, 594, 704, 742, 743}},
        {SourceCall::CloneProgress, {480, 480, 610, 610, 610, 610}},
        {SourceCall::ImportAppliance, {877, 877, 1363, 1436, 1447, 1447}},
        {SourceCall::ExportAppliance, {1263, 1263, 1941, 2028, 2028, 2028}},
        {SourceCall::ReadAppliance, {379, 379, 379, 379, 379, 513}},
        {SourceCall::FindShownMachine, {2761, 2761, 2761, 2761, 2761, 3248}},
        {SourceCall::SaveRenamedSettings, {2982, 2982, 2982, 2982, 2982, 3863}}};
    static const QList<int> releases = {52, 60, 61, 70, 71, 72};
    return lines.value(call)[size_t(std::max(0, releases.indexOf(release())))];
}

QString Format::cloneCreateMachineCall() const
{
    // 7.1 added the platform architecture and three more arguments.
    if (release() >= 71)
        return QStringLiteral("CreateMachine(bstrSettingsFile.raw(), Bstr(pszTrgName).raw(), "
                              "platformArch, ComSafeArrayAsInParam(groups), NULL, "
                              "createFlags.raw(), NULL, NULL, NULL, trgMachine.asOutParam())");
    return QStringLiteral("CreateMachine(bstrSettingsFile.raw(), Bstr(pszTrgName).raw(), "
                          "ComSafeArrayAsInParam(groups), NULL, createFlags.raw(), "
                          "trgMachine.asOutParam())");
}

QString Format::logo() const
{
    return QStringLiteral("Oracle VM VirtualBox Command Line Management Interface Version %1\n"
                          "(C) 2005-%2 Oracle Corporation\n"
                          "All rights reserved.\n\n")
        .arg(versionNumber())
        .arg(copyrightYear());
}

QString Format::hostInfo(const HostState &host) const
{
    QStringList features = {"HW virtualization", "PAE", "long mode", "nested paging"};
    QStringList answers = {"yes", "yes", "yes", "yes"};
    if (release() >= 61) {
        features << "unrestricted guest"
                 << "nested HW virtualization";
        answers << "yes"
                << "no";
    }
    if (release() >= 70) {
        features << "virt. vmsave/vmload";
        answers << "no";
    }
    QString text = QStringLiteral("Host Information:\n\n");
    text += QStringLiteral("Host time: %1\n").arg(hostTime());
    text += tr(QStringLiteral("Processor online count: %1")).arg(host.processorCount) + '\n';
    text += QStringLiteral("Processor count: %1\n").arg(host.processorCount);
    text += tr(QStringLiteral("Processor online core count: %1")).arg(host.coreCount) + '\n';
    text += QStringLiteral("Processor core count: %1\n").arg(host.coreCount);
    for (int i = 0; i < features.size(); ++i)
        text += QStringLiteral("Processor supports %1: %2\n").arg(features[i], answers[i]);
    for (int i = 0; i < host.processorCount; ++i) {
        text += QStringLiteral("Processor#%1 speed: 3400 MHz\n").arg(i);
        text += QStringLiteral("Processor#%1 description: Intel(R) Core(TM) i7-6700 CPU @ "
                               "3.40GHz\n")
                    .arg(i);
    }
    text += tr(QStringLiteral("Memory size: %1 MByte")).arg(host.memoryMB) + '\n';
    text += QStringLiteral("Memory available: %1 MByte\n").arg(host.memoryMB * 2 / 3);
    text += QStringLiteral("Operating system: Linux\n");
    text += QStringLiteral("Operating system version: %1\n").arg(hostKernelRelease());
    return text;
}

QString Format::propertyLines(PropertyGroup group, const HostState &host) const
{
    const QString text =
        group == PropertyGroup::Head     ? printedLines(HeadProperties, release(), *this)
        : group == PropertyGroup::Limits ? printedLines(LimitProperties, release(), *this)
                                         : printedLines(RestProperties, release(), *this);
    const QString api = versionNumber().section('.', 0, 1).replace('.', '_');
    // The machine folder last, as it may hold anything.
    return QString(text)
        .replace(QLatin1String("%2"), api)
        .replace(QLatin1String("%3"), m_language)
        .replace(QLatin1String("%1"), host.machineFolder);
}

QString Format::systemProperties(const HostState &host) const
{
    return propertyLines(PropertyGroup::Head, host) + propertyLines(PropertyGroup::Limits, host) +
           propertyLines(PropertyGroup::Rest, host);
}

QString Format::dhcpServer(const DhcpServer &d) const
{
    return QStringLiteral("NetworkName:    %1\n"
                          "IP:             %2\n"
                          "NetworkMask:    %3\n"
                          "lowerIPAddress: %4\n"
                          "upperIPAddress: %5\n"
                          "Enabled:        %6\n")
        .arg(d.networkName, d.ipAddress, d.networkMask, d.lowerIp, d.upperIp,
             d.enabled ? QStringLiteral("Yes") : QStringLiteral("No"));
}

QString Format::dhcpServers(const HostState &host) const
{
    QString text;
    for (const DhcpServer &d : host.dhcpServers)
        text += dhcpServer(d) + '\n';
    return text;
}

QString Format::natNetworks() const
{
    return QString();
}

QString Format::interfaceBlock(const QString &name, const QString &ip, const QString &mask,
                               const QString &ipv6, const QString &mac, const QString &status) const
{
    return row(QStringLiteral("Name:"), name, 16) +
           row(QStringLiteral("GUID:"), interfaceGuid(name, mac), 16) +
           row(QStringLiteral("DHCP:"), QStringLiteral("Disabled"), 16) +
           row(QStringLiteral("IPAddress:"), ip, 16) +
           row(QStringLiteral("NetworkMask:"), mask, 16) +
           row(QStringLiteral("IPV6Address:"), ipv6, 16) +
           row(QStringLiteral("IPV6NetworkMaskPrefixLength:"), QStringLiteral("64"), 16) +
           row(QStringLiteral("HardwareAddress:"), mac, 16) +
           row(QStringLiteral("MediumType:"), QStringLiteral("Ethernet"), 16) +
           row(QStringLiteral("Wireless:"), QStringLiteral("No"), 16) +
           row(QStringLiteral("Status:"), status, 16) +
           row(QStringLiteral("VBoxNetworkName:"),
               QStringLiteral("HostInterfaceNetworking-") + name, 16) +
           '\n';
}

QString Format::hostOnlyInterfaces(const HostState &host) const
{
    QString text;
    for (const HostOnlyInterface &i : host.hostOnlyInterfaces) {
        text += interfaceBlock(
            i.name, i.ipAddress, i.networkMask,
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
            interfaceBlock(b.name, b.ipAddress, b.networkMask,
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

QString Format::row(const QString &label, const QString &value, int width) const
{
    return tr(label).leftJustified(width) + ' ' + value + '\n';
}

QString Format::field(const QString &label, const QString &value) const
{
    return row(label, value, labelWidth());
}

QString hostKernelRelease()
{
    return QStringLiteral("5.10.0-28-amd64");
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
