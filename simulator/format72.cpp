// SPDX-License-Identifier: Apache-2.0
#include "format72.h"

#include <QFileInfo>
#include <QMap>

namespace VBoxSim {

namespace {

// The limits of one platform, alike for the host's and for x86.
const char PlatformLimits[] = "Maximum Serial Port count:              4\n"
                              "Maximum Parallel Port count:            2\n"
                              "Maximum Boot Position:                  4\n"
                              "Maximum Floppy Port count:              1\n"
                              "Maximum Floppy Devices per Port:        2\n"
                              "Maximum virtio-scsi Port count:         256\n"
                              "Maximum virtio-scsi Devices per Port:   1\n"
                              "Maximum IDE Port count:                 2\n"
                              "Maximum IDE Devices per port:           2\n"
                              "Maximum SATA Port count:                30\n"
                              "Maximum SATA Device per port:          1\n"
                              "Maximum SCSI Port count:                16\n"
                              "Maximum SCSI Devices per port:          1\n"
                              "Maximum SAS Port count:                 255\n"
                              "Maximum SAS Devices per Port:           1\n"
                              "Maximum NVMe Port count:                255\n"
                              "Maximum NVMe Devices per Port:          1\n"
                              "Supported chipsets:                     PIIX3, ICH9\n"
                              "PIIX3 chipset properties:\n"
                              "Maximum PIIX3 Network Adapter count:   8\n"
                              "Maximum PIIX3 IDE Controllers:   1\n"
                              "Maximum PIIX3 SATA Controllers:  1\n"
                              "Maximum PIIX3 SCSI Controllers:  1\n"
                              "Maximum PIIX3 SAS Controllers:   1\n"
                              "Maximum PIIX3 NVMe Controllers:  1\n"
                              "Maximum PIIX3 virtio-scsi Controllers:  1\n"
                              "Maximum PIIX3 Floppy Controllers:1\n"
                              "\n"
                              "ICH9 chipset properties:\n"
                              "Maximum ICH9 Network Adapter count:   36\n"
                              "Maximum ICH9 IDE Controllers:   1\n"
                              "Maximum ICH9 SATA Controllers:  8\n"
                              "Maximum ICH9 SCSI Controllers:  8\n"
                              "Maximum ICH9 SAS Controllers:   8\n"
                              "Maximum ICH9 NVMe Controllers:  8\n"
                              "Maximum ICH9 virtio-scsi Controllers:  8\n"
                              "Maximum ICH9 Floppy Controllers:1\n";

} // namespace

QString Format72::versionString() const
{
    return QStringLiteral("7.2.22_Debianr175245");
}

QString Format72::systemProperties(const HostState &host) const
{
    const QString limits = QLatin1String(PlatformLimits);
    return propertyLines(PropertyGroup::Head, host) + propertyLines(PropertyGroup::Rest, host) +
           QStringLiteral("Host platform properties:\n") + limits +
           QStringLiteral("\nSupported platform architectures: x86\n\nx86 platform properties:\n") +
           limits;
}

InfoLines Format72::vmHeadLines(const HostState &host, const Machine &m) const
{
    // What 7.2 makes of an appliance that leaves these settings out.
    static const QMap<QString, QString> values = {{"VRAM size:", "8MB"},
                                                  {"Long Mode:", onOff(true)},
                                                  {"X2APIC:", onOff(false)},
                                                  {"Large Pages:", onOff(false)},
                                                  {"Boot Device 1:", "Floppy"},
                                                  {"Boot Device 2:", "DVD"},
                                                  {"Boot Device 3:", "HardDisk"},
                                                  {"RTC:", "local time"},
                                                  {"Graphics Controller:", "VBoxVGA"}};
    InfoLines lines;
    for (InfoLine line : Format71::vmHeadLines(host, m)) {
        if (line.label == QLatin1String("2D Video Acceleration:"))
            continue;
        line.value = values.value(line.label, line.value);
        if (line.label == QLatin1String("Guest OS:"))
            line.value.replace(QLatin1String("4.x ("), QLatin1String("4.x / 5.x ("));
        lines.append(line);
    }
    return lines;
}

QString Format72::natSettings(int slot) const
{
    return QStringLiteral("NIC %1 Settings:\n"
                          "\tMTU: 0, Socket (send: 64, receive: 64), TCP Window (send:64, receive: "
                          "64),\n"
                          "\tLocalhostReachable: 1, ForwardBroadcast: 0, EnableTFTP: 0\n")
        .arg(slot);
}

QString Format72::vmTail(const Machine &m) const
{
    QString t = legacyDevices().replace(QLatin1String("USB Tablet"), QLatin1String("PS/2 Mouse"));
    t += field("Audio:", "enabled (Driver: Null, Controller: AC97, Codec: STAC9700)");
    t += field("Audio playback:", "enabled");
    t += field("Audio capture:", "enabled");
    t += field("Clipboard Mode:", "disabled");
    t += field("Clipboard file transfers:", "disabled");
    t += field("Drag and drop Mode:", "disabled");
    t += field("VRDE:", "disabled");
    t += field("OHCI USB:", "enabled");
    t += field("EHCI USB:", "disabled");
    t += field("xHCI USB:", "disabled");
    t += field("USB Device Filters:", "<none>");
    t += field("Bandwidth groups:", "<none>");
    t += field("Shared folders:", "<none>");
    t += field("Recording status:", "stopped");
    t += field("Recording enabled:", "no");
    t += field("Recording screens:", "1");
    // The screen's settings reuse the labels of other lines, indented.
    const QString file = m.folder() + '/' + QFileInfo(m.settingsFile).completeBaseName() +
                         QStringLiteral("-screen0.webm");
    t += QStringLiteral(" Screen 0:\n");
    const QList<QPair<QString, QString>> screen = {{"Enabled:", "yes"},
                                                   {"ID:", "0"},
                                                   {"Record video:", "yes"},
                                                   {"Record audio:", "no"},
                                                   {"Destination:", "File"},
                                                   {"File:", file},
                                                   {"Options:", "ac_profile=med"},
                                                   {"Video dimensions:", "1024x768"},
                                                   {"Video rate:", "512kbps"},
                                                   {"Video FPS:", "25fps"}};
    for (const auto &[label, value] : screen)
        t += row(QStringLiteral("    ") + label, value, labelWidth());
    if (!m.snapshots.empty())
        t += QStringLiteral("* Snapshots:\n") + snapshotTree(m.snapshots, m.currentSnapshot, {});
    t += QStringLiteral("* Guest:\n");
    t += field("Configured memory balloon:", "0MB");
    return t + '\n';
}

QString Format72::diskTarget(const QString &path) const
{
    return QFileInfo(path).fileName();
}

} // namespace VBoxSim
