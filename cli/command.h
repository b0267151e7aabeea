// SPDX-License-Identifier: Apache-2.0
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
    Interrupted = 130,     // Ctrl-C, as a shell reports SIGINT (143 for SIGTERM)
};
}

// How much of the engine a command needs. Only commands that need the host-only network
// may have start-up repair it; commands that merely read never change the host.
enum class EngineUse {
    None,          // no engine at all
    Open,          // the engine without start-up: device operations only
    StartUpToRead, // start-up for the host limits, leaving the network as it is
    StartUp,       // start-up that replaces an unusable host-only interface
};

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
    EngineUse engine = EngineUse::StartUp;
    std::function<int(CommandContext &)> run;
    // Checks the arguments and the files they name before any engine starts; returns
    // ExitCode::Success or reports the problem. Optional.
    std::function<int(CommandContext &)> check;
};
