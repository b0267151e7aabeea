// SPDX-License-Identifier: Apache-2.0
#include "vboxmanagecore.h"

#include "hostlock.h"
#include "machinefolderswitch.h"

#include <vmtools/settings.h>
#include <vmtools/vboxlog.h>
#include <vmtools/vboxmanagecommon.h>

#include <unistd.h>

namespace {

// VBoxSVC may still be starting when the host launches; give it a few tries.
constexpr int HostInfoRuns = 6;
constexpr useconds_t HostInfoPauseUs = 500000;

} // namespace

LoadStateInfo VBoxManageCore::initialize()
{
    if (m_vboxManagePath.isEmpty()) {
        VBoxLog::warning() << "VBoxManage path is empty";
        return {1, QString()};
    }

    QString hostinfo;
    for (int run = 0; run < HostInfoRuns; ++run) {
        const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
            m_vboxManagePath, {QStringLiteral("list"), QStringLiteral("hostinfo")},
            VBoxManageCommon::WaitForever);
        if (result.exitCode == 0) {
            hostinfo = result.output;
            break;
        }
        usleep(HostInfoPauseUs);
    }
    if (hostinfo.isEmpty()) {
        VBoxLog::warning() << "empty result for 'vboxmanage list hostinfo'";
        return {1, QString()};
    }

    loadMaxCPUNumber(hostinfo);
    loadMaxMemorySize(hostinfo);
    MachineFolderSwitch::recoverLeftover(*this);

    // Two hosts starting together would each make an interface of their own; the second
    // one finds the first one's, saved in the settings, once it has the lock.
    HostLock networkLock(QStringLiteral("host-only-interface"));
    networkLock.acquire("[initialize]");
    m_adapterName = Settings::get(QStringLiteral("host.only.interface"), QString()).toString();
    VBoxLog::debug() << "get" << m_adapterName << "from"
                     << "host.only.interface";

    if (findHostOnlyInterface())
        return {0, QString()};
    if (!mayRepairNetwork()) {
        // The host only looks: it learns from isSystemReady that the network is not usable.
        VBoxLog::warning() << "[initialize]" << m_adapterName
                           << "is not usable; left as it is, as the host asked";
        m_adapterName.clear();
        return {0, QString()};
    }
    return createHostOnlyInterface();
}
