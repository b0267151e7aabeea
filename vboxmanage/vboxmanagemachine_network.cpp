#include "vboxmanagemachine.h"

bool VBoxManageMachine::resetIP()
{
    return false;
}

QString VBoxManageMachine::waitForIP()
{
    return {};
}

QString VBoxManageMachine::getIPAddress() const
{
    return {};
}

QString VBoxManageMachine::getAdbSerial() const
{
    return {};
}

VBoxManageMachine::AdapterType VBoxManageMachine::getAdapterType(unsigned int adapter) const
{
    return NoAdapter;
}

bool VBoxManageMachine::setAdapterType(unsigned int adapter, AdapterType type, const QString &interfaceName)
{
    return false;
}

VBoxManageMachine::ConnectionInfo VBoxManageMachine::getConnectionInfo() const
{
    return ConnectionInfo::createUnknownConnectionInfo();
}

bool VBoxManageMachine::setConnectionInfo(const ConnectionInfo &info)
{
    return false;
}

QStringList VBoxManageMachine::getBridgeableInterfaces() const
{
    return {};
}
