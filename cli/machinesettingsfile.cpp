// SPDX-License-Identifier: Apache-2.0
#include "machinesettingsfile.h"

#include <QFile>
#include <QStringList>
#include <QXmlStreamReader>

namespace {

// Where the machine's own properties are; a snapshot keeps its own Hardware below Snapshot.
const QStringList PropertyPath{QStringLiteral("VirtualBox"), QStringLiteral("Machine"),
                               QStringLiteral("Hardware"), QStringLiteral("GuestProperties"),
                               QStringLiteral("GuestProperty")};

bool isMachine(const QXmlStreamReader &xml, const QStringList &path, const QString &uuid)
{
    return path.size() == 2 && path.at(1) == PropertyPath.at(1) &&
           xml.attributes().value(QStringLiteral("uuid")) == QStringLiteral("{%1}").arg(uuid);
}

MachineSettingsFile::GuestProperty property(const QXmlStreamReader &xml)
{
    const QXmlStreamAttributes attributes = xml.attributes();
    return {attributes.value(QStringLiteral("name")).toString(),
            attributes.value(QStringLiteral("value")).toString(),
            attributes.value(QStringLiteral("timestamp")).toString(),
            attributes.value(QStringLiteral("flags")).toString()};
}

} // namespace

namespace MachineSettingsFile {

bool guestProperties(const QString &path, const QString &uuid, QList<GuestProperty> *properties)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QXmlStreamReader xml(&file);
    QStringList at;
    bool machine = false;
    QList<GuestProperty> found;
    while (!xml.atEnd()) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (token == QXmlStreamReader::StartElement) {
            at.append(xml.name().toString());
            machine = machine || isMachine(xml, at, uuid);
            if (at == PropertyPath)
                found.append(property(xml));
        } else if (token == QXmlStreamReader::EndElement) {
            at.removeLast();
        }
    }
    if (xml.hasError() || !machine)
        return false;
    *properties = found;
    return true;
}

QString enumerateText(const QList<GuestProperty> &properties)
{
    QString text;
    for (const GuestProperty &p : properties)
        text += QStringLiteral("Name: %1, value: %2, timestamp: %3, flags: %4\n")
                    .arg(p.name, p.value, p.timestamp, p.flags);
    return text;
}

} // namespace MachineSettingsFile
