// SPDX-License-Identifier: Apache-2.0
#include "logging.h"

#include "console.h"
#include "diagnostics.h"

#include <QFile>
#include <QMutex>
#include <QMutexLocker>

#include <cstdlib>

namespace {

struct LogState
{
    QMutex mutex;
    bool verbose = false;
    QFile file;
};

LogState &state()
{
    static LogState logState;
    return logState;
}

QString levelWord(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return QStringLiteral("debug");
    case QtInfoMsg:
        return QStringLiteral("info");
    case QtWarningMsg:
        return QStringLiteral("warning");
    case QtCriticalMsg:
        return QStringLiteral("critical");
    case QtFatalMsg:
        return QStringLiteral("fatal");
    }
    return QStringLiteral("unknown");
}

void handleMessage(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    LogState &log = state();
    QMutexLocker locker(&log.mutex);
    if (log.file.isOpen()) {
        log.file.write(Logging::fileLine(QDateTime::currentDateTime(), type, text).toUtf8() + '\n');
        log.file.flush();
    }
    Diagnostics::record(type, text);
    // The engine's lines are for whoever asked for them; failures reach the user as one
    // vmtools line that names their cause.
    if (log.verbose)
        Console::instance().err(text);
    if (type == QtFatalMsg) {
        // The process ends here: whoever runs it must learn why.
        if (!log.verbose)
            Console::instance().err(QStringLiteral("vmtools: ") + text);
        std::abort();
    }
}

} // namespace

namespace Logging {

bool install(const Options &options, QString *error)
{
    LogState &log = state();
    {
        QMutexLocker locker(&log.mutex);
        log.verbose = options.verbose;
        if (!options.logFile.isEmpty()) {
            log.file.setFileName(options.logFile);
            if (!log.file.open(QIODevice::WriteOnly | QIODevice::Append)) {
                if (error)
                    *error = QStringLiteral("cannot write the log file %1: %2")
                                 .arg(options.logFile, log.file.errorString());
                return false;
            }
        }
    }
    qInstallMessageHandler(handleMessage);
    return true;
}

QString fileLine(const QDateTime &time, QtMsgType type, const QString &text)
{
    return time.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz")) + QLatin1Char(' ') +
           levelWord(type) + QLatin1Char(' ') + text;
}

} // namespace Logging
