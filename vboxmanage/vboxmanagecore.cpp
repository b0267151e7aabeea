#include "vboxmanagecore.h"

VBoxManageCore::VBoxManageCore()
    : m_vboxManagePath(QStringLiteral("VBoxManage"))
{
}

VBoxManageCore::~VBoxManageCore() = default;

bool VBoxManageCore::shutdown()
{
    return false;
}

QString VBoxManageCore::version()
{
    return {};
}

bool VBoxManageCore::isSystemReady() const
{
    return false;
}

QString VBoxManageCore::getAdapterName() const
{
    return {};
}

unsigned int VBoxManageCore::getMaxCpuCount()
{
    return 0;
}

unsigned int VBoxManageCore::getMaxMemory()
{
    return 0;
}

QString VBoxManageCore::getDataDiskName() const
{
    return {};
}

QString VBoxManageCore::getSDCardDiskName() const
{
    return {};
}

void VBoxManageCore::loadMaxCPUNumber(const QString &hostinfo)
{
}

void VBoxManageCore::loadMaxMemorySize(const QString &hostinfo)
{
}
