// SPDX-License-Identifier: Apache-2.0
#include "hangbreaker.h"

#include "procstats.h"

#include <QElapsedTimer>
#include <QFile>
#include <QHash>

#include <chrono>

#include <signal.h>

namespace {

bool isRunningVBoxManage(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return false;
    const QByteArray fields = stat.readAll();
    return fields.contains("(VBoxManage) ") && !fields.contains(") Z ");
}

} // namespace

HangBreaker::HangBreaker(int afterMs)
    : m_afterMs(afterMs)
    , m_thread([this] { watch(); })
{}

HangBreaker::~HangBreaker()
{
    m_stop = true;
    m_thread.join();
}

void HangBreaker::watch()
{
    QHash<qint64, QElapsedTimer> seen;
    while (!m_stop) {
        for (const qint64 pid : ProcStats::children()) {
            if (!isRunningVBoxManage(pid))
                continue;
            if (!seen.contains(pid)) {
                seen[pid].start();
            } else if (seen[pid].elapsed() > m_afterMs) {
                ::kill(static_cast<pid_t>(pid), SIGKILL);
                seen.remove(pid);
                ++m_ended;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}
