// SPDX-License-Identifier: Apache-2.0
#include "profilekeys.h"

#include <vmtools/vmtoolsmachine.h>

#include <QDateTime>
#include <QRegularExpression>

namespace {

using Machine = VMToolsMachine;
using Reader = std::function<QVariant(Machine &)>;

// Where the machine answers a made-up default for a value it does not have (a resolution,
// a density, a device id), the value reads as unknown: a null QVariant.
Reader unlessMissing(const QString &property, Reader read)
{
    return [property, read](Machine &m) {
        const QString missing = QStringLiteral("\u0001");
        return m.getData(property, missing) == missing ? QVariant() : read(m);
    };
}

ProfileKey readUnlessMissing(ProfileKey key, const QString &property)
{
    key.read = unlessMissing(property, key.read);
    return key;
}

ProfileKey textKey(const QString &name, const QString &meaning, QString (Machine::*getter)() const,
                   void (Machine::*setter)(const QString &))
{
    ProfileKey key{name, meaning, ProfileKey::Text, {}, {}};
    key.read = [getter](Machine &m) {
        return QVariant((m.*getter)());
    };
    if (setter) {
        key.write = [getter, setter](Machine &m, const QVariant &v) {
            (m.*setter)(v.toString());
            return (m.*getter)() == v.toString();
        };
    }
    return key;
}

// The four product getters that the interface declares non-const.
ProfileKey mutableTextKey(const QString &name, const QString &meaning, QString (Machine::*getter)(),
                          void (Machine::*setter)(const QString &))
{
    ProfileKey key{name, meaning, ProfileKey::Text, {}, {}};
    key.read = [getter](Machine &m) {
        return QVariant((m.*getter)());
    };
    key.write = [getter, setter](Machine &m, const QVariant &v) {
        (m.*setter)(v.toString());
        return (m.*getter)() == v.toString();
    };
    return key;
}

ProfileKey checkedTextKey(const QString &name, const QString &meaning,
                          QString (Machine::*getter)() const,
                          bool (Machine::*setter)(const QString &))
{
    ProfileKey key{name, meaning, ProfileKey::Text, {}, {}};
    key.read = [getter](Machine &m) {
        return QVariant((m.*getter)());
    };
    key.write = [setter](Machine &m, const QVariant &v) {
        return (m.*setter)(v.toString());
    };
    return key;
}

ProfileKey flagKey(const QString &name, const QString &meaning, bool (Machine::*getter)() const,
                   void (Machine::*setter)(bool))
{
    ProfileKey key{name, meaning, ProfileKey::Flag, {}, {}};
    key.read = [getter](Machine &m) {
        return QVariant((m.*getter)());
    };
    key.write = [getter, setter](Machine &m, const QVariant &v) {
        (m.*setter)(v.toBool());
        return (m.*getter)() == v.toBool();
    };
    return key;
}

ProfileKey checkedFlagKey(const QString &name, const QString &meaning,
                          bool (Machine::*getter)() const, bool (Machine::*setter)(bool))
{
    ProfileKey key{name, meaning, ProfileKey::Flag, {}, {}};
    key.read = [getter](Machine &m) {
        return QVariant((m.*getter)());
    };
    key.write = [setter](Machine &m, const QVariant &v) {
        return (m.*setter)(v.toBool());
    };
    return key;
}

ProfileKey countKey(const QString &name, const QString &meaning,
                    unsigned int (Machine::*getter)() const, bool (Machine::*setter)(unsigned int))
{
    ProfileKey key{name, meaning, ProfileKey::Count, {}, {}};
    // Every machine has processors and memory: 0 means VirtualBox could not say.
    key.read = [getter](Machine &m) {
        const unsigned int value = (m.*getter)();
        return value == 0 ? QVariant() : QVariant(value);
    };
    key.write = [setter](Machine &m, const QVariant &v) {
        return (m.*setter)(v.toUInt());
    };
    return key;
}

ProfileKey resolutionKey()
{
    ProfileKey key{QStringLiteral("resolution"),
                   QStringLiteral("screen size, WIDTHxHEIGHT"),
                   ProfileKey::Resolution,
                   {},
                   {}};
    key.read = unlessMissing(QStringLiteral("vbox_graph_mode"), [](Machine &m) {
        const QSize size = m.getResolution();
        return size.isEmpty() ? QVariant() : QVariant(size); // a mode the guest cannot use
    });
    key.write = [](Machine &m, const QVariant &v) {
        m.setResolution(v.toSize());
        return m.getResolution() == v.toSize();
    };
    return key;
}

ProfileKey densityKey()
{
    // Stored as text; shown as a number, written only as one.
    ProfileKey key{QStringLiteral("density"),
                   QStringLiteral("screen density in dpi"),
                   ProfileKey::Count,
                   {},
                   {}};
    key.read = unlessMissing(QStringLiteral("vbox_dpi"),
                             [](Machine &m) { return QVariant(m.getDensity().toUInt()); });
    key.write = [](Machine &m, const QVariant &v) {
        const QString text = QString::number(v.toUInt());
        m.setDensity(text);
        return m.getDensity() == text;
    };
    return key;
}

ProfileKey readOnlyKey(const QString &name, const QString &meaning, ProfileKey::Kind kind,
                       std::function<QVariant(Machine &)> read)
{
    return ProfileKey{name, meaning, kind, std::move(read), {}};
}

QList<ProfileKey> buildKeys()
{
    const auto S = [](const char *text) {
        return QString::fromLatin1(text);
    };
    return {
        resolutionKey(),
        densityKey(),
        flagKey(S("full-screen"), S("start in full screen"), &Machine::isFullScreen,
                &Machine::setFullScreen),
        flagKey(S("navigation-bar"), S("show the navigation bar"),
                &Machine::getNavigationBarVisibility, &Machine::setNavigationBarVisibility),
        flagKey(S("virtual-keyboard"), S("use the on-screen keyboard"),
                &Machine::getVirtualKeyboardOption, &Machine::setVirtualKeyboardOption),
        flagKey(S("camera"), S("camera sensor available"), &Machine::getCameraSensorAvailability,
                &Machine::setCameraSensorAvailability),
        flagKey(S("gyroscope"), S("gyroscope sensor available"),
                &Machine::getGyroSensorAvailability, &Machine::setGyroSensorAvailability),
        checkedFlagKey(S("hx"), S("hardware graphics acceleration"), &Machine::isHX,
                       &Machine::setHX),
        checkedFlagKey(S("full-hx"), S("full hardware graphics acceleration"), &Machine::isFullHX,
                       &Machine::setFullHX),
        countKey(S("cpus"), S("number of processors"), &Machine::getCPUCount,
                 &Machine::setCPUCount),
        countKey(S("memory"), S("memory in MB"), &Machine::getRAM, &Machine::setRAM),
        readUnlessMissing(textKey(S("device-id"), S("Android device id"), &Machine::getDeviceId,
                                  &Machine::setDeviceId),
                          S("quillomate_device_id")),
        textKey(S("product-name"), S("product name"), &Machine::getProductName,
                &Machine::setProductName),
        textKey(S("product-model"), S("product model"), &Machine::getProductModel,
                &Machine::setProductModel),
        textKey(S("product-manufacturer"), S("product manufacturer"),
                &Machine::getProductManufacturer, &Machine::setProductManufacturer),
        textKey(S("product-brand"), S("product brand"), &Machine::getProductBrand,
                &Machine::setProductBrand),
        textKey(S("product-board"), S("product board"), &Machine::getProductBoard,
                &Machine::setProductBoard),
        textKey(S("product-device"), S("product device"), &Machine::getProductDevice,
                &Machine::setProductDevice),
        textKey(S("build-display-id"), S("build display id"), &Machine::getBuildDisplayId,
                &Machine::setBuildDisplayId),
        mutableTextKey(S("serial"), S("product serial number"), &Machine::getProductSerial,
                       &Machine::setProductSerial),
        mutableTextKey(S("build-type"), S("build type"), &Machine::getProductType,
                       &Machine::setProductType),
        mutableTextKey(S("fingerprint"), S("build fingerprint"), &Machine::getProductFingerPrint,
                       &Machine::setProductFingerPrint),
        mutableTextKey(S("build-tags"), S("build tags"), &Machine::getProductTags,
                       &Machine::setProductTags),
        checkedTextKey(S("android-version"), S("Android version"), &Machine::getAndroidVersion,
                       &Machine::setAndroidVersion),
        checkedTextKey(S("platform"), S("platform"), &Machine::getPlatform, &Machine::setPlatform),
        checkedTextKey(S("quillomate-version"), S("version of the device image"),
                       &Machine::getQuillomateVersion, &Machine::setQuillomateVersion),
        textKey(S("build-version-release"), S("Android release of the build"),
                &Machine::getBuildVersionRelease, nullptr),
        textKey(S("template-uuid"), S("template the device was made from"),
                &Machine::getTemplateUuid, nullptr),
        readOnlyKey(S("data-disk-size"), S("data disk size"), ProfileKey::Count,
                    unlessMissing(S("datadisk_size"),
                                  [](Machine &m) { return QVariant(m.getDataDiskSize()); })),
        readOnlyKey(S("device-version"), S("device image version"), ProfileKey::Count,
                    unlessMissing(S("quillomate_device_version"),
                                  [](Machine &m) { return QVariant(m.getDeviceVersion()); })),
        readOnlyKey(S("release-date"), S("release date of the device image"), ProfileKey::Text,
                    [](Machine &m) {
                        const QDateTime date = m.getReleaseDate();
                        return date.isValid() ? QVariant(date.toString(Qt::ISODate)) : QVariant();
                    }),
    };
}

} // namespace

