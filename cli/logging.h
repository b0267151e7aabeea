// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDateTime>
#include <QString>
#include <QtGlobal>

// Where the Qt message log goes. The engine's texts are written exactly as it made
// them: the handler adds nothing to a line on stderr, and in the log file only a time
// stamp and the level in front of it.
namespace Logging {

struct Options
{
    bool verbose = false; // every line on stderr too
    QString logFile;      // every line, appended; none when empty
};

// False, with the reason, when the log file cannot be opened.
bool install(const Options &options, QString *error);

// One line of the log file, without its line feed.
QString fileLine(const QDateTime &time, QtMsgType type, const QString &text);

} // namespace Logging
