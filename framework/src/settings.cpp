// SPDX-License-Identifier: Apache-2.0
#include <vmtools/settings.h>

#include "filestamp.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QHash>
#include <QMutex>

namespace {

const QString Organization = QStringLiteral("Brellstock");
const QString Application = QStringLiteral("Quillomate");
const QString InstallFileName = QStringLiteral("quillomate.ini");
const QString HostOnlyInterfaceKey = QStringLiteral("host.only.interface");

QSharedPointer<QSettings> newUserStore()
{
    return QSharedPointer<QSettings>::create(QSettings::NativeFormat, QSettings::UserScope,
                                             Organization, Application);
}

Q_GLOBAL_STATIC(Settings::SettingsController, controllerInstance)

Settings::SettingsController &controller()
{
    Settings::SettingsController *c = controllerInstance();
    if (!c)
        qFatal("Settings used after their destruction at exit");
    return *c;
}

bool holdsValue(const QVariant &value)
{
    return value.isValid() && !value.toString().isEmpty();
}

// The desktop application and vmtools share these files: a store takes in what another
// process wrote since this one last read it. QSettings::sync finds that out too, but only
// after a score of file look-ups (the fallback files of the organization and the system,
// and a time-zone look-up for each time stamp), on every read; one stat of the store's own
// file is enough, as no process of the family writes anywhere else. A change made only to
// a fallback file is taken in with the next change of the store's own file.
void takeInChanges(QSettings &store)
{
    // Never destroyed: a read at exit, while the stores still exist, must not find these gone.
    static QMutex *const mutex = new QMutex;
    static auto *const readAt = new QHash<const QSettings *, FileStamp>;
    // Stamped before the read: a write that lands during it shows as a change next time.
    const FileStamp now = FileStamp::of(store.fileName());
    {
        QMutexLocker locker(mutex);
        const auto known = readAt->constFind(&store);
        if (known != readAt->cend() && *known == now)
            return;
    }
    store.sync();
    QMutexLocker locker(mutex);
    readAt->insert(&store, now);
}

} // namespace

namespace Settings {

SettingsController::SettingsController()
    : applicationSettings(newUserStore())
{
    userLayers.append(applicationSettings);

    const QString installPath =
        QCoreApplication::applicationDirPath() + QDir::separator() + InstallFileName;
    auto installStore = QSharedPointer<QSettings>::create(installPath, QSettings::IniFormat);
    installStore->sync();
    if (installStore->status() != QSettings::NoError) {
        qWarning().noquote() << QStringLiteral(
                                    "Cannot init install path settings (status=%1) \"%2\"")
                                    .arg(installStore->status())
                                    .arg(installStore->fileName());
        return;
    }
    installLayers = {installStore, applicationSettings};
    installKeys = {HostOnlyInterfaceKey};
}

QList<QSharedPointer<QSettings>> SettingsController::layersFor(const QString &key) const
{
    return installKeys.contains(key) ? installLayers : userLayers;
}

QVariant get(const QString &key, const QVariant &defaultValue)
{
    const QList<QSharedPointer<QSettings>> layers = controller().layersFor(key);
    QVariant found;
    int synced = 0;
    for (const auto &layer : layers) {
        takeInChanges(*layer);
        ++synced;
        const QVariant value = layer->value(key);
        if (holdsValue(value)) {
            found = value;
            break;
        }
    }
    // Write-back: a value preset by the installer migrates into the user's store. A layer
    // that already holds the value is left as it is, so that steady reads neither rewrite
    // nor sync again a file that was just taken in.
    if (layers.size() >= 2) {
        for (int i = 0; i < layers.size(); ++i) {
            const QSharedPointer<QSettings> &layer = layers.at(i);
            if (i >= synced)
                takeInChanges(*layer);
            if (layer->contains(key) && layer->value(key) == found)
                continue;
            layer->setValue(key, found);
            layer->sync();
        }
    }
    return found.isValid() ? found : defaultValue;
}

void set(const QString &key, const QVariant &value)
{
    for (const auto &layer : controller().layersFor(key)) {
        layer->setValue(key, value);
        layer->sync();
    }
}

void remove(const QString &key)
{
    for (const auto &layer : controller().layersFor(key)) {
        layer->remove(key);
        layer->sync();
    }
}

QSharedPointer<QSettings> getApplicationSettings()
{
    SettingsController &c = controller();
    if (!c.applicationSettings)
        c.applicationSettings = newUserStore();
    return c.applicationSettings;
}

} // namespace Settings
