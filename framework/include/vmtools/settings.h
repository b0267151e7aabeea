// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vmtools/vmtools_export.h>

#include <QList>
#include <QSet>
#include <QSettings>
#include <QSharedPointer>
#include <QString>
#include <QVariant>

// Settings shared by the engine and the host: the user's store, and for a few keys an
// install store "quillomate.ini" beside the application that takes precedence.
namespace Settings {

class SettingsController
{
public:
    SettingsController();

    QList<QSharedPointer<QSettings>> layersFor(const QString &key) const;

    QSharedPointer<QSettings> applicationSettings;
    QList<QSharedPointer<QSettings>> userLayers;
    QList<QSharedPointer<QSettings>> installLayers;
    QSet<QString> installKeys;
};

VMTOOLS_EXPORT QVariant get(const QString &key, const QVariant &defaultValue = QVariant());
VMTOOLS_EXPORT void set(const QString &key, const QVariant &value);
VMTOOLS_EXPORT void remove(const QString &key);
VMTOOLS_EXPORT QSharedPointer<QSettings> getApplicationSettings();

} // namespace Settings