namespace ProfileKeys {

const QList<ProfileKey> &all()
{
    static const QList<ProfileKey> keys = buildKeys();
    return keys;
}

const ProfileKey *find(const QString &name)
{
    for (const ProfileKey &key : all()) {
        if (key.name == name)
            return &key;
    }
    return nullptr;
}

QStringList names(bool writableOnly)
{
    QStringList result;
    for (const ProfileKey &key : all()) {
        if (!writableOnly || key.write)
            result.append(key.name);
    }
    return result;
}

bool parseFlag(const QString &text, bool *value)
{
    const QString word = text.trimmed().toLower();
    static const QStringList yes{"on", "yes", "true", "1"};
    static const QStringList no{"off", "no", "false", "0"};
    if (yes.contains(word))
        *value = true;
    else if (no.contains(word))
        *value = false;
    else
        return false;
    return true;
}

bool parseResolution(const QString &text, QSize *size)
{
    static const QRegularExpression pattern(QStringLiteral("^([0-9]{1,5})x([0-9]{1,5})$"));
    const QRegularExpressionMatch match = pattern.match(text.trimmed());
    if (!match.hasMatch())
        return false;
    const int width = match.captured(1).toInt();
    const int height = match.captured(2).toInt();
    if (width <= 0 || height <= 0)
        return false;
    *size = QSize(width, height);
    return true;
}

bool parseCount(const QString &text, unsigned int *value)
{
    static const QRegularExpression digits(QStringLiteral("^[0-9]{1,9}$"));
    if (!digits.match(text).hasMatch())
        return false;
    const unsigned int number = text.toUInt();
    if (number == 0)
        return false;
    *value = number;
    return true;
}

bool parse(const ProfileKey &key, const QString &text, QVariant *value, QString *error)
{
    switch (key.kind) {
    case ProfileKey::Flag: {
        bool flag = false;
        if (!parseFlag(text, &flag)) {
            *error = QStringLiteral("%1 takes on or off, not \"%2\"").arg(key.name, text);
            return false;
        }
        *value = flag;
        return true;
    }
    case ProfileKey::Resolution: {
        QSize size;
        if (!parseResolution(text, &size)) {
            *error = QStringLiteral("%1 takes WIDTHxHEIGHT, for example 1080x1920, not \"%2\"")
                         .arg(key.name, text);
            return false;
        }
        *value = size;
        return true;
    }
    case ProfileKey::Count: {
        unsigned int number = 0;
        if (!parseCount(text, &number)) {
            *error =
                QStringLiteral("%1 takes a positive whole number, not \"%2\"").arg(key.name, text);
            return false;
        }
        *value = number;
        return true;
    }
    case ProfileKey::Text:
        break;
    }
    *value = text;
    return true;
}

QString displayText(const ProfileKey &key, const QVariant &value)
{
    if (!value.isValid())
        return QString();
    switch (key.kind) {
    case ProfileKey::Flag:
        return value.toBool() ? QStringLiteral("on") : QStringLiteral("off");
    case ProfileKey::Resolution: {
        const QSize size = value.toSize();
        return QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
    }
    case ProfileKey::Count:
        return QString::number(value.toUInt());
    case ProfileKey::Text:
        break;
    }
    return value.toString();
}

QJsonValue jsonValue(const ProfileKey &key, const QVariant &value)
{
    if (!value.isValid())
        return QJsonValue::Null;
    switch (key.kind) {
    case ProfileKey::Flag:
        return value.toBool();
    case ProfileKey::Count:
        return static_cast<double>(value.toUInt());
    case ProfileKey::Resolution:
    case ProfileKey::Text:
        break;
    }
    const QString text = displayText(key, value);
    return text.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

QString jsonName(const ProfileKey &key)
{
    const QStringList words = key.name.split(QLatin1Char('-'));
    QString name = words.constFirst();
    for (const QString &word : words.mid(1))
        name += word.left(1).toUpper() + word.mid(1);
    return name;
}

} // namespace ProfileKeys
