// SPDX-License-Identifier: Apache-2.0
#include "guestlimits.h"

#include <vmtools/vboxmanagecommon.h>

#include <QRegularExpression>

namespace {

unsigned int number(const QString &text, const QString &label)
{
    const QRegularExpression line(QStringLiteral("^%1:\\s+(\\d+)").arg(label),
                                  QRegularExpression::MultilineOption);
    return line.match(text).captured(1).toUInt();
}

// VirtualBox's bound where it gave one; the host may narrow the maximum further.
GuestLimits::Range within(unsigned int min, unsigned int max, unsigned int hostMax)
{
    GuestLimits::Range range;
    range.min = qMax(min, 1u);
    range.max = max > 0 ? qMin(max, hostMax) : hostMax;
    return range;
}

} // namespace

namespace GuestLimits {

Limits parse(const QString &systemProperties, unsigned int hostCpus, unsigned int hostMemory)
{
    Limits limits;
    limits.cpus =
        within(number(systemProperties, QStringLiteral("Minimum guest CPU count")),
               number(systemProperties, QStringLiteral("Maximum guest CPU count")), hostCpus);
    limits.memory =
        within(number(systemProperties, QStringLiteral("Minimum guest RAM size")),
               number(systemProperties, QStringLiteral("Maximum guest RAM size")), hostMemory);
    return limits;
}

Limits read(unsigned int hostCpus, unsigned int hostMemory)
{
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        QStringLiteral("VBoxManage"), {QStringLiteral("list"), QStringLiteral("systemproperties")},
        VBoxManageCommon::Silent);
    return parse(result.exitCode == 0 ? result.output : QString(), hostCpus, hostMemory);
}

QString problem(const QString &what, unsigned int value, const Range &range, const QString &unit)
{
    if (value >= range.min && value <= range.max)
        return QString();
    return QStringLiteral("%1 %2 is outside what VirtualBox and this host allow: %3 to %4%5")
        .arg(what)
        .arg(value)
        .arg(range.min)
        .arg(range.max)
        .arg(unit.isEmpty() ? QString() : QLatin1Char(' ') + unit);
}

} // namespace GuestLimits
