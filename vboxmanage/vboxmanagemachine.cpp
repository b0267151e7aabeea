#include "vboxmanagemachine.h"

#include <vmtools/vboxmanagecommon.h>

#include <QDir>
#include <QRegExp>
#include <QRegularExpression>

#include <unistd.h>

namespace {

const QString UnknownAddress = QStringLiteral("0.0.0.0");

// VBoxManage refuses changes while another session holds the machine's lock;
// such locks are short-lived, so a few spaced attempts usually get through.
constexpr int ModifyAttempts = 6;
constexpr useconds_t ModifyRetryPauseUs = 500000;

// The first decimal number captured by pattern in text, if any.
bool findNumber(const QString &pattern, const QString &text, unsigned int *value)
{
    QRegExp expression(pattern);
    if (expression.indexIn(text) < 0)
        return false;
    *value = expression.cap(1).toUInt();
    return true;
}

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
    // \w+ keeps VirtualBox's own "/VirtualBox/..." keys out of the profile cache.
    static const QRegularExpression property(
        QStringLiteral("Name: (\\w+), value: (.*), timestamp:.*"));
    QRegularExpressionMatchIterator it = property.globalMatch(result.output);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        m_properties.insert(match.captured(1), match.captured(2));
    }
}

void VBoxManageMachine::loadCPUNumber(const QString &description)
{
    findNumber(QStringLiteral("Number of CPUs:\\s+(\\d+)"), description, &m_cpuCount);
}

void VBoxManageMachine::loadMemorySize(const QString &description)
{
    findNumber(QStringLiteral("Memory size:\\s+(\\d+).*"), description, &m_ram);
}

void VBoxManageMachine::loadStatus(const QString &description)
{
    m_onLoadStatus = parseStatus(description);
}

VBoxManageMachine::State VBoxManageMachine::parseStatus(const QString &description) const
{
    QRegExp stateLine(QStringLiteral("state:\\s+(.*) \\(since "), Qt::CaseInsensitive);
    if (stateLine.indexIn(description) < 0)
        return Process;
    const QString state = stateLine.cap(1).trimmed().toLower();
    if (state == QLatin1String("powered off"))
        return Off;
    if (state == QLatin1String("running"))
        return On;
    if (state == QLatin1String("paused"))
        return Paused;
    if (state == QLatin1String("aborted"))
        return Aborted;
    return Process;
}

void VBoxManageMachine::loadNIC(const QString &description)
{
    QRegExp nic(QStringLiteral("NIC (\\d+):\\s+MAC: [^,]+, Attachment: ([^,]+)"));
    int position = 0;
    while ((position = nic.indexIn(description, position)) >= 0) {
        m_nics.insert(nic.cap(1).toInt(), nic.cap(2));
        position += nic.matchedLength();
    }
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
