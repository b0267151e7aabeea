// SPDX-License-Identifier: Apache-2.0
#include "resultwords.h"

#include <vmtools/engineresult.h>

namespace ResultWords {

QString engineResult(unsigned int code)
{
    switch (code) {
    case EngineResult::Success:
        return QStringLiteral("done");
    case EngineResult::CreationFailed:
        return QStringLiteral("the device could not be created: VirtualBox's machine folder "
                              "could not be switched, the appliance import failed, or the new "
                              "device could not be found");
    case EngineResult::CloneFailed:
        return QStringLiteral("the clone failed, or VirtualBox's machine folder could not be "
                              "switched");
    case EngineResult::CloneNameExists:
        return QStringLiteral("a device with that name already exists");
    case EngineResult::CloneDiskFull:
        return QStringLiteral("the disk became full during the clone");
    case EngineResult::SdCardCreationFailed:
        return QStringLiteral("the SD-card image could not be created");
    case EngineResult::SdCardAttachFailed:
        return QStringLiteral("the SD-card image could not be attached");
    case EngineResult::DiskCopyFailed:
        return QStringLiteral("the disk image could not be copied");
    case EngineResult::DiskDeletionFailed:
        return QStringLiteral("the disk image could not be deleted");
    case EngineResult::NoHostOnlyInterface:
        return QStringLiteral("no host-only network interface existed and none could be made");
    }
    return QStringLiteral("the engine failed with the unknown result %1").arg(code);
}

QString factoryReset(int code)
{
    switch (code) {
    case 0:
        return QStringLiteral("done");
    case 1:
        return QStringLiteral("the device has no factory backup");
    case 2:
        return QStringLiteral("VirtualBox could not restore the factory backup (is the device "
                              "running?)");
    }
    return QStringLiteral("the factory reset failed with the unknown result %1").arg(code);
}

QString loadFailure(const LoadStateInfo &info, const QString &pluginFolder)
{
    switch (info.state) {
    case -1:
        return QStringLiteral("the VirtualBox plug-in could not be loaded from %1")
            .arg(pluginFolder);
    case 1:
        return QStringLiteral("VirtualBox did not answer (\"VBoxManage list hostinfo\" failed); "
                              "is VirtualBox installed and VBoxManage on PATH?");
    case 2:
        return QStringLiteral("no VirtualBox host-only network interface could be created");
    case 4:
        return QStringLiteral("the new host-only network interface %1 could not be configured "
                              "and was removed again")
            .arg(info.message);
    }
    const QString message =
        info.message.isEmpty() ? QString() : QStringLiteral(": ") + info.message;
    return QStringLiteral("the engine did not start (state %1)%2").arg(info.state).arg(message);
}

QString state(VMToolsMachine::State state)
{
    switch (state) {
    case VMToolsMachine::On:
        return QStringLiteral("running");
    case VMToolsMachine::Off:
        return QStringLiteral("off");
    case VMToolsMachine::Paused:
        return QStringLiteral("paused");
    case VMToolsMachine::Process:
        return QStringLiteral("busy");
    case VMToolsMachine::Aborted:
        return QStringLiteral("aborted");
    case VMToolsMachine::Unknown:
        break;
    }
    return QStringLiteral("unknown");
}

QString adapter(VMToolsMachine::AdapterType type)
{
    switch (type) {
    case VMToolsMachine::HostOnlyAdapter:
        return QStringLiteral("hostonly");
    case VMToolsMachine::OtherAdapter:
        return QStringLiteral("other");
    case VMToolsMachine::NoAdapter:
        break;
    }
    return QStringLiteral("none");
}

QString connection(VMToolsMachine::ConnectionType type)
{
    switch (type) {
    case VMToolsMachine::NatConnection:
        return QStringLiteral("nat");
    case VMToolsMachine::BridgedConnection:
        return QStringLiteral("bridged");
    case VMToolsMachine::UnknownConnection:
        break;
    }
    return QStringLiteral("unknown");
}

} // namespace ResultWords
