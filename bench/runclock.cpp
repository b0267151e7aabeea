// SPDX-License-Identifier: Apache-2.0
#include "runclock.h"

#include <vmtools/vboxmanagecommon.h>

#include <QProcess>

#include <chrono>

namespace {

using Clock = std::chrono::steady_clock;

Clock::duration inRuns{};
int runCount = 0;
// The plug-in starts one `ip` at a time and waits for it before the next.
Clock::time_point ipStarted;
bool ipPending = false;

void addRun(Clock::time_point start)
{
    inRuns += Clock::now() - start;
    ++runCount;
}

} // namespace

namespace RunClock {

void reset()
{
    inRuns = {};
    runCount = 0;
    ipPending = false;
}

double seconds()
{
    return std::chrono::duration<double>(inRuns).count();
}

int runs()
{
    return runCount;
}

} // namespace RunClock

// The linker's wrappers: each __wrap_X receives the plug-in's calls of X, and __real_X is the
// original. The names are the mangled names of
//   VBoxManageCommon::call(const QString &, const QStringList &, Options, VMToolsObserver *)
//   QProcess::start(const QString &, const QStringList &, QIODevice::OpenMode)
//   QProcess::waitForFinished(int)
// (a member function takes its object as the first argument). Keep them in step with
// bench/CMakeLists.txt.
extern "C" {

VBoxManageCommon::CallResult
__real__ZN16VBoxManageCommon4callERK7QStringRK11QStringList6QFlagsINS_6OptionEEP15VMToolsObserver(
    const QString &program, const QStringList &arguments, VBoxManageCommon::Options options,
    VMToolsObserver *observer);
void __real__ZN8QProcess5startERK7QStringRK11QStringList6QFlagsIN9QIODevice12OpenModeFlagEE(
    QProcess *process, const QString &program, const QStringList &arguments,
    QIODevice::OpenMode mode);
bool __real__ZN8QProcess15waitForFinishedEi(QProcess *process, int msecs);

VBoxManageCommon::CallResult
__wrap__ZN16VBoxManageCommon4callERK7QStringRK11QStringList6QFlagsINS_6OptionEEP15VMToolsObserver(
    const QString &program, const QStringList &arguments, VBoxManageCommon::Options options,
    VMToolsObserver *observer)
{
    const Clock::time_point start = Clock::now();
    VBoxManageCommon::CallResult result =
        __real__ZN16VBoxManageCommon4callERK7QStringRK11QStringList6QFlagsINS_6OptionEEP15VMToolsObserver(
            program, arguments, options, observer);
    addRun(start);
    return result;
}

void __wrap__ZN8QProcess5startERK7QStringRK11QStringList6QFlagsIN9QIODevice12OpenModeFlagEE(
    QProcess *process, const QString &program, const QStringList &arguments,
    QIODevice::OpenMode mode)
{
    ipStarted = Clock::now();
    ipPending = true;
    __real__ZN8QProcess5startERK7QStringRK11QStringList6QFlagsIN9QIODevice12OpenModeFlagEE(
        process, program, arguments, mode);
}

bool __wrap__ZN8QProcess15waitForFinishedEi(QProcess *process, int msecs)
{
    const bool finished = __real__ZN8QProcess15waitForFinishedEi(process, msecs);
    if (ipPending) {
        ipPending = false;
        addRun(ipStarted);
    }
    return finished;
}

} // extern "C"
