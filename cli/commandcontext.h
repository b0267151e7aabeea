// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command.h"
#include "devicereads.h"

#include <vmtools/loadstateinfo.h>

#include <QCommandLineParser>
#include <QJsonObject>
#include <QStringList>

#include <memory>

class Interruption;
class Output;
class Progress;
class VMToolsEngine;
class VMToolsMachine;

// Everything a command's body works with: its arguments, the engine, the output and
// the status line, and whether Ctrl-C asked it to stop.
class CommandContext final
{
public:
    CommandContext(const Command &command, const QCommandLineParser &parser, Output &output,
                   Progress &progress, Interruption &interruption);

    const Command &command() const { return m_command; }
    const QCommandLineParser &options() const { return m_parser; }
    QString argument(int index) const;
    QStringList arguments() const;
    Output &out() { return m_output; }
    Interruption &interruption() { return m_interruption; }

    VMToolsEngine *engine() const { return m_engine; }
    void setEngine(VMToolsEngine *engine, const LoadStateInfo &state);
    LoadStateInfo loadState() const { return m_loadState; }

    // Starts one step of work, shown on the status line. False when Ctrl-C came: the
    // command then returns interrupted().
    bool step(const QString &label);
    void stepDone();
    bool isInterrupted() const;
    int interrupted();

    // A usage error: the message and a pointer to the command's help.
    int usage(const QString &message);
    // A failure, with its cause when the engine's log gave one.
    int fail(const QString &message, const QJsonObject &extra = QJsonObject());

    // Opens a device; reports the failure (and sets *exitCode) when there is none, or
    // when the machine of that name is not one of this host's devices.
    std::unique_ptr<VMToolsMachine> machine(const QString &name, int *exitCode);
    // A positive whole number from an option; reports a usage error otherwise.
    bool countOption(const QString &option, unsigned int *value, int *exitCode);
    // Before a destructive command: on a terminal, asks the question unless --yes was
    // given; never asks when stdin is not a terminal. Success, or a failure when the
    // person did not answer yes.
    int confirm(const QString &question);
    static QCommandLineOption yesOption();
    // A name for a new device; refuses what would make a bad folder name.
    bool checkNewName(const QString &name, int *exitCode);

private:
    static bool isDevice(const VMToolsMachine &machine);

    const Command &m_command;
    const QCommandLineParser &m_parser;
    Output &m_output;
    Progress &m_progress;
    Interruption &m_interruption;
    VMToolsEngine *m_engine = nullptr;
    LoadStateInfo m_loadState;
};

// The body of a command that acts on the device its first argument names, wrapped so that
// the device is looked up, and its absence reported, before the body runs.
using DeviceBody = int (*)(CommandContext &c, VMToolsMachine &machine);
std::function<int(CommandContext &)> onNamedDevice(DeviceBody body);
// The same for a body that only reads: within the command each listing of the device is
// asked of VirtualBox once, and the first reads run side by side before the body starts.
std::function<int(CommandContext &)> onReadDevice(DeviceBody body, DeviceReads::Depth depth);

// Why a name cannot name a device (it would leave the device's own folder, or is
// unusable as a file name); empty when it can.
QString deviceNameProblem(const QString &name);
