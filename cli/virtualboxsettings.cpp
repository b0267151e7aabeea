// SPDX-License-Identifier: Apache-2.0
#include "virtualboxsettings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>

#include <functional>

namespace {

QString settingsPath()
{
    return VirtualBoxSettings::folder() + QStringLiteral("/VirtualBox.xml");
}

// Calls `element` with each start element of the file; false when the file cannot be opened
// or is not well-formed, or `element` says to stop.
bool readElements(const std::function<bool(const QXmlStreamReader &)> &element)
{
    QFile file(settingsPath());
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement && !element(xml))
            return false;
    }
    return !xml.hasError();
}

// One server as VirtualBox 5.2 lists it; false when an address is missing.
bool appendServer(const QXmlStreamAttributes &attributes, QString *text)
{
    const auto value = [&](const char *name) {
        return attributes.value(QLatin1String(name)).toString();
    };
    const QString fields[] = {value("networkName"), value("IPAddress"), value("networkMask"),
                              value("lowerIP"), value("upperIP")};
    for (const QString &field : fields) {
        if (field.isEmpty())
            return false;
    }
    const QString enabled = value("enabled");
    const bool on = enabled == QLatin1String("1") || enabled == QLatin1String("true");
    *text += QStringLiteral("NetworkName:    %1\nIP:             %2\nNetworkMask:    %3\n"
                            "lowerIPAddress: %4\nupperIPAddress: %5\nEnabled:        %6\n\n")
                 .arg(fields[0], fields[1], fields[2], fields[3], fields[4],
                      on ? QStringLiteral("Yes") : QStringLiteral("No"));
    return true;
}

} // namespace

namespace VirtualBoxSettings {

QString folder()
{
    const QString chosen = QString::fromLocal8Bit(qgetenv("VBOX_USER_HOME"));
    if (!chosen.isEmpty())
        return chosen;
    const QString legacy = QDir::homePath() + QStringLiteral("/.VirtualBox");
    if (QFileInfo::exists(legacy + QStringLiteral("/VirtualBox.xml")))
        return legacy;
    return QDir::homePath() + QStringLiteral("/.config/VirtualBox");
}

QHash<QString, QString> registeredFiles()
{
    const QDir home(folder());
    QHash<QString, QString> files;
    const bool read = readElements([&](const QXmlStreamReader &xml) {
        if (xml.name() != QLatin1String("MachineEntry"))
            return true;
        const QXmlStreamAttributes attributes = xml.attributes();
        QString uuid = attributes.value(QStringLiteral("uuid")).toString();
        uuid.remove(QLatin1Char('{')).remove(QLatin1Char('}'));
        // A relative source is relative to VirtualBox's folder.
        files.insert(uuid.toLower(),
                     home.absoluteFilePath(attributes.value(QStringLiteral("src")).toString()));
        return true;
    });
    return read ? files : QHash<QString, QString>();
}

bool dhcpServersText(QString *text)
{
    QString servers;
    if (!readElements([&](const QXmlStreamReader &xml) {
            return xml.name() != QLatin1String("DHCPServer") ||
                   appendServer(xml.attributes(), &servers);
        }))
        return false;
    *text = servers;
    return true;
}

} // namespace VirtualBoxSettings
