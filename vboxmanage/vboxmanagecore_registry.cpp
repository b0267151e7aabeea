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

    static const QRegularExpression uuidLine(QStringLiteral("\\bUUID:\\s+([^\\r\\n]+)\\r?\\n.*"));
    const QRegularExpressionMatch uuidMatch = uuidLine.match(result.output);
    if (!uuidMatch.hasMatch())
        return nullptr;
    const QString uuid = uuidMatch.captured(1).trimmed();
    // Asked by name: the machine keeps the name exactly as the caller gave it.
    if (uuid != id)
        return new VBoxManageMachine(uuid, id, m_vboxManagePath);

    static const QRegularExpression nameLine(QStringLiteral("\\bName:\\s+([^\\r\\n]+)\\r?\\n.*"));
    const QRegularExpressionMatch nameMatch = nameLine.match(result.output);
    if (!nameMatch.hasMatch()) {
        VBoxLog::critical() << "Can't find name of the given machine:" << id;
        return nullptr;
    }
    return new VBoxManageMachine(uuid, nameMatch.captured(1).trimmed(), m_vboxManagePath);
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

    static const QRegularExpression folderLine(QStringLiteral("Default machine folder:([^\n]*)\n"));
    const QRegularExpressionMatch match = folderLine.match(result.output);
    QString folder = match.hasMatch() ? match.captured(1).trimmed() : QString();
    if (folder.isEmpty())
        folder = QStringLiteral("default");
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
