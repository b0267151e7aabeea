// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QList>
#include <QMutex>
#include <QString>
#include <QtGlobal>

struct LogLine
{
    QtMsgType type;
    QString text;

    bool operator==(const LogLine &other) const { return type == other.type && text == other.text; }
};

// Captures the Qt message log (level and exact text of each line) while it lives.
// Only one capture may be active at a time.
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    QList<LogLine> lines() const;
    QStringList texts() const;
    QStringList texts(QtMsgType type) const;
    bool contains(QtMsgType type, const QString &text) const;
    void clear();

private:
    static void handler(QtMsgType type, const QMessageLogContext &context, const QString &text);

    mutable QMutex m_mutex;
    QList<LogLine> m_lines;
    QtMessageHandler m_previous;
};

// Printable level names, so that failed comparisons read well.
void PrintTo(const LogLine &line, std::ostream *os);
