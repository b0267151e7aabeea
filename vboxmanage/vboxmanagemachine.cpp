#include "vboxmanagemachine.h"

VBoxManageMachine::VBoxManageMachine(const QString &uuid, const QString &name,
                                     const QString &vboxManagePath)
    : m_uuid(uuid)
    , m_name(name)
    , m_vboxManagePath(vboxManagePath)
    , m_ipAddress(QStringLiteral("0.0.0.0"))
{
}

VBoxManageMachine::~VBoxManageMachine() = default;

QString VBoxManageMachine::getPath() const
{
    return {};
}

void VBoxManageMachine::reloadProperties()
{
}

unsigned int VBoxManageMachine::getRAM() const
{
    return 0;
}

bool VBoxManageMachine::setRAM(unsigned int megabytes)
{
    return false;
}

unsigned int VBoxManageMachine::getCPUCount() const
{
    return 0;
}

bool VBoxManageMachine::setCPUCount(unsigned int count)
{
    return false;
}

QString VBoxManageMachine::getName() const
{
    return {};
}

void VBoxManageMachine::setName(const QString &name)
{
}

QString VBoxManageMachine::getUuid() const
{
    return {};
}

VBoxManageMachine::State VBoxManageMachine::getStatus() const
{
    return Unknown;
}

VBoxManageMachine::State VBoxManageMachine::getOnLoadStatus() const
{
    return Unknown;
}

void VBoxManageMachine::loadProperties()
{
}

void VBoxManageMachine::loadCPUNumber(const QString &description)
{
}

void VBoxManageMachine::loadMemorySize(const QString &description)
{
}

void VBoxManageMachine::loadStatus(const QString &description)
{
}

VBoxManageMachine::State VBoxManageMachine::parseStatus(const QString &description) const
{
    return Unknown;
}

void VBoxManageMachine::loadNIC(const QString &description)
{
}

bool VBoxManageMachine::modifyWithRetry(const QString &option, unsigned int value)
{
    return false;
}
