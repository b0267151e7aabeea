// SPDX-License-Identifier: Apache-2.0
#include "logcapture.h"

#include <QStringList>

#include <ostream>

namespace {
LogCapture *g_active = nullptr;

const char *levelName(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return "debug";
    case QtInfoMsg:
        return "info";
    case QtWarningMsg:
        return "warning";
    case QtCriticalMsg:
        return "critical";
    case QtFatalMsg:
        return "fatal";
    }
    return "?";
}
} // namespace

LogCapture::LogCapture()
{
    Q_ASSERT(!g_active);
    g_active = this;
    m_previous = qInstallMessageHandler(&LogCapture::handler);
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(m_previous);
    g_active = nullptr;
}

void LogCapture::handler(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (!g_active)
        return;
    QMutexLocker locker(&g_active->m_mutex);
    g_active->m_lines.append({type, text});
}

QList<LogLine> LogCapture::lines() const
{
    QMutexLocker locker(&m_mutex);
    return m_lines;
}

QStringList LogCapture::texts() const
{
    QStringList result;
    for (const LogLine &line : lines())
        result.append(line.text);
    return result;
}

QStringList LogCapture::texts(QtMsgType type) const
{
    QStringList result;
    for (const LogLine &line : lines()) {
        if (line.type == type)
            result.append(line.text);
    }
    return result;
}

bool LogCapture::contains(QtMsgType type, const QString &text) const
{
    return lines().contains(LogLine{type, text});
}

void LogCapture::clear()
{
    QMutexLocker locker(&m_mutex);
    m_lines.clear();
}

void PrintTo(const LogLine &line, std::ostream *os)
{
    *os << levelName(line.type) << ": " << line.text.toStdString();
}
