// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QJsonValue>
#include <QList>
#include <QSize>
#include <QString>
#include <QVariant>

#include <functional>

class VMToolsMachine;

// The device profile by natural names ("resolution", "full-screen", "cpus"...), as
// "vmtools get" and "vmtools set" take them.
struct ProfileKey
{
    enum Kind { Text, Flag, Resolution, Count };

    QString name;
    QString meaning;
    Kind kind = Text;
    std::function<QVariant(VMToolsMachine &)> read;
    // Null for read-only values. True when the machine took the value: setters that
    // report nothing are judged by reading the value back from the machine's cache,
    // which the machine updates only when VirtualBox accepted the write.
    std::function<bool(VMToolsMachine &, const QVariant &)> write;
};

namespace ProfileKeys {

const QList<ProfileKey> &all();
const ProfileKey *find(const QString &name);
QStringList names(bool writableOnly);

// Text from the command line to a value of the key's kind; false with the reason.
bool parse(const ProfileKey &key, const QString &text, QVariant *value, QString *error);
// A null value is one the machine could not give: empty text, and null in JSON.
QString displayText(const ProfileKey &key, const QVariant &value);
QJsonValue jsonValue(const ProfileKey &key, const QVariant &value);
// The key's name in JSON output: "full-screen" is "fullScreen".
QString jsonName(const ProfileKey &key);

// "on", "off", "yes", "no", "true", "false", "1", "0", in any letter case.
bool parseFlag(const QString &text, bool *value);
// WIDTHxHEIGHT, both positive, for example 1080x1920.
bool parseResolution(const QString &text, QSize *size);
// A positive decimal number.
bool parseCount(const QString &text, unsigned int *value);

} // namespace ProfileKeys
