// SPDX-License-Identifier: Apache-2.0
#include "format.h"

namespace VBoxSim {

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
                     .arg(n, expectedSoundCard(item.value))
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
            if (item.overridden) {
                t += QStringLiteral("%1: VM base folder specified with --basefolder: \"%2\"\n")
                         .arg(n, item.value);
                break;
            }
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

} // namespace VBoxSim
