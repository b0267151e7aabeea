// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QJsonObject>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

// What a command reports. For people: text on stdout, errors on stderr. With --json:
// exactly one JSON object on stdout, {"ok": true, ...} or {"ok": false, "error": ...};
// the error text goes to stderr as well.
class Output final
{
public:
    explicit Output(bool json, bool quiet = false);

    bool json() const { return m_json; }

    // Reports success; returns ExitCode::Success.
    int done(const QJsonObject &data, const QString &text);
    // Reports a failure; returns exitCode.
    int fail(const QString &message, int exitCode, const QJsonObject &extra = QJsonObject());
    // A remark for the person at the terminal, on stderr, in both modes; none with -q.
    void note(const QString &line);

private:
    bool m_json;
    bool m_quiet;
};

// Plain-text layouts for people.
namespace TextFormat {
using Fields = QList<QPair<QString, QString>>;

// Left-aligned columns two blanks apart; the headers as given, or none for scripts.
QString table(const QStringList &headers, const QList<QStringList> &rows, bool showHeaders = true);
// "Label:" and value lines with the values aligned in one column.
QString fields(const Fields &fields);
QString yesNo(bool value);
// A file size for people: KB below one megabyte, then MB and GB with one decimal.
QString size(qint64 bytes);
} // namespace TextFormat
