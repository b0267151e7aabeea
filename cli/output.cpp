// SPDX-License-Identifier: Apache-2.0
#include "output.h"

#include "command.h"
#include "console.h"

#include <QJsonDocument>

Output::Output(bool json, bool quiet)
    : m_json(json)
    , m_quiet(quiet)
{}

int Output::done(const QJsonObject &data, const QString &text)
{
    if (m_json) {
        QJsonObject object = data;
        object.insert(QStringLiteral("ok"), true);
        Console::instance().out(QString::fromUtf8(QJsonDocument(object).toJson()));
    } else if (!text.isEmpty()) {
        Console::instance().out(text.endsWith(QLatin1Char('\n')) ? text : text + QLatin1Char('\n'));
    }
    return ExitCode::Success;
}

int Output::fail(const QString &message, int exitCode, const QJsonObject &extra)
{
    Console::instance().err(QStringLiteral("vmtools: ") + message);
    if (m_json) {
        QJsonObject object = extra;
        object.insert(QStringLiteral("ok"), false);
        object.insert(QStringLiteral("error"), message);
        object.insert(QStringLiteral("exitCode"), exitCode);
        Console::instance().out(QString::fromUtf8(QJsonDocument(object).toJson()));
    }
    return exitCode;
}

void Output::note(const QString &line)
{
    if (m_quiet)
        return;
    Console::instance().err(QStringLiteral("vmtools: ") + line);
}

namespace TextFormat {

QString table(const QStringList &headers, const QList<QStringList> &rows, bool showHeaders)
{
    QList<int> widths;
    for (const QString &header : headers)
        widths.append(showHeaders ? header.size() : 0);
    for (const QStringList &row : rows) {
        for (int i = 0; i < row.size() && i < widths.size(); ++i)
            widths[i] = qMax(widths[i], row.at(i).size());
    }
    const auto line = [&widths](const QStringList &cells) {
        QString text;
        for (int i = 0; i < cells.size() && i < widths.size(); ++i) {
            const bool last = i == cells.size() - 1 || i == widths.size() - 1;
            text += last ? cells.at(i) : cells.at(i).leftJustified(widths.at(i) + 2);
        }
        return text + QLatin1Char('\n');
    };
    QString text = showHeaders ? line(headers) : QString();
    for (const QStringList &row : rows)
        text += line(row);
    return text;
}

QString fields(const Fields &fields)
{
    int width = 0;
    for (const auto &field : fields)
        width = qMax(width, field.first.size() + 1);
    QString text;
    for (const auto &field : fields) {
        const QString label = field.first + QLatin1Char(':');
        text += (field.second.isEmpty() ? label : label.leftJustified(width + 2) + field.second) +
                QLatin1Char('\n');
    }
    return text;
}

QString yesNo(bool value)
{
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}

QString size(qint64 bytes)
{
    constexpr qint64 KB = 1024;
    constexpr qint64 MB = 1024 * KB;
    constexpr qint64 GB = 1024 * MB;
    if (bytes < MB)
        return QStringLiteral("%1 KB").arg((qMax<qint64>(bytes, 0) + KB - 1) / KB);
    if (bytes < GB)
        return QStringLiteral("%1 MB").arg(static_cast<double>(bytes) / MB, 0, 'f', 1);
    return QStringLiteral("%1 GB").arg(static_cast<double>(bytes) / GB, 0, 'f', 1);
}

} // namespace TextFormat
