// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QElapsedTimer>
#include <QMutex>
#include <QString>

// What the command is doing now, for the status line: set by the worker thread, read
// by the main thread's ticker.
class Progress final
{
public:
    void begin(const QString &label);
    void finish();

    // The status line, or an empty string when nothing has run long enough to show.
    QString statusLine() const;

    // Elapsed time as m:ss, or h:mm:ss from one hour on.
    static QString elapsedText(qint64 milliseconds);

private:
    mutable QMutex m_mutex;
    QString m_label;
    QElapsedTimer m_clock;
};
