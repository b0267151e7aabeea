// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vmtools/vboxmanagecommon.h>
#include <vmtools/vmtools_export.h>

#include <QHash>
#include <QMutex>
#include <QString>
#include <QStringList>

// What VirtualBox answered to the reads of one command of a host, so that the command asks
// each listing of a machine once. The command runner uses it only on a thread that a Scope
// binds to it; every other call runs as it always has. Only a read that succeeded is kept,
// and a run that is not a known read (it may have changed what the answers say) forgets
// them all. A memo lives no longer than the one command that made it.
class VMTOOLS_EXPORT CallMemo final
{
public:
    // Binds the calling thread to a memo for the scope's life.
    class VMTOOLS_EXPORT Scope final
    {
    public:
        explicit Scope(CallMemo &memo);
        ~Scope();
        Scope(const Scope &) = delete;
        Scope &operator=(const Scope &) = delete;

    private:
        CallMemo *m_previous;
    };

    CallMemo() = default;
    CallMemo(const CallMemo &) = delete;
    CallMemo &operator=(const CallMemo &) = delete;

    // `name` names the machine `uuid` and no other one: a read by either answers for both.
    void sameMachine(const QString &name, const QString &uuid);
    // Keeps `result` as the answer to a read of `program` with `arguments`, as if that run
    // had given it: for answers that another read of the same command already contains.
    void keep(const QString &program, const QStringList &arguments,
              const VBoxManageCommon::CallResult &result);
    // Whether a run of `program` with `arguments` has a kept answer.
    bool isKnown(const QString &program, const QStringList &arguments) const;
    // How many answers were given again instead of a run.
    int reuses() const;

    // For the command runner: the kept answer to a run on this thread, if there is one.
    static bool answer(const QString &program, const QStringList &arguments,
                       VBoxManageCommon::CallResult *result);
    // For the command runner: keeps a successful read, or forgets everything after any
    // other run.
    static void remember(const QString &program, const QStringList &arguments, bool succeeded,
                         const VBoxManageCommon::CallResult &result);

private:
    static bool isRead(const QStringList &arguments);
    QStringList key(const QString &program, const QStringList &arguments) const;

    mutable QMutex m_mutex;
    QHash<QString, QString> m_uuidOfName;
    QHash<QStringList, VBoxManageCommon::CallResult> m_answers;
    int m_reuses = 0;
};
