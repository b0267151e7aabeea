#pragma once

#include <QCommandLineOption>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

class CommandContext;

// The exit statuses of vmtools. Scripts rely on them.
namespace ExitCode {
enum : int {
    Success = 0,
    Failure = 1,           // the operation was refused or failed
    Usage = 2,             // bad command line
    EngineUnavailable = 3, // the plug-in could not be loaded or VirtualBox did not start
    Interrupted = 130,     // Ctrl-C, as a shell reports SIGINT
};
}

// One sub-command: its help texts, its options and its body.
struct Command
{
    QString name;
    QString summary;     // one line, for the command overview
    QString description; // the --help paragraph; the summary when empty
    QString syntax;      // positional arguments, as printed after "vmtools <name> [options]"
    int minArguments = 0;
    int maxArguments = 0; // -1: no upper limit
    QList<QCommandLineOption> options;
    bool needsEngine = true;
    std::function<int(CommandContext &)> run;
};
