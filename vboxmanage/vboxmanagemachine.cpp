// SPDX-License-Identifier: Apache-2.0
#include "vboxmanagemachine.h"

#include "vboxoutputparser.h"

#include <vmtools/vboxmanagecommon.h>

#include <QDir>
#include <QRegExp>

#include <unistd.h>

namespace {

const QString UnknownAddress = QStringLiteral("0.0.0.0");

// VBoxManage refuses changes while another session holds the machine's lock;
// such locks are short-lived, so a few spaced attempts usually get through.
constexpr int ModifyAttempts = 6;
constexpr useconds_t ModifyRetryPauseUs = 500000;

} // namespace

VBoxManageMachine::VBoxManageMachine(const QString &uuid, const QString &name,
                                     const QString &vboxManagePath)
    : m_uuid(uuid)
    , m_name(name)
    , m_vboxManagePath(vboxManagePath)
    , m_ipAddress(UnknownAddress)
{
    loadProperties();
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath, {QStringLiteral("showvminfo"), m_name}, VBoxManageCommon::WaitForever);
    if (result.exitCode != 0)
        return;
    loadNIC(result.output);
    loadCPUNumber(result.output);
    loadMemorySize(result.output);
    loadStatus(result.output);
}

VBoxManageMachine::~VBoxManageMachine() = default;

QString VBoxManageMachine::getPath() const
{
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath, {QStringLiteral("showvminfo"), m_name}, VBoxManageCommon::WaitForever);
    if (result.exitCode != 0)
        return {};
    QRegExp configFile(QStringLiteral("Config file:\\s+([^\\n]+)\\n"));
    if (configFile.indexIn(result.output) < 0)
        return {};
    // The settings file sits directly in the machine's folder.
    return QDir(configFile.cap(1).trimmed() + QStringLiteral("/../")).absolutePath();
}

void VBoxManageMachine::reloadProperties()
{
    m_properties = QMap<QString, QString>();
    loadProperties();
}

unsigned int VBoxManageMachine::getRAM() const
{
    return m_ram;
}

bool VBoxManageMachine::setRAM(unsigned int megabytes)
{
    if (!modifyWithRetry(QStringLiteral("--memory"), megabytes))
        return false;
    m_ram = megabytes;
    return true;
}

unsigned int VBoxManageMachine::getCPUCount() const
{
    return m_cpuCount;
}

bool VBoxManageMachine::setCPUCount(unsigned int count)
{
    if (!modifyWithRetry(QStringLiteral("--cpus"), count))
        return false;
    m_cpuCount = count;
    return true;
}

QString VBoxManageMachine::getName() const
{
    return m_name;
}

void VBoxManageMachine::setName(const QString &name)
{
    m_name = name;
}

QString VBoxManageMachine::getUuid() const
{
    return m_uuid;
}

VBoxManageMachine::State VBoxManageMachine::getStatus() const
{
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath, {QStringLiteral("showvminfo"), m_name}, VBoxManageCommon::WaitForever);
    if (result.exitCode != 0)
        return Off;
    return parseStatus(result.output);
}

VBoxManageMachine::State VBoxManageMachine::getOnLoadStatus() const
{
    return m_onLoadStatus;
}

void VBoxManageMachine::loadProperties()
{
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath, {QStringLiteral("guestproperty"), QStringLiteral("enumerate"), m_name},
        VBoxManageCommon::WaitForever);
    if (result.exitCode != 0)
        return;
    for (const QPair<QString, QString> &property :
         VBoxOutputParser::parseGuestProperties(result.output))
        m_properties.insert(property.first, property.second);
}

void VBoxManageMachine::loadCPUNumber(const QString &description)
{
    VBoxOutputParser::parseCpuCount(description, &m_cpuCount);
}

void VBoxManageMachine::loadMemorySize(const QString &description)
{
    VBoxOutputParser::parseMemorySize(description, &m_ram);
}

void VBoxManageMachine::loadStatus(const QString &description)
{
    m_onLoadStatus = parseStatus(description);
}

VBoxManageMachine::State VBoxManageMachine::parseStatus(const QString &description) const
{
    return VBoxOutputParser::parseState(description);
}

void VBoxManageMachine::loadNIC(const QString &description)
{
    const QMap<int, QString> nics = VBoxOutputParser::parseNics(description);
    for (auto it = nics.cbegin(); it != nics.cend(); ++it)
        m_nics.insert(it.key(), it.value());
}

bool VBoxManageMachine::modifyWithRetry(const QString &option, unsigned int value)
{
    const QStringList arguments{QStringLiteral("modifyvm"), m_name, option, QString::number(value)};
    for (int attempt = 0; attempt < ModifyAttempts; ++attempt) {
        if (VBoxManageCommon::call(m_vboxManagePath, arguments, VBoxManageCommon::WaitForever)
                .exitCode == 0)
            return true;
        usleep(ModifyRetryPauseUs);
    }
    return false;
}
