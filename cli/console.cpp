// SPDX-License-Identifier: Apache-2.0
#include "console.h"

#include <QMutexLocker>

#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

void writeTo(FILE *stream, const QString &text)
{
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    std::fflush(stream);
}

int terminalWidth()
{
    winsize size{};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return 80;
}

} // namespace

Console &Console::instance()
{
    static Console console;
    return console;
}

void Console::setStatusEnabled(bool enabled)
{
    QMutexLocker locker(&m_mutex);
    m_statusEnabled = enabled;
}

bool Console::statusEnabled() const
{
    QMutexLocker locker(&m_mutex);
    return m_statusEnabled;
}

void Console::out(const QString &text)
{
    QMutexLocker locker(&m_mutex);
    clearStatusLocked();
    writeTo(stdout, text);
}

void Console::err(const QString &line)
{
    QMutexLocker locker(&m_mutex);
    clearStatusLocked();
    writeTo(stderr, line + QLatin1Char('\n'));
}

void Console::ask(const QString &question)
{
    QMutexLocker locker(&m_mutex);
    clearStatusLocked();
    writeTo(stderr, question);
}

void Console::setStatus(const QString &line)
{
    QMutexLocker locker(&m_mutex);
    if (!m_statusEnabled)
        return;
    // One column short of the width, so that the line never wraps and "\r" can redo it.
    const QString shown = line.left(qMax(terminalWidth() - 1, 10));
    if (m_statusShown && shown == m_status)
        return;
    writeTo(stderr, QStringLiteral("\r\033[K") + shown);
    m_status = shown;
    m_statusShown = true;
}

void Console::clearStatus()
{
    QMutexLocker locker(&m_mutex);
    clearStatusLocked();
}

void Console::clearStatusLocked()
{
    if (!m_statusShown)
        return;
    writeTo(stderr, QStringLiteral("\r\033[K"));
    m_statusShown = false;
}
