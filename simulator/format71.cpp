// SPDX-License-Identifier: Apache-2.0
#include "format71.h"

#include <QMap>

namespace VBoxSim {

QString Format71::versionString() const
{
    return QStringLiteral("7.1.6r167084");
}

QString Format71::logo() const
{
    // VBOX_PRODUCT lost its "VM" in 7.1.
    return Format70::logo().replace(QLatin1String("Oracle VM VirtualBox"),
                                    QLatin1String("Oracle VirtualBox"));
}

QString Format71::systemProperties(const HostState &host) const
{
    return propertyLines(PropertyGroup::Head, host) + propertyLines(PropertyGroup::Rest, host) +
           QStringLiteral("Host platform properties:\n"
                          "Supports HW virtualization:      yes\n"
                          "\n"
                          "Supported platform architectures: x86\n"
                          "\n"
                          "x86 platform properties:\n") +
           propertyLines(PropertyGroup::Limits, host);
}

InfoLines Format71::vmHeadLines(const HostState &host, const Machine &m) const
{
    QMap<QString, InfoLine> lines;
    for (const InfoLine &line : Format70::vmHeadLines(host, m))
        lines.insert(line.label, line);
    lines.insert("Platform Architecture:", {"Platform Architecture:", "x86"});
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
    InfoLines ordered;
    for (const QString &label : order)
        ordered.append(lines.value(label));
    return ordered;
}

} // namespace VBoxSim
