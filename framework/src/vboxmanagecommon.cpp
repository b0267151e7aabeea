// SPDX-License-Identifier: Apache-2.0
#include <vmtools/vboxmanagecommon.h>

#include "vboxmanagecommon_p.h"

#include <vmtools/callmemo.h>
#include <vmtools/vboxlog.h>
#include <vmtools/vmtoolsobserver.h>

#include <QElapsedTimer>
#include <QProcess>

#include <atomic>

namespace {

std::atomic<int> g_defaultLimitMs{VBoxManageCommon::DefaultTimeoutMs};
std::atomic<int> g_longLimitMs{VBoxManageCommon::LongTimeoutMs};

QString textUpToNul(const QByteArray &bytes)
{
    const int nul = bytes.indexOf('\0');
    return QString::fromUtf8(nul < 0 ? bytes : bytes.left(nul));
}

int waitLimit(VBoxManageCommon::Options options)
{
    if (options.testFlag(VBoxManageCommon::WaitForever))
        return -1;
    if (options.testFlag(VBoxManageCommon::LongTimeout))
        return g_longLimitMs;
    return g_defaultLimitMs;
}

// The first lines of the "WARNING: ..." paragraphs (indented and blank lines go on) that
// VirtualBox's Linux wrapper script prints first on stdout.
QString wrapperWarnings(const QString &output)
{
    QStringList warnings;
    for (const QString &line : output.split(QLatin1Char('\n'))) {
        if (line.startsWith(QLatin1String("WARNING: ")))
            warnings << line;
        else if (!line.trimmed().isEmpty() && !line.startsWith(QLatin1Char(' ')))
            break;
    }
    return warnings.join(QLatin1Char('\n'));
}

void logOutcome(bool finished, const VBoxManageCommon::CallResult &result)
{
    if (!finished) {
        VBoxLog::critical() << "Can't run VBoxManage";
    } else if (result.exitCode == 0) {
        VBoxLog::debug() << "Return code:" << 0;
    } else {
        VBoxLog::critical() << "Return code:" << result.exitCode;
        // The wrapper's warnings (a kernel driver missing) say why on stdout.
        const QString warnings = wrapperWarnings(result.output);
        if (!warnings.isEmpty())
            VBoxLog::critical() << "Output warnings:" << warnings;
        const QString error = result.error.trimmed();
        if (!error.isEmpty())
            VBoxLog::critical() << "Output command:" << error;
    }
}

// Waits for the child as waitForFinished does, but kills it once it has outlived a cancel of
// `observer` by half a second.
bool waitOrKill(QProcess &process, int limitMs, const VMToolsObserver &observer)
{
    constexpr int SliceMs = 100;
    constexpr int GraceMs = 500;
    QElapsedTimer clock;
    clock.start();
    qint64 canceledAt = -1;
    while (!process.waitForFinished(SliceMs)) {
        if (process.state() == QProcess::NotRunning || (limitMs >= 0 && clock.elapsed() >= limitMs))
            return false;
        if (!observer.isCanceled())
            continue;
        if (canceledAt < 0) {
            canceledAt = clock.elapsed();
        } else if (clock.elapsed() - canceledAt >= GraceMs) {
            process.kill();
            return process.waitForFinished(-1);
        }
    }
    return true;
}

// Ends and reaps a child left running after a time-out before its process object goes
// away, so that QProcess's own "Destroyed while process ... is still running" warning
// never joins the call's log lines (a Silent call must leave no trace at all).
class ChildReaper
{
public:
    explicit ChildReaper(QProcess &process)
        : m_process(process)
    {}
    ~ChildReaper()
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.kill();
        m_process.waitForFinished(-1);
    }

private:
    QProcess &m_process;
};

// Hands the call's process to the observer and takes it back, under the observer's lock,
// before the process object is destroyed: a cancel from another thread never reads a
// process object that is going away.
class ObserverRegistration
{
public:
    ObserverRegistration(VMToolsObserver *observer, QProcess *process)
        : m_observer(observer)
    {
        if (m_observer)
            m_observer->setProcess(process);
    }
    ~ObserverRegistration()
    {
        if (m_observer)
            m_observer->setProcess(nullptr);
    }
    ObserverRegistration(const ObserverRegistration &) = delete;
    ObserverRegistration &operator=(const ObserverRegistration &) = delete;

private:
    VMToolsObserver *m_observer;
};

// The first of the variables that is set and not empty, as the C library reads them.
QString firstSet(const QProcessEnvironment &env, std::initializer_list<const char *> names)
{
    for (const char *name : names) {
        const QString value = env.value(QLatin1String(name));
        if (!value.isEmpty())
            return value;
    }
    return QString();
}

// "de_DE.UTF-8", "C.utf8", "ru_RU.UTF-8@modifier": the codeset between '.' and '@'.
bool hasUtf8Codeset(const QString &locale)
{
    const int dot = locale.indexOf(QLatin1Char('.'));
    if (dot < 0)
        return false;
    QString codeset = locale.mid(dot + 1).section(QLatin1Char('@'), 0, 0).toLower();
    codeset.remove(QLatin1Char('-'));
    return codeset == QLatin1String("utf8");
}

} // namespace

namespace VBoxManageCommon {

QProcessEnvironment childEnvironment(const QProcessEnvironment &base)
{
    QProcessEnvironment env = base;
    // LC_ALL would override the two categories set below, so its value moves to them.
    const QString characterSet = firstSet(base, {"LC_ALL", "LC_CTYPE", "LANG"});
    env.remove(QStringLiteral("LC_ALL"));
    env.insert(QStringLiteral("LC_CTYPE"),
               hasUtf8Codeset(characterSet) ? characterSet : QStringLiteral("C.UTF-8"));
    // "C" exists on every system; a missing locale would make the child fall back to ASCII.
    env.insert(QStringLiteral("LC_MESSAGES"), QStringLiteral("C"));
    env.remove(QStringLiteral("LANGUAGE"));
    return env;
}

void setTimeLimitsForTesting(int defaultMs, int longMs)
{
    const bool restore = defaultMs <= 0 || longMs <= 0;
    g_defaultLimitMs = restore ? DefaultTimeoutMs : defaultMs;
    g_longLimitMs = restore ? LongTimeoutMs : longMs;
}

CallResult call(const QString &program, const QStringList &arguments, Options options,
                VMToolsObserver *observer)
{
    const bool silent = options.testFlag(Silent);
    CallResult known;
    if (!observer && CallMemo::answer(program, arguments, &known)) {
        if (!silent)
            VBoxLog::debug() << "Answered again:" << arguments;
        return known;
    }
    QProcess process;
    const ChildReaper reaper(process);
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.setProcessEnvironment(childEnvironment());
    const ObserverRegistration registration(observer, &process);
    if (!silent)
        VBoxLog::debug() << "Call:" << arguments;

    process.start(program, arguments, QIODevice::ReadWrite);
    const bool finished = observer && options.testFlag(KillWhenCanceled)
                              ? waitOrKill(process, waitLimit(options), *observer)
                              : process.waitForFinished(waitLimit(options));

    if (observer && observer->isCanceled()) {
        CallMemo::remember(program, arguments, false, {});
        return {-1, QString(), QStringLiteral("canceled")};
    }

    CallResult result;
    result.exitCode = process.exitCode();
    result.output = textUpToNul(process.readAllStandardOutput());
    result.error = textUpToNul(process.readAllStandardError());
    if (!silent)
        logOutcome(finished, result);
    CallMemo::remember(program, arguments,
                       finished && process.exitStatus() == QProcess::NormalExit && !observer,
                       result);
    return result;
}

} // namespace VBoxManageCommon
