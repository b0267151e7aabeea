// SPDX-License-Identifier: Apache-2.0
#include <vmtools/callmemo.h>

#include <QMutexLocker>

namespace {

thread_local CallMemo *t_memo = nullptr;

// Where a read names its machine: "showvminfo ID", "guestproperty enumerate|get ID ...",
// "snapshot ID list"; -1 for reads of the host.
int machineIndex(const QStringList &arguments)
{
    const QString &command = arguments.value(0);
    if (command == QLatin1String("showvminfo"))
        return 1;
    if (command == QLatin1String("guestproperty"))
        return 2;
    if (command == QLatin1String("snapshot"))
        return 1;
    return -1;
}

} // namespace

CallMemo::Scope::Scope(CallMemo &memo)
    : m_previous(t_memo)
{
    t_memo = &memo;
}

CallMemo::Scope::~Scope()
{
    t_memo = m_previous;
}

void CallMemo::sameMachine(const QString &name, const QString &uuid)
{
    QMutexLocker locker(&m_mutex);
    m_uuidOfName.insert(name, uuid);
}

int CallMemo::reuses() const
{
    QMutexLocker locker(&m_mutex);
    return m_reuses;
}

// Only what reads VirtualBox's state and never changes it.
bool CallMemo::isRead(const QStringList &arguments)
{
    const QString &command = arguments.value(0);
    const QString &verb = arguments.value(machineIndex(arguments) == 2 ? 1 : 2);
    if (command == QLatin1String("showvminfo") || command == QLatin1String("list") ||
        command == QLatin1String("--version") ||
        (command == QLatin1String("getextradata") &&
         arguments.value(2) == QLatin1String("enumerate")))
        return true;
    if (command == QLatin1String("guestproperty"))
        return verb == QLatin1String("enumerate") || verb == QLatin1String("get");
    if (command == QLatin1String("snapshot"))
        return verb == QLatin1String("list") && arguments.size() == 3;
    return false;
}

QStringList CallMemo::key(const QString &program, const QStringList &arguments) const
{
    QStringList key = arguments;
    const int index = machineIndex(arguments);
    if (index >= 0 && index < key.size())
        key[index] = m_uuidOfName.value(key.at(index), key.at(index));
    key.prepend(program);
    return key;
}

bool CallMemo::answer(const QString &program, const QStringList &arguments,
                      VBoxManageCommon::CallResult *result)
{
    CallMemo *memo = t_memo;
    if (!memo || !isRead(arguments))
        return false;
    QMutexLocker locker(&memo->m_mutex);
    const auto found = memo->m_answers.constFind(memo->key(program, arguments));
    if (found == memo->m_answers.cend())
        return false;
    *result = found.value();
    ++memo->m_reuses;
    return true;
}

void CallMemo::remember(const QString &program, const QStringList &arguments, bool succeeded,
                        const VBoxManageCommon::CallResult &result)
{
    CallMemo *memo = t_memo;
    if (!memo)
        return;
    QMutexLocker locker(&memo->m_mutex);
    if (!isRead(arguments))
        memo->m_answers.clear();
    else if (succeeded && result.exitCode == 0)
        memo->m_answers.insert(memo->key(program, arguments), result);
}

void CallMemo::keep(const QString &program, const QStringList &arguments,
                    const VBoxManageCommon::CallResult &result)
{
    if (!isRead(arguments))
        return;
    QMutexLocker locker(&m_mutex);
    m_answers.insert(key(program, arguments), result);
}

bool CallMemo::isKnown(const QString &program, const QStringList &arguments) const
{
    QMutexLocker locker(&m_mutex);
    return m_answers.contains(key(program, arguments));
}
