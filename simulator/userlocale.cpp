// SPDX-License-Identifier: Apache-2.0
#include "userlocale.h"

#include <QByteArray>
#include <initializer_list>

namespace VBoxSim::UserLocale {

namespace {

QByteArray firstSet(std::initializer_list<const char *> names)
{
    for (const char *name : names) {
        const QByteArray value = qgetenv(name);
        if (!value.isEmpty())
            return value;
    }
    return QByteArray();
}

} // namespace

QString messageLanguage()
{
    const QByteArray value = firstSet({"LC_ALL", "LC_MESSAGES", "LANG"});
    const QString language = QString::fromLatin1(value).section('.', 0, 0).section('@', 0, 0);
    return language.isEmpty() || language == QLatin1String("POSIX") ? QStringLiteral("C")
                                                                    : language;
}

bool utf8CharacterSet()
{
    const QByteArray value = firstSet({"LC_ALL", "LC_CTYPE", "LANG"});
    const int dot = value.indexOf('.');
    if (dot < 0)
        return false;
    QByteArray codeset = value.mid(dot + 1).toLower();
    const int at = codeset.indexOf('@');
    if (at >= 0)
        codeset.truncate(at);
    return codeset == "utf-8" || codeset == "utf8";
}

} // namespace VBoxSim::UserLocale
