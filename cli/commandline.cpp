// SPDX-License-Identifier: Apache-2.0
#include "commandline.h"

#include "commands.h"
#include "suggestions.h"

namespace {

const QChar NumberMark(0x1);

const QString JsonOption = QStringLiteral("json");
const QString VerboseOption = QStringLiteral("verbose");
const QString QuietOption = QStringLiteral("quiet");
const QString LogFileOption = QStringLiteral("log-file");
const QString HelpOption = QStringLiteral("help");
const QString VersionOption = QStringLiteral("version");
const QString HelpCommand = QStringLiteral("help");

QList<QCommandLineOption> globalOptions()
{
    return {
        {{QStringLiteral("h"), HelpOption}, QStringLiteral("Show this help.")},
        {JsonOption, QStringLiteral("Print the result as one JSON object, for scripts.")},
        {{QStringLiteral("v"), VerboseOption},
         QStringLiteral("Show every line of the engine's log on stderr.")},
        {{QStringLiteral("q"), QuietOption},
         QStringLiteral("Print only the result and errors: no remarks, no status line.")},
        {LogFileOption,
         QStringLiteral("Append every line of the engine's log, with time stamps, to FILE."),
         QStringLiteral("FILE")},
    };
}

// The command word is the first argument that is neither an option nor the value of
// --log-file.
int commandWordIndex(const QStringList &arguments)
{
    for (int i = 1; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (argument == QLatin1String("--"))
            return i + 1 < arguments.size() ? i + 1 : -1;
        if (argument == QLatin1String("--log-file")) {
            ++i;
            continue;
        }
        if (!argument.startsWith(QLatin1Char('-')))
            return i;
    }
    return -1;
}

void readGlobals(const QCommandLineParser &parser, ParsedCommandLine *parsed)
{
    parsed->json = parser.isSet(JsonOption);
    parsed->verbose = parser.isSet(VerboseOption);
    parsed->quiet = parser.isSet(QuietOption);
    if (parsed->verbose && parsed->quiet)
        parsed->error = QStringLiteral("-v and -q cannot be used together");
    parsed->logFile = parser.value(LogFileOption);
}

ParsedCommandLine withoutCommand(const QStringList &arguments)
{
    ParsedCommandLine parsed;
    QCommandLineParser parser;
    parser.addOptions(globalOptions());
    parser.addOption({VersionOption, QStringLiteral("Show the versions.")});
    if (!parser.parse(arguments)) {
        parsed.error = parser.errorText();
        return parsed;
    }
    readGlobals(parser, &parsed);
    if (!parsed.error.isEmpty())
        return parsed;
    if (parser.isSet(VersionOption))
        parsed.action = ParsedCommandLine::Action::Version;
    else if (parser.isSet(HelpOption))
        parsed.action = ParsedCommandLine::Action::Overview;
    else
        parsed.error = QStringLiteral("no command given");
    return parsed;
}

// Looks a command word up; a word that is none says so, with the commands it may have meant.
const Command *findCommand(const QString &word, ParsedCommandLine *parsed)
{
    const Command *command = Commands::find(word);
    if (command)
        return command;
    QStringList known{HelpCommand};
    for (const Command &each : Commands::all())
        known.append(each.name);
    parsed->error = QStringLiteral("unknown command '%1'").arg(word);
    parsed->suggestions = Suggestions::similar(word, known);
    return nullptr;
}

// "vmtools help [COMMAND]", as git and docker take it: the overview or the command's help.
ParsedCommandLine helpCommand(const QStringList &arguments, int index)
{
    ParsedCommandLine parsed;
    parsed.json = arguments.contains(QStringLiteral("--json"));
    const QStringList rest = arguments.mid(index); // "help" stands where the program did
    const int topic = commandWordIndex(rest);
    if (topic < 0 || rest.at(topic) == HelpCommand) {
        parsed.action = ParsedCommandLine::Action::Overview;
        return parsed;
    }
    parsed.command = findCommand(rest.at(topic), &parsed);
    if (parsed.command)
        parsed.action = ParsedCommandLine::Action::CommandHelp;
    return parsed;
}

QString argumentCountProblem(const Command &command, int count)
{
    if (count < command.minArguments)
        return QStringLiteral("missing arguments: %1").arg(command.syntax);
    if (command.maxArguments >= 0 && count > command.maxArguments)
        return QStringLiteral("too many arguments");
    return QString();
}

} // namespace

