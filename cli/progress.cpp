// SPDX-License-Identifier: Apache-2.0
#include "progress.h"

#include <QMutexLocker>

namespace {
// Quick steps never flash a status line.
constexpr qint64 ShowAfterMs = 500;
} // namespace

void Progress::begin(const QString &label)
{
    QMutexLocker locker(&m_mutex);
    m_label = label;
    m_clock.start();
}

void Progress::finish()
{
    QMutexLocker locker(&m_mutex);
    m_label.clear();
    m_clock.invalidate();
}

QString Progress::statusLine() const
{
    QMutexLocker locker(&m_mutex);
    if (m_label.isEmpty() || !m_clock.isValid() || m_clock.elapsed() < ShowAfterMs)
        return QString();
    return m_label + QStringLiteral("... ") + elapsedText(m_clock.elapsed());
}

QString Progress::elapsedText(qint64 milliseconds)
{
    const qint64 seconds = qMax<qint64>(milliseconds, 0) / 1000;
    const QString minutesAndSeconds =
        QStringLiteral("%1:%2")
            .arg(seconds / 60 % 60, seconds >= 3600 ? 2 : 1, 10, QLatin1Char('0'))
            .arg(seconds % 60, 2, 10, QLatin1Char('0'));
    if (seconds < 3600)
        return minutesAndSeconds;
    return QString::number(seconds / 3600) + QLatin1Char(':') + minutesAndSeconds;
}
