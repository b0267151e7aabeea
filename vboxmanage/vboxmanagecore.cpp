#include "vboxmanagecore.h"

#include "vboxoutputparser.h"

#include <vmtools/vboxlog.h>
#include <vmtools/vboxmanagecommon.h>

#include <QRegularExpression>

namespace {

// The host application never offers a device more processors than this.
constexpr int CpuCountCap = 8;

} // namespace

VBoxManageCore::VBoxManageCore()
    : m_vboxManagePath(QStringLiteral("VBoxManage"))
{
    VBoxLog::debug() << "Path:" << m_vboxManagePath;
}

VBoxManageCore::~VBoxManageCore() = default;

bool VBoxManageCore::shutdown()
{
    return true;
}

QString VBoxManageCore::version()
{
    // "unknown" is cached as well: a VirtualBox that failed once is not asked again.
    if (!m_version.isEmpty())
        return m_version;
    const VBoxManageCommon::CallResult result =
        VBoxManageCommon::call(m_vboxManagePath, {QStringLiteral("--version")});
    m_version = result.exitCode == 0 ? VBoxOutputParser::parseVersion(result.output)
                                     : QStringLiteral("unknown");
    return m_version;
}

bool VBoxManageCore::isSystemReady() const
{
    return !m_adapterName.isEmpty();
}

QString VBoxManageCore::getAdapterName() const
{
    return m_adapterName;
}

unsigned int VBoxManageCore::getMaxCpuCount()
{
    return m_maxCpuCount;
}

unsigned int VBoxManageCore::getMaxMemory()
{
    return m_maxMemory;
}

QString VBoxManageCore::getDataDiskName() const
{
    return QStringLiteral("android_data_disk.vmdk");
}

QString VBoxManageCore::getSDCardDiskName() const
{
    return QStringLiteral("sdcard.vdi");
}

void VBoxManageCore::loadMaxCPUNumber(const QString &hostinfo)
{
    static const QRegularExpression onlineCount(
        QStringLiteral("Processor online count:\\s+(\\d+)"));
    static const QRegularExpression coreCount(
        QStringLiteral("Processor online core count:\\s+(\\d+)"));

    const QRegularExpressionMatch online = onlineCount.match(hostinfo);
    if (online.hasMatch()) {
        const int logical = online.captured(1).toInt();
        VBoxLog::debug() << "[System properties] Online physical CPU number:" << logical;
        int count = logical;
        const QRegularExpressionMatch cores = coreCount.match(hostinfo);
        if (cores.hasMatch()) {
            const int perCore = cores.captured(1).toInt();
            VBoxLog::debug() << "[System properties] Online virtual CPU number:" << perCore;
            if (perCore > 1)
                count = perCore * logical;
        } else {
            VBoxLog::debug() << "[System properties] No online virtual CPU found";
        }
        // The product can be far beyond what a device may use; the cap bounds it.
        if (count > CpuCountCap) {
            VBoxLog::debug() << "CPU number is >" << CpuCountCap << "- Fix max number to"
                             << CpuCountCap;
            count = CpuCountCap;
        }
        m_maxCpuCount = static_cast<unsigned int>(count);
    }
    VBoxLog::debug() << "[System properties] Max CPU number:" << m_maxCpuCount;
}

void VBoxManageCore::loadMaxMemorySize(const QString &hostinfo)
{
    static const QRegularExpression memorySize(QStringLiteral("Memory size:\\s+(\\d+).*"));
    const QRegularExpressionMatch match = memorySize.match(hostinfo);
    if (!match.hasMatch())
        return;
    m_maxMemory = match.captured(1).toUInt();
    VBoxLog::debug() << "[System properties] Max memory size:" << m_maxMemory;
}
