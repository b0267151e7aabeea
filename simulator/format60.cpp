// SPDX-License-Identifier: Apache-2.0
#include "format60.h"

#include <QMap>

namespace VBoxSim {

QString Format60::versionString() const
{
    return QStringLiteral("6.0.24r139119");
}

QString Format60::onOff(bool value) const
{
    return value ? QStringLiteral("enabled") : QStringLiteral("disabled");
}

QString Format60::dhcpServer(const DhcpServer &d) const
{
    // 6.0 keeps the subnet mask as global option 1.
    return Format::dhcpServer(d) + QStringLiteral("Global options:\n   1:%1\n").arg(d.networkMask);
}

InfoLines Format60::vmHeadLines(const HostState &host, const Machine &m) const
{
    static const QMap<QString, QString> renamed = {
        {"Boot Device (1):", "Boot Device 1:"},
        {"Boot Device (2):", "Boot Device 2:"},
        {"Boot Device (3):", "Boot Device 3:"},
        {"Boot Device (4):", "Boot Device 4:"},
        {"Hardw. virt.ext:", "Hardware Virtualization:"},
        {"VT-x unr. exec.:", "VT-x Unrestricted Exec.:"},
        {"Effective Paravirt. Provider:", "Effective Paravirt. Prov.:"}};
    InfoLines lines = Format::vmHeadLines(host, m);
    for (InfoLine &line : lines) {
        line.label = renamed.value(line.label, line.label);
        if (line.label == QLatin1String("Memory size:"))
            line.label = memoryLabel();
        if (line.label == QLatin1String("Graphics Controller:"))
            line = {line.label, QStringLiteral("VMSVGA")};
    }
    insertAfter(lines, QStringLiteral("HPET:"), {"CPUProfile:", "host"});
    insertAfter(lines, QStringLiteral("X2APIC:"), {"Nested VT-x/AMD-V:", onOff(false)});
    lines.append(InfoLine{"VM process priority:", "default"});
    return lines;
}

QString Format60::vmDevices(const QString &audioDriver) const
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

QString Format60::vmTail(const Machine &m) const
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
