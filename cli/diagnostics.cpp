// SPDX-License-Identifier: Apache-2.0
#include "diagnostics.h"

#include <QList>
#include <QMutex>
#include <QMutexLocker>
#include <QPair>
#include <QStringList>

namespace {

struct Gathered
{
    QMutex mutex;
    QString virtualBox;
    QString engine;
    QStringList failedRuns;
};

// A run's "Call:" and "Return code:" lines come from the thread that made it.
thread_local QString lastRun;

Gathered &gathered()
{
    static Gathered state;
    return state;
}

const QString OutputMarker = QStringLiteral("Output command: ");
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
           line.contains(QLatin1String("Can't run VBoxManage"));
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

QString plainCause(const QString &virtualBoxError)
{
    static const QList<QPair<QString, QString>> causes{
        {QStringLiteral("VERR_DISK_FULL"), QStringLiteral("the disk is full")},
        {QStringLiteral("VERR_VMX_"),
         QStringLiteral("the processor's VT-x is missing or disabled")},
        {QStringLiteral("VERR_SVM_"),
         QStringLiteral("the processor's AMD-V is missing or disabled")},
        {QStringLiteral("already locked"),
         QStringLiteral("the device is in use by another program")},
        {QStringLiteral("Could not read OVF file"), QStringLiteral("the file is not an appliance")},
        {QStringLiteral("Error reading OVA"), QStringLiteral("the file is not an appliance")},
        {QStringLiteral("VERR_ACCESS_DENIED"), QStringLiteral("permission denied")},
        {QStringLiteral("Failed to create the VirtualBox object"),
         QStringLiteral("VirtualBox's service cannot be reached")},
    };
    for (const auto &cause : causes) {
        if (virtualBoxError.contains(cause.first))
            return cause.second;
    }
    return QString();
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
    if (line.contains(QLatin1String("Return code:")))
        state.failedRuns.append(lastRun);
    const int output = line.indexOf(OutputMarker);
    if (output >= 0) {
        const QString message = firstVirtualBoxError(line.mid(output + OutputMarker.size()));
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

void reset()
{
    Gathered &state = gathered();
    QMutexLocker locker(&state.mutex);
    state.virtualBox.clear();
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

QString withCause(const QString &message)
{
    const QString plain = plainCause(virtualBoxError());
    const QString known = cause();
    const QString text = plain.isEmpty() ? message : message + QStringLiteral(": ") + plain;
    return known.isEmpty() ? text : text + QStringLiteral(" (") + known + QLatin1Char(')');
}

} // namespace Diagnostics
