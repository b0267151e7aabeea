// SPDX-License-Identifier: Apache-2.0
#include "versionreport.h"

#include <vmtools/vboxmanagecommon.h>
#include <vmtools/version.h>

#include <QFileInfo>
#include <QJsonValue>
#include <QRegularExpression>
#include <QStringList>

namespace {

const QString PluginName = QStringLiteral("vboxmanage");

bool pluginExists(const QString &folder)
{
    return QFileInfo::exists(folder + QStringLiteral("lib") + PluginName + QStringLiteral(".so")) ||
           QFileInfo::exists(folder + PluginName + QStringLiteral(".so"));
}

QString virtualBoxVersion(const QString &vboxManage)
{
    // Silent: --version has no log to write to; a missing VBoxManage is the answer itself.
    const VBoxManageCommon::CallResult result =
        VBoxManageCommon::call(vboxManage, {QStringLiteral("--version")}, VBoxManageCommon::Silent);
    return result.exitCode == 0 ? VersionReport::versionLine(result.output) : QString();
}

QJsonValue orNull(const QString &value)
{
    return value.isNull() ? QJsonValue(QJsonValue::Null) : QJsonValue(value);
}

} // namespace

namespace VersionReport {

Versions read(const QString &pluginFolder, const QString &vboxManage)
{
    const QString version = QStringLiteral(VMTOOLS_VERSION_STRING);
    return {version, pluginExists(pluginFolder) ? version : QString(),
            virtualBoxVersion(vboxManage)};
}

QString versionLine(const QString &output)
{
    static const QRegularExpression release(QStringLiteral("^\\d+\\.\\d+\\.\\d+\\S*$"));
    const QStringList lines = output.split(QLatin1Char('\n'));
    for (auto line = lines.crbegin(); line != lines.crend(); ++line) {
        const QString text = line->trimmed();
        if (release.match(text).hasMatch())
            return text;
    }
    return QString();
}

QString text(const Versions &versions)
{
    const auto line = [](const QString &what, const QString &version) {
        return version.isNull() ? what + QStringLiteral(": not found\n")
                                : what + QLatin1Char(' ') + version + QLatin1Char('\n');
    };
    return line(QStringLiteral("vmtools"), versions.vmtools) +
           line(QStringLiteral("plug-in ") + PluginName, versions.plugin) +
           line(QStringLiteral("VirtualBox"), versions.virtualBox);
}

QJsonObject json(const Versions &versions)
{
    return {{QStringLiteral("version"), versions.vmtools},
            {QStringLiteral("pluginVersion"), orNull(versions.plugin)},
            {QStringLiteral("virtualBoxVersion"), orNull(versions.virtualBox)}};
}

} // namespace VersionReport
