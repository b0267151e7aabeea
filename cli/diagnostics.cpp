// SPDX-License-Identifier: Apache-2.0
#include "diagnostics.h"

#include "causes.h"

#include <QMutex>
#include <QMutexLocker>
#include <QRegularExpression>
#include <QStringList>

namespace {

struct Gathered
{
    QMutex mutex;
    QString virtualBox;
    Causes::FailedRun failure;
    QString engine;
    QStringList failedRuns;
};

// A run's "Call:", "Return code:" and output lines come from the thread that made it.
thread_local QString lastRun;
thread_local Causes::FailedRun failingRun;

Gathered &gathered()
{
    static Gathered state;
    return state;
}

const QString OutputMarker = QStringLiteral("Output command: ");
const QString WarningsMarker = QStringLiteral("Output warnings: ");
const QString ReturnMarker = QStringLiteral("Return code: ");
const QString CallMarker = QStringLiteral("Call: ");
const QString ErrorPrefix = QStringLiteral("VBoxManage: error: ");

// The log quotes the output as Qt's debug stream does: undo its escapes.
QString unquoted(const QString &text)
{
    QString plain;
    plain.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c != QLatin1Char('\\') || i + 1 == text.size()) {
            plain += c;
            continue;
        }
        const QChar next = text.at(++i);
        plain += next == QLatin1Char('n')   ? QChar(QLatin1Char('\n'))
                 : next == QLatin1Char('r') ? QChar(QLatin1Char('\r'))
                 : next == QLatin1Char('t') ? QChar(QLatin1Char('\t'))
                                            : next;
    }
    return plain;
}

// The engine's own lines about the runs it makes say nothing about the cause.
bool isRunLine(const QString &line)
{
    return line.contains(QLatin1String("Return code:")) || line.contains(OutputMarker) ||
           line.contains(WarningsMarker) || line.contains(QLatin1String("Can't run VBoxManage"));
}

// "startvm" of a run logged as ("startvm", "phone", ...).
QString commandWord(const QString &run)
{
    static const QRegularExpression first(QStringLiteral("^\\(\"([^\"]*)\""));
    return first.match(run).captured(1);
}

// A failed run begins with its return code; its output lines follow.
void beginFailedRun(const QString &line)
{
    const int at = line.indexOf(ReturnMarker);
    failingRun = Causes::FailedRun();
    failingRun.exitStatus = line.mid(at + ReturnMarker.size()).trimmed().toInt();
    failingRun.command = commandWord(lastRun);
}

} // namespace

namespace Diagnostics {

QString firstVirtualBoxError(const QString &loggedOutput)
{
    // The first line is often only the summary ("Appliance import failed"); the lines up
    // to Details say why.
    QStringList messages;
    for (QString line : unquoted(loggedOutput).split(QLatin1Char('\n'))) {
        line = line.trimmed();
        if (line.startsWith(QLatin1Char('"')))
            line.remove(0, 1);
        if (line.endsWith(QLatin1Char('"')))
            line.chop(1);
        if (!line.startsWith(ErrorPrefix))
            continue;
        const QString message = line.mid(ErrorPrefix.size()).trimmed();
        if (message.startsWith(QLatin1String("Details:")) ||
            message.startsWith(QLatin1String("Context:")))
            break;
        if (!message.isEmpty())
            messages << message;
    }
    return messages.join(QStringLiteral(": "));
}

void record(QtMsgType type, const QString &line)
{
    const int call = line.indexOf(CallMarker);
    if (call >= 0)
        lastRun = line.mid(call + CallMarker.size());
    if (type != QtCriticalMsg)
        return;
    Gathered &state = gathered();
    QMutexLocker locker(&state.mutex);
    if (line.contains(ReturnMarker)) {
        state.failedRuns.append(lastRun);
        beginFailedRun(line);
    }
    const int warnings = line.indexOf(WarningsMarker);
    if (warnings >= 0) {
        failingRun.output += unquoted(line.mid(warnings + WarningsMarker.size())) + '\n';
        state.failure = failingRun;
    }
    const int output = line.indexOf(OutputMarker);
    if (output >= 0) {
        const QString text = line.mid(output + OutputMarker.size());
        failingRun.output += unquoted(text);
        state.failure = failingRun;
        const QString message = firstVirtualBoxError(text);
        if (!message.isEmpty())
            state.virtualBox = message;
    } else if (!isRunLine(line)) {
        state.engine = line.startsWith(QLatin1String("[VBox] ")) ? line.mid(7) : line;
    }
}

QString virtualBoxError()
{
    Gathered &state = gathered();
    QMutexLocker locker(&state.mutex);
    return state.virtualBox;
}

QString virtualBoxCode()
{
    Gathered &state = gathered();
    QMutexLocker locker(&state.mutex);
    return Causes::code(state.failure.output);
}

void reset()
{
    Gathered &state = gathered();
    QMutexLocker locker(&state.mutex);
    state.virtualBox.clear();
    state.failure = Causes::FailedRun();
    state.engine.clear();
    state.failedRuns.clear();
}

bool runFailed(const QStringList &arguments)
{
    // As the engine logs an argument list: ("list", "vms").
    QStringList quoted;
    for (const QString &argument : arguments)
        quoted << QLatin1Char('"') + argument + QLatin1Char('"');
    const QString logged = QLatin1Char('(') + quoted.join(QStringLiteral(", ")) + QLatin1Char(')');
    Gathered &state = gathered();
    QMutexLocker locker(&state.mutex);
    return state.failedRuns.contains(logged);
}

QString cause()
{
    Gathered &state = gathered();
    QMutexLocker locker(&state.mutex);
    QStringList parts;
    if (!state.virtualBox.isEmpty())
        parts << QStringLiteral("VirtualBox: ") + state.virtualBox;
    if (!state.engine.isEmpty())
        parts << QStringLiteral("engine: ") + state.engine;
    return parts.join(QStringLiteral("; "));
}

QString plainCause()
{
    Gathered &state = gathered();
    QMutexLocker locker(&state.mutex);
    return Causes::plain(state.failure);
}

QString withCause(const QString &message)
{
    const QString plain = plainCause();
    const QString known = cause();
    const QString text = plain.isEmpty() ? message : message + QStringLiteral(": ") + plain;
    return known.isEmpty() ? text : text + QStringLiteral(" (") + known + QLatin1Char(')');
}

} // namespace Diagnostics
