// SPDX-License-Identifier: Apache-2.0
#include "application.h"

#include "commandcontext.h"
#include "commandline.h"
#include "console.h"
#include "devicereads.h"
#include "diagnostics.h"
#include "interrupt.h"
#include "logging.h"
#include "output.h"
#include "progress.h"
#include "resultwords.h"
#include "suggestions.h"
#include "versionreport.h"
#include "worker.h"

#include <vmtools/callmemo.h>
#include <vmtools/vmtoolsengine.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>

#include <memory>
#include <optional>
#include <unistd.h>

namespace {

VMToolsEngine *makeEngine(EngineUse use, LoadStateInfo *state)
{
    switch (use) {
    case EngineUse::None:
        return nullptr;
    case EngineUse::Open:
        *state = LoadStateInfo{};
        return VMToolsEngine::openEngine();
    case EngineUse::StartUpToRead:
        return VMToolsEngine::loadEngine(state, VMToolsEngine::NetworkRepair::Forbidden);
    case EngineUse::StartUp:
        return VMToolsEngine::loadEngine(state, VMToolsEngine::NetworkRepair::Allowed);
    }
    return nullptr;
}

int loadEngine(CommandContext &context, std::unique_ptr<VMToolsEngine> *engine)
{
    if (!context.step(QStringLiteral("Starting the VirtualBox engine")))
        return context.interrupted();
    LoadStateInfo state{-1, QString()}; // -1 stays when the plug-in gives no engine at all
    engine->reset(makeEngine(context.command().engine, &state));
    context.stepDone();
    if (!*engine) {
        const QString folder = QCoreApplication::applicationDirPath() + QStringLiteral("/plugins/");
        return context.out().fail(Diagnostics::withCause(ResultWords::loadFailure(state, folder)),
                                  ExitCode::EngineUnavailable,
                                  {{QStringLiteral("loadState"), state.state}});
    }
    if (state.state == 3)
        context.out().note(QStringLiteral("the old host-only network interface %1 could not be "
                                          "removed; a new one is in use")
                               .arg(state.message));
    context.setEngine(engine->get(), state);
    return ExitCode::Success;
}

// The per-user folders end the process when QM_HOME names a folder that cannot be made:
// say so plainly before anything reaches them.
int checkDataFolder(CommandContext &context)
{
    const QString home = QFile::decodeName(qgetenv("QM_HOME"));
    if (home.isEmpty() || QDir().mkpath(home))
        return ExitCode::Success;
    return context.out().fail(
        QStringLiteral("QM_HOME is set to '%1', but this directory cannot be created").arg(home),
        ExitCode::Failure);
}

int runCommand(CommandContext &context)
{
    const int dataFolder = checkDataFolder(context);
    if (dataFolder != ExitCode::Success)
        return dataFolder;
    if (context.command().check) {
        const int checked = context.command().check(context);
        if (checked != ExitCode::Success)
            return checked;
    }
    // A start-up that only reads asks its listings of the host side by side, and the
    // command then reuses them.
    CallMemo memo;
    std::optional<CallMemo::Scope> reads;
    if (context.command().engine == EngineUse::StartUpToRead) {
        reads.emplace(memo);
        DeviceReads::readAheadStartUp(memo, context.command().name == QLatin1String("info"));
    }
    std::unique_ptr<VMToolsEngine> engine;
    if (context.command().engine != EngineUse::None) {
        const int loaded = loadEngine(context, &engine);
        if (loaded != ExitCode::Success)
            return loaded;
    }
    if (context.isInterrupted())
        return context.interrupted();
    const int result = context.command().run(context);
    if (result == context.interruption().exitCode() || !context.isInterrupted())
        return result;
    // The result is out already (one JSON object at most); only the status tells. On a
    // terminal Ctrl-C reaches VBoxManage too, so a failure may well be the interrupt's.
    context.out().note(result == ExitCode::Success
                           ? QStringLiteral("interrupted, after the work was done")
                           : QStringLiteral("interrupted"));
    return context.interruption().exitCode();
}

int usageError(const ParsedCommandLine &parsed)
{
    Output output(parsed.json, parsed.quiet);
    if (!parsed.suggestions.isEmpty()) {
        const int code = output.fail(
            parsed.error, ExitCode::Usage,
            {{QStringLiteral("suggestions"), QJsonArray::fromStringList(parsed.suggestions)}});
        output.note(Suggestions::question(parsed.suggestions));
        return code;
    }
    const int code = output.fail(parsed.error, ExitCode::Usage);
    output.note(parsed.command ? QStringLiteral("see 'vmtools %1 --help'").arg(parsed.command->name)
                               : QStringLiteral("see 'vmtools --help'"));
    return code;
}

int version(const ParsedCommandLine &parsed)
{
    const QString plugins = QCoreApplication::applicationDirPath() + QStringLiteral("/plugins/");
    const VersionReport::Versions versions = VersionReport::read(plugins);
    return Output(parsed.json).done(VersionReport::json(versions), VersionReport::text(versions));
}

} // namespace

int Application::run(const QStringList &arguments)
{
    const ParsedCommandLine parsed = CommandLine::parse(arguments);
    switch (parsed.action) {
    case ParsedCommandLine::Action::Overview:
        Console::instance().out(CommandLine::overview());
        return ExitCode::Success;
    case ParsedCommandLine::Action::Version:
        return version(parsed);
    case ParsedCommandLine::Action::CommandHelp:
        Console::instance().out(CommandLine::commandHelp(*parsed.command));
        return ExitCode::Success;
    case ParsedCommandLine::Action::UsageError:
        return usageError(parsed);
    case ParsedCommandLine::Action::RunCommand:
        break;
    }

    Output output(parsed.json, parsed.quiet);
    QString logError;
    if (!Logging::install({parsed.verbose, parsed.logFile}, &logError))
        return output.fail(logError, ExitCode::Usage);
    Console::instance().setStatusEnabled(!parsed.quiet && ::isatty(STDERR_FILENO) == 1);

    Progress progress;
    Interruption interruption;
    CommandContext context(*parsed.command, *parsed.parser, output, progress, interruption);
    TaskRunner runner(progress, interruption);
    return runner.run([&context] { return runCommand(context); });
}
