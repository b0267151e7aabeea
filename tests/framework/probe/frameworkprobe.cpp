// SPDX-License-Identifier: Apache-2.0
// Runs one process-wide facility in a fresh process and prints what it saw:
//   frameworkprobe paths
//   frameworkprobe get KEY DEFAULT | set KEY VALUE | remove KEY
//   frameworkprobe load
// Every Qt log line is printed first as "log <level> <text>".
#include <vmtools/paths.h>
#include <vmtools/settings.h>
#include <vmtools/vmtoolsengine.h>

#include <QCoreApplication>
#include <QTextStream>

#include <cstdio>

namespace {

QTextStream &out()
{
    static QTextStream stream(stdout);
    return stream;
}

void printLog(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    static const char *const levels[] = {"debug", "warning", "critical", "fatal", "info"};
    out() << "log " << levels[type] << ' ' << text << '\n';
    out().flush();
    if (type == QtFatalMsg)
        std::fputs(qPrintable(text + '\n'), stderr);
}

int runLoader()
{
    LoadStateInfo info{-7, QStringLiteral("untouched")};
    VMToolsEngine *engine = VMToolsEngine::loadEngine(&info);
    out() << "engine " << (engine ? "yes" : "no") << '\n';
    out() << "state " << info.state << '\n';
    out() << "message " << info.message << '\n';
    if (engine) {
        out() << "version " << engine->version() << '\n';
        out() << "virtualization " << (engine->isCPUVirtualizationAvailable() ? "yes" : "no")
              << '\n';
    }
    // Keep the order of these lines and of the plug-in's own messages on standard error.
    out().flush();
    delete engine;
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    qInstallMessageHandler(printLog);
    const QStringList args = app.arguments().mid(1);
    const QString command = args.value(0);

    if (command == QLatin1String("paths")) {
        // Asked before anything is printed: the first use may log.
        const QString organization = Paths::getOrganizationPath();
        const QString quillomate = Paths::getQuillomatePath();
        out() << "organization " << organization << '\n';
        out() << "quillomate " << quillomate << '\n';
    } else if (command == QLatin1String("get")) {
        const QVariant value = Settings::get(args.value(1), args.value(2));
        out() << "value " << value.toString() << '\n';
    } else if (command == QLatin1String("set")) {
        Settings::set(args.value(1), args.value(2));
    } else if (command == QLatin1String("remove")) {
        Settings::remove(args.value(1));
    } else if (command == QLatin1String("load")) {
        return runLoader();
    } else {
        out() << "unknown command\n";
        return 2;
    }
    return 0;
}
