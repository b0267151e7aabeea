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
    const VBoxManageCommon::CallResult result =
        VBoxManageCommon::call(m_vboxManagePath, {QStringLiteral("list"), QStringLiteral("vms")},
                               VBoxManageCommon::WaitForever);
    if (result.exitCode != 0)
        return machines;

    for (const VBoxOutputParser::MachineEntry &entry :
         VBoxOutputParser::parseMachineList(result.output)) {
        // Other VirtualBox machines on the host are none of our business.
        if (isCompatible(entry.uuid))
            machines.append(new VBoxManageMachine(entry.uuid, entry.name, m_vboxManagePath));
    }
    return machines;
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
