// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QMutex>
#include <QString>

// The process's standard output and error. On a terminal, stderr may also carry one
// status line (what is running and for how long); every other write clears it first,
// so that results and log lines never mix with it. Safe to use from any thread.
class Console final
{
public:
    static Console &instance();

    // True only when stderr is a terminal: status lines stay out of files and pipes.
    void setStatusEnabled(bool enabled);
    bool statusEnabled() const;

    void out(const QString &text);     // written as given
    void err(const QString &line);     // one line; the line feed is added
    void ask(const QString &question); // the answer is typed on the same line
    void setStatus(const QString &line);
    void clearStatus();

private:
    Console() = default;
    void clearStatusLocked();

    mutable QMutex m_mutex;
    bool m_statusEnabled = false;
    bool m_statusShown = false;
    QString m_status; // what the terminal shows now, so that a repeat writes nothing
};
