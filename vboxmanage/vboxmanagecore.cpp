// SPDX-License-Identifier: Apache-2.0
#include "vboxmanagecore.h"

#include "vboxoutputparser.h"

#include <vmtools/vboxlog.h>
#include <vmtools/vboxmanagecommon.h>

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
    int logical = 0;
    if (VBoxOutputParser::parseOnlineProcessorCount(hostinfo, &logical)) {
        VBoxLog::debug() << "[System properties] Online physical CPU number:" << logical;
        int perCore = 0;
        if (VBoxOutputParser::parseOnlineCoreCount(hostinfo, &perCore))
            VBoxLog::debug() << "[System properties] Online virtual CPU number:" << perCore;
        else
            VBoxLog::debug() << "[System properties] No online virtual CPU found";
        qint64 count = VBoxOutputParser::hostProcessorCount(logical, perCore);
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
    if (!VBoxOutputParser::parseHostMemorySize(hostinfo, &m_maxMemory))
        return;
    VBoxLog::debug() << "[System properties] Max memory size:" << m_maxMemory;
}
