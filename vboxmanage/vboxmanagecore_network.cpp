#include "vboxmanagecore.h"

void VBoxManageCore::checkAndCreateVboxInterface()
{
}

QList<VBoxManageCore::DhcpServerInfo> VBoxManageCore::getAvailableDhcpServerList()
{
    return {};
}

bool VBoxManageCore::checkIfInterfaceHasValidDhcp(const InterfaceInfo &iface, const DhcpServerInfo &server)
{
    return false;
}

bool VBoxManageCore::findHostOnlyInterface()
{
    return false;
}

VBoxManageCore::InterfaceInfo VBoxManageCore::getSavedHostOnlyInterface()
{
    return {};
}

LoadStateInfo VBoxManageCore::createHostOnlyInterface()
{
    return {};
}

bool VBoxManageCore::deleteHostOnlyInterface(const QString &name)
{
    return false;
}

bool VBoxManageCore::deleteHostOnlyInterface()
{
    return false;
}

bool VBoxManageCore::isCompatible(const QString &machine) const
{
    return false;
}
