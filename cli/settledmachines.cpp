// SPDX-License-Identifier: Apache-2.0
#include "settledmachines.h"

#include "machinesettingsfile.h"
#include "virtualboxsettings.h"

#include <vmtools/callmemo.h>

#include <QDir>
#include <QRegularExpression>

namespace {

// Where the guest publishes its address (the plug-in reads it with "guestproperty get").
const QString AddressProperty = QStringLiteral("tovalyn_ip_management");

// `"name" {uuid}` lines, by UUID.
QHash<QString, QString> machines(const QString &listing)
{
    static const QRegularExpression line(QStringLiteral("^\"(.*)\" \\{([0-9a-fA-F-]{36})\\}\\r?$"),
                                         QRegularExpression::MultilineOption);
    QHash<QString, QString> found;
    QRegularExpressionMatchIterator it = line.globalMatch(listing);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        found.insert(match.captured(2), match.captured(1));
    }
    return found;
}

void keepMachine(CallMemo &memo, const QString &program, const QString &uuid, const QString &name,
                 const QString &path)
{
    MachineSettingsFile::Machine machine;
    if (!MachineSettingsFile::read(path, uuid, &machine) || machine.name != name || machine.saved ||
        machine.aborted)
        return;
    SettledMachines::keepFileAnswers(memo, program, uuid, machine);
    memo.keep(program, {QStringLiteral("showvminfo"), uuid},
              {0, MachineSettingsFile::descriptionText(machine, uuid, path), QString()});
}

} // namespace

namespace SettledMachines {

void keepFileAnswers(CallMemo &memo, const QString &program, const QString &id,
                     const MachineSettingsFile::Machine &machine)
{
    const QString guestProperty = QStringLiteral("guestproperty");
    memo.keep(program, {guestProperty, QStringLiteral("enumerate"), id},
              {0, MachineSettingsFile::enumerateText(machine.properties), QString()});
    QString address = QStringLiteral("No value set!\n");
    for (const MachineSettingsFile::GuestProperty &property : machine.properties) {
        if (property.name == AddressProperty)
            address = QStringLiteral("Value: %1\n").arg(property.value);
    }
    memo.keep(program, {guestProperty, QStringLiteral("get"), id, AddressProperty},
              {0, address, QString()});
    int exitCode = 0;
    const QString snapshots = MachineSettingsFile::snapshotListText(machine, &exitCode);
    memo.keep(program, {QStringLiteral("snapshot"), id, QStringLiteral("list")},
              {exitCode, snapshots, QString()});
}

void keepAnswers(CallMemo &memo, const QString &program, const QString &listing,
                 const QString &running, const QString &deployDirectory)
{
    const QHash<QString, QString> listed = machines(listing);
    const QHash<QString, QString> busy = machines(running);
    const QHash<QString, QString> registry = VirtualBoxSettings::registeredFiles();
    for (auto it = listed.cbegin(); it != listed.cend(); ++it) {
        const QString &uuid = it.key();
        const QString &name = it.value();
        if (busy.contains(uuid))
            continue;
        if (registry.contains(uuid)) {
            keepMachine(memo, program, uuid, name, registry.value(uuid));
        } else if (!name.contains(QLatin1Char('/')) && name != QLatin1String("..")) {
            keepMachine(memo, program, uuid, name,
                        QDir(deployDirectory)
                            .filePath(name + QLatin1Char('/') + name + QStringLiteral(".vbox")));
        }
    }
}

} // namespace SettledMachines
