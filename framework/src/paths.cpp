// SPDX-License-Identifier: Apache-2.0
#include <vmtools/paths.h>

#include <QDebug>
#include <QDir>
#include <QtGlobal>

namespace {

QString baseFolder()
{
    const QString qmHome = QString::fromLocal8Bit(qgetenv("QM_HOME"));
    if (qmHome.isEmpty())
        return QDir::homePath();
    // An unusable QM_HOME is a configuration error the user must see: end the process.
    if (!QDir().mkpath(qmHome))
        qFatal("QM_HOME is set to '%s', but this directory cannot be created.",
               qmHome.toUtf8().constData());
    return QDir(qmHome).absolutePath();
}

Q_GLOBAL_STATIC(Paths::PathInfo, pathInfo)

const Paths::PathInfo &instance()
{
    const Paths::PathInfo *info = pathInfo();
    if (!info)
        qFatal("Paths used after their destruction at exit");
    return *info;
}

} // namespace

namespace Paths {

PathInfo::PathInfo()
    : organizationPath(baseFolder() + QStringLiteral("/.Brellstock"))
    , quillomatePath(organizationPath + QStringLiteral("/") + QStringLiteral("Quillomate"))
{
    // Unlike QM_HOME, a failure under the default location is only reported.
    if (!QDir().mkpath(quillomatePath))
        qCritical() << "Failed to create" << quillomatePath << "things may go wrong";
}

QString getOrganizationPath()
{
    return instance().organizationPath;
}

QString getQuillomatePath()
{
    return instance().quillomatePath;
}

} // namespace Paths
