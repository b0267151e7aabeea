// SPDX-License-Identifier: Apache-2.0
#include "vboxmanagecore.h"

#include "vboxmanagemachine.h"
#include "vboxoutputparser.h"

#include <vmtools/vboxlog.h>
#include <vmtools/vboxmanagecommon.h>

#include <QDir>
#include <QRegularExpression>

namespace {

VBoxManageCommon::CallResult showVmInfo(const QString &path, const QString &id,
                                        VBoxManageCommon::Options options)
{
    return VBoxManageCommon::call(path, {QStringLiteral("showvminfo"), id}, options);
}

} // namespace

QList<VMToolsMachine *> VBoxManageCore::getMachines()
{
    QList<VMToolsMachine *> machines;
    QList<Entry> entries;
    if (!listMachines(&entries))
        return machines;
    for (const Entry &entry : entries) {
        if (VMToolsMachine *machine = openListedMachine(entry))
            machines.append(machine);
    }
    return machines;
}

bool VBoxManageCore::listMachines(QList<Entry> *entries)
{
    const VBoxManageCommon::CallResult result =
        VBoxManageCommon::call(m_vboxManagePath, {QStringLiteral("list"), QStringLiteral("vms")},
                               VBoxManageCommon::WaitForever);
    if (result.exitCode != 0)
        return false;
    for (const VBoxOutputParser::MachineEntry &entry :
         VBoxOutputParser::parseMachineList(result.output))
        entries->append({entry.uuid, entry.name});
    return true;
}

VMToolsMachine *VBoxManageCore::openListedMachine(const Entry &entry)
{
    // Other VirtualBox machines on the host are none of our business.
    if (!isCompatible(entry.uuid))
        return nullptr;
    return new VBoxManageMachine(entry.uuid, entry.name, m_vboxManagePath);
}

VMToolsMachine *VBoxManageCore::getMachine(const QString &id)
{
    const VBoxManageCommon::CallResult result =
        showVmInfo(m_vboxManagePath, id, VBoxManageCommon::WaitForever);
    if (result.exitCode != 0)
        return nullptr;

    QString uuid;
    if (!VBoxOutputParser::parseMachineUuid(result.output, &uuid))
        return nullptr;
    // Asked by name: the machine keeps the name exactly as the caller gave it.
    if (uuid != id)
        return new VBoxManageMachine(uuid, id, m_vboxManagePath);

    QString name;
    if (!VBoxOutputParser::parseMachineName(result.output, &name)) {
        VBoxLog::critical() << "Can't find name of the given machine:" << id;
        return nullptr;
    }
    return new VBoxManageMachine(uuid, name, m_vboxManagePath);
}

bool VBoxManageCore::doesMachineExist(const QString &id) const
{
    // A missing machine is an expected answer, so the call is not logged.
    const VBoxManageCommon::CallResult result =
        showVmInfo(m_vboxManagePath, id, VBoxManageCommon::WaitForever | VBoxManageCommon::Silent);
    if (result.exitCode != 0)
        return false;
    // The identifier goes into the patterns unescaped, as it always has.
    const QRegularExpression byUuid(QStringLiteral("\\bUUID:\\s+%1\\r?\\n.*").arg(id));
    if (byUuid.match(result.output).hasMatch())
        return true;
    const QRegularExpression byName(QStringLiteral("\\bName:\\s+%1\\r?\\n.*").arg(id));
    return byName.match(result.output).hasMatch();
}

VBoxManageCore::NameUse VBoxManageCore::lookUp(const QString &nameOrUuid, QString *error) const
{
    // A missing machine is the answer hoped for, so the call is not logged.
    const VBoxManageCommon::CallResult result = showVmInfo(
        m_vboxManagePath, nameOrUuid, VBoxManageCommon::WaitForever | VBoxManageCommon::Silent);
    if (result.exitCode == 0)
        return NameUse::Taken;
    // Only this code says that no machine answers; it is never translated. Any other
    // failure (a busy or missing VBoxSVC, a time-out) proves nothing.
    if (result.error.contains(QLatin1String("VBOX_E_OBJECT_NOT_FOUND")))
        return NameUse::Free;
    *error = result.error.trimmed();
    return NameUse::Unknown;
}

VBoxManageCore::NameUse VBoxManageCore::nameUse(const char *operation, const QString &name) const
{
    QString error;
    const NameUse use = lookUp(name, &error);
    if (use == NameUse::Taken)
        VBoxLog::critical() << operation << "A machine named" << name << "already exists";
    else if (use == NameUse::Unknown)
        VBoxLog::critical() << operation << "Can't tell whether the name" << name
                            << "is free:" << error;
    return use;
}

QString VBoxManageCore::machineSettingsIn(const QString &folder) const
{
    const QStringList files =
        QDir(folder).entryList({QStringLiteral("*.vbox")}, QDir::Files | QDir::Hidden);
    for (const QString &file : files) {
        const QString path = QDir(folder).filePath(file);
        QFile settings(path);
        // The machine element comes first, after a comment of a few lines.
        const QString head = settings.open(QIODevice::ReadOnly)
                                 ? QString::fromUtf8(settings.read(65536))
                                 : QString();
        static const QRegularExpression machineUuid(
            QStringLiteral("<Machine\\s[^>]*\\buuid=\"\\{?([0-9a-fA-F-]{36})\\}?\""));
        const QString uuid = machineUuid.match(head).captured(1);
        QString error;
        if (uuid.isEmpty() || lookUp(uuid, &error) != NameUse::Free)
            return path;
    }
    return QString();
}

QString VBoxManageCore::getCurrentVBoxMachineFolderValue() const
{
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath, {QStringLiteral("list"), QStringLiteral("systemproperties")});
    if (result.exitCode != 0)
        return QString();

    const QString folder = VBoxOutputParser::parseDefaultMachineFolder(result.output);
    VBoxLog::debug() << "VBox machinefolder path setting is " << folder;
    return folder;
}

bool VBoxManageCore::setVBoxMachineFolderValue(const QString &path) const
{
    const QString folder = QDir::toNativeSeparators(QDir::cleanPath(path));
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath, {QStringLiteral("setproperty"), QStringLiteral("machinefolder"), folder});
    return result.exitCode == 0;
}