namespace CommandLine {

QString unmarked(const QString &value)
{
    return value.startsWith(NumberMark) ? value.mid(1) : value;
}

ParsedCommandLine parse(const QStringList &arguments)
{
    const int index = commandWordIndex(arguments);
    if (index < 0)
        return withoutCommand(arguments);

    if (arguments.at(index) == HelpCommand)
        return helpCommand(arguments, index);
    ParsedCommandLine parsed;
    // Known before the options are, so that even a bad command line answers in JSON.
    parsed.json = arguments.contains(QStringLiteral("--json"));
    parsed.command = findCommand(arguments.at(index), &parsed);
    if (!parsed.command)
        return parsed;
    QStringList rest = arguments;
    rest.removeAt(index);
    for (QString &argument : rest) {
        if (argument.size() > 1 && argument.at(0) == QLatin1Char('-') && argument.at(1).isDigit())
            argument.prepend(NumberMark);
    }
    parsed.parser = std::make_unique<QCommandLineParser>();
    QCommandLineParser &parser = *parsed.parser;
    parser.addOptions(globalOptions());
    parser.addOptions(parsed.command->options);
    if (!parser.parse(rest)) {
        parsed.error = parser.errorText();
        return parsed;
    }
    readGlobals(parser, &parsed);
    if (!parsed.error.isEmpty())
        return parsed;
    if (parser.isSet(HelpOption)) {
        parsed.action = ParsedCommandLine::Action::CommandHelp;
        return parsed;
    }
    parsed.error = argumentCountProblem(*parsed.command, parser.positionalArguments().size());
    if (parsed.error.isEmpty())
        parsed.action = ParsedCommandLine::Action::RunCommand;
    return parsed;
}

QString overview()
{
    QString text = QStringLiteral(
        "Usage: vmtools [--json] [-v | -q] [--log-file FILE] COMMAND [options] [arguments]\n\n"
        "Creates, configures, starts, stops, clones, exports and deletes Android virtual\n"
        "devices through the VirtualBox engine plug-in in plugins/ beside this program.\n");
    const QList<QPair<QString, QList<Command>>> groups{
        {QStringLiteral("Engine"), Commands::engineCommands()},
        {QStringLiteral("Devices"), Commands::deviceCommands()},
        {QStringLiteral("Running"), Commands::lifecycleCommands()},
        {QStringLiteral("Profile and network"), Commands::profileCommands()},
        {QStringLiteral("Export and disks"), Commands::mediaCommands()},
    };
    for (const auto &group : groups) {
        text += QLatin1Char('\n') + group.first + QStringLiteral(":\n");
        for (const Command &command : group.second)
            text += QStringLiteral("  ") + command.name.leftJustified(16) + command.summary +
                    QLatin1Char('\n');
    }
    text += QStringLiteral("\nGlobal options:\n");
    for (const QCommandLineOption &option : globalOptions()) {
        QString names = QStringLiteral("--") + option.names().constLast();
        if (option.names().size() > 1)
            names =
                QStringLiteral("-") + option.names().constFirst() + QStringLiteral(", ") + names;
        if (!option.valueName().isEmpty())
            names += QLatin1Char(' ') + option.valueName();
        text += QStringLiteral("  ") + names.leftJustified(18) + option.description() +
                QLatin1Char('\n');
    }
    text += QStringLiteral("  --version         Show the versions of vmtools, the plug-in and "
                           "VirtualBox.\n\n"
                           "Run 'vmtools help COMMAND' or 'vmtools COMMAND --help' for a "
                           "command's options.\n"
                           "Exit status: 0 success, 1 failure, 2 bad command line, 3 VirtualBox "
                           "engine unavailable,\n130 interrupted.\n");
    return text;
}

QString commandHelp(const Command &command)
{
    QCommandLineParser parser;
    parser.addOptions(command.options);
    parser.addOptions(globalOptions());
    const QString generated = parser.helpText();
    const int optionsAt = generated.indexOf(QLatin1String("Options:"));
    QString usage = QStringLiteral("Usage: vmtools ") + command.name + QStringLiteral(" [options]");
    if (!command.syntax.isEmpty())
        usage += QLatin1Char(' ') + command.syntax;
    const QString description =
        command.description.isEmpty() ? command.summary : command.description;
    return usage + QStringLiteral("\n\n") + description + QStringLiteral("\n\n") +
           (optionsAt < 0 ? QString() : generated.mid(optionsAt));
}

} // namespace CommandLine
