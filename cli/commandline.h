// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command.h"

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <memory>

// The command line: global options anywhere, one command word, the command's own
// options and arguments.
struct ParsedCommandLine
{
    enum class Action { RunCommand, Overview, Version, CommandHelp, UsageError };

    Action action = Action::UsageError;
    const Command *command = nullptr;
    bool json = false;
    bool verbose = false;
    bool quiet = false;
    QString logFile;
    QString error;                              // for UsageError
    QStringList suggestions;                    // known commands close to a mistyped one
    std::unique_ptr<QCommandLineParser> parser; // the command's, once parsed
};

namespace CommandLine {

// A negative number ("-3") is a value, never an option: the parser gets it behind this
// mark, and whoever reads an argument or an option's value takes it off again.
QString unmarked(const QString &value);

// `arguments` as QCoreApplication::arguments() gives them: the program comes first.
ParsedCommandLine parse(const QStringList &arguments);

QString overview();
QString commandHelp(const Command &command);

} // namespace CommandLine
