// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

#include <ostream>

// Readable GoogleTest failure messages for Qt strings.
QT_BEGIN_NAMESPACE
inline void PrintTo(const QString &text, std::ostream *os)
{
    *os << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QStringList &list, std::ostream *os)
{
    *os << '(';
    for (int i = 0; i < list.size(); ++i)
        *os << (i ? ", \"" : "\"") << list.at(i).toStdString() << '"';
    *os << ')';
}
QT_END_NAMESPACE
