// SPDX-License-Identifier: Apache-2.0
#include "commandcontext.h"

#include "commandline.h"
#include "console.h"
#include "diagnostics.h"
#include "interrupt.h"
#include "output.h"
#include "profilekeys.h"
#include "progress.h"

#include <vmtools/callmemo.h>
#include <vmtools/vmtoolsengine.h>
#include <vmtools/vmtoolsmachine.h>

#include <QDir>

#include <iostream>
#include <string>
#include <unistd.h>

CommandContext::CommandContext(const Command &command, const QCommandLineParser &parser,
                               Output &output, Progress &progress, Interruption &interruption)
    : m_command(command)
    , m_parser(parser)
    , m_output(output)
    , m_progress(progress)
    , m_interruption(interruption)
{}

QString CommandContext::argument(int index) const
{
    return CommandLine::unmarked(m_parser.positionalArguments().value(index));
}

QStringList CommandContext::arguments() const
{
    QStringList arguments;
    for (const QString &argument : m_parser.positionalArguments())
        arguments << CommandLine::unmarked(argument);
    return arguments;
}

void CommandContext::setEngine(VMToolsEngine *engine, const LoadStateInfo &state)
{
    m_engine = engine;
    m_loadState = state;
}

bool CommandContext::step(const QString &label)
{
    if (isInterrupted())
        return false;
    Diagnostics::reset();
    m_progress.begin(label);
    return true;
}

void CommandContext::stepDone()
{
    m_progress.finish();
}

bool CommandContext::isInterrupted() const
{
    return m_interruption.requested();
}

int CommandContext::interrupted()
{
    m_progress.finish();
    return m_output.fail(QStringLiteral("interrupted"), m_interruption.exitCode());
}

int CommandContext::usage(const QString &message)
{
    const int code = m_output.fail(message, ExitCode::Usage);
    m_output.note(QStringLiteral("see 'vmtools %1 --help'").arg(m_command.name));
    return code;
}

int CommandContext::fail(const QString &message, const QJsonObject &extra)
{
    m_progress.finish();
    return m_output.fail(Diagnostics::withCause(message), ExitCode::Failure, extra);
}

std::unique_ptr<VMToolsMachine> CommandContext::machine(const QString &name, int *exitCode)
{
    if (!step(QStringLiteral("Looking up %1").arg(name))) {
        *exitCode = interrupted();
        return nullptr;
    }
    std::unique_ptr<VMToolsMachine> machine(m_engine->getMachine(name));
    stepDone();
    // VirtualBox failing is not the same as VirtualBox knowing no such machine.
    const QString error = Diagnostics::virtualBoxError();
    if (!machine && !error.isEmpty() &&
        Diagnostics::virtualBoxCode() != QLatin1String("VBOX_E_OBJECT_NOT_FOUND")) {
        *exitCode = fail(QStringLiteral("\"%1\" could not be looked up").arg(name));
        return nullptr;
    }
    if (!machine) {
        Diagnostics::reset(); // that VirtualBox knows no such machine says nothing more
        *exitCode = fail(QStringLiteral("there is no device named \"%1\"").arg(name));
        return nullptr;
    }
    if (!isDevice(*machine)) {
        *exitCode = fail(QStringLiteral("\"%1\" is a VirtualBox machine but not an Android "
                                        "device; vmtools leaves it alone")
                             .arg(name));
        return nullptr;
    }
    return machine;
}

std::function<int(CommandContext &)> onNamedDevice(DeviceBody body)
{
    return [body](CommandContext &c) {
        int code = ExitCode::Success;
        const auto machine = c.machine(c.argument(0), &code);
        return machine ? body(c, *machine) : code;
    };
}

std::function<int(CommandContext &)> onReadDevice(DeviceBody body, DeviceReads::Depth depth)
{
    return [body, depth](CommandContext &c) {
        CallMemo memo;
        const CallMemo::Scope reads(memo);
        DeviceReads::readAhead(memo, c.argument(0), depth);
        int code = ExitCode::Success;
        const auto machine = c.machine(c.argument(0), &code);
        return machine ? body(c, *machine) : code;
    };
}

// Devices carry the screen-mode property from their appliance on, as the engine's own
// listing expects; other machines of the user must never be changed or deleted here.
bool CommandContext::isDevice(const VMToolsMachine &machine)
{
    const QString missing = QStringLiteral("\u0001");
    return machine.getData(QStringLiteral("vbox_graph_mode"), missing) != missing;
}

bool CommandContext::countOption(const QString &option, unsigned int *value, int *exitCode)
{
    const QString text = CommandLine::unmarked(m_parser.value(option));
    if (ProfileKeys::parseCount(text, value))
        return true;
    *exitCode =
        usage(QStringLiteral("--%1 takes a positive whole number, not \"%2\"").arg(option, text));
    return false;
}

QCommandLineOption CommandContext::yesOption()
{
    return {{QStringLiteral("y"), QStringLiteral("yes")},
            QStringLiteral("Do it without asking, even on a terminal.")};
}

int CommandContext::confirm(const QString &question)
{
    if (m_parser.isSet(QStringLiteral("yes")) || ::isatty(STDIN_FILENO) != 1)
        return ExitCode::Success;
    Console::instance().ask(question + QStringLiteral(" [y/N] "));
    std::string answer;
    std::getline(std::cin, answer);
    const QString reply = QString::fromStdString(answer).trimmed().toLower();
    if (reply == QLatin1String("y") || reply == QLatin1String("yes"))
        return ExitCode::Success;
    return m_output.fail(QStringLiteral("not confirmed; nothing was changed"), ExitCode::Failure);
}

bool CommandContext::checkNewName(const QString &name, int *exitCode)
{
    const QString problem = deviceNameProblem(name);
    if (problem.isEmpty())
        return true;
    *exitCode = usage(problem);
    return false;
}

QString deviceNameProblem(const QString &name)
{
    if (name.trimmed().isEmpty())
        return QStringLiteral("a device name cannot be empty");
    if (name != name.trimmed())
        return QStringLiteral("a device name cannot begin or end with blanks");
    if (name == QLatin1String(".") || name == QLatin1String(".."))
        return QStringLiteral("\"%1\" cannot name a device").arg(name);
    if (name.startsWith(QLatin1Char('-')))
        return QStringLiteral("a device name cannot begin with \"-\"");
    for (const QChar c : name) {
        if (c == QLatin1Char('/') || c == QDir::separator())
            return QStringLiteral("a device name cannot hold \"%1\"").arg(c);
        if (c.category() == QChar::Other_Control)
            return QStringLiteral("a device name cannot hold control characters");
    }
    return QString();
}
