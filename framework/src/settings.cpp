// SPDX-License-Identifier: Apache-2.0
#include <vmtools/settings.h>

#include <QCoreApplication>
#include <QDebug>
#include <QDir>

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
        // The desktop application and vmtools share these files: take in what the other
        // wrote since (QSettings reads a file again only when its size or time changed).
        layer->sync();
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
                layer->sync();
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
