// SPDX-License-Identifier: Apache-2.0
#include "vboxmanagecore.h"

#include <vmtools/vboxlog.h>
#include <vmtools/vboxmanagecommon.h>

namespace {

// Neither GuiLaunch nor HeadlessLaunch: a start that only proves the device can run.
constexpr auto ProbeLaunch = static_cast<VMToolsMachine::LaunchType>(2);

QStringList startArguments(const VMToolsMachine &machine, VMToolsMachine::LaunchType type)
{
    if (machine.getStatus() == VMToolsMachine::Paused)
        return {QStringLiteral("controlvm"), machine.getName(), QStringLiteral("resume")};
    return {QStringLiteral("startvm"), machine.getName(), QStringLiteral("--type"),
            type == VMToolsMachine::GuiLaunch ? QStringLiteral("gui") : QStringLiteral("headless")};
}

void logStartFailure(const QString &name, const QString &error)
{
    VBoxLog::critical() << "Unable to start virtual device:" << name;
    if (error.contains(QLatin1String("VERR_VMX_")) || error.contains(QLatin1String("VERR_SVM_")))
        VBoxLog::critical() << "There's a compatibility issue with your processor VMX/SVM "
                               "capabilitiy";
    else
        VBoxLog::critical() << "Try to launch virtual device from VirtualBox to check the issue.";
}

} // namespace

bool VBoxManageCore::startMachine(VMToolsMachine *machine, VMToolsMachine::LaunchType type)
{
    if (!machine)
        return false;
    machine->setAdapterType(1, VMToolsMachine::HostOnlyAdapter, getAdapterName());
    machine->setPlayerVersion(1);
    machine->setQuillomateVmName(machine->getName());

    const VBoxManageCommon::CallResult result =
        VBoxManageCommon::call(m_vboxManagePath, startArguments(*machine, type));
    // VBoxManage may exit 0 although the machine never came up; only a running one counts.
    if (result.exitCode == 0 && machine->getStatus() == VMToolsMachine::On)
        return true;
    logStartFailure(machine->getName(), result.error);
    return false;
}

bool VBoxManageCore::stopMachine(VMToolsMachine *machine)
{
    if (!machine)
        return false;
    const VBoxManageCommon::CallResult result =
        VBoxManageCommon::call(m_vboxManagePath, {QStringLiteral("controlvm"), machine->getName(),
                                                  QStringLiteral("poweroff")});
    return result.exitCode == 0;
}

bool VBoxManageCore::startStopDevice(VMToolsMachine *machine)
{
    const bool started = startMachine(machine, ProbeLaunch);
    if (!started) {
        VBoxLog::critical() << "Device failed to start. Error code: " << int(started);
        return false;
    }
    VBoxLog::debug() << "Device started correctly, stopping it now...";
    const bool stopped = stopMachine(machine);
    if (stopped)
        VBoxLog::debug() << "Device stopped";
    else
        VBoxLog::critical() << "Device failed to stop";
    return stopped;
}
