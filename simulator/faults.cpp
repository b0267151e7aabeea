// SPDX-License-Identifier: Apache-2.0
#include "faults.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace VBoxSim {

namespace {

QJsonObject readUses(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object();
}

} // namespace

bool Fault::matches(const QStringList &args) const
{
    if (command == QStringList{QStringLiteral("*")})
        return vm.isEmpty() || args.contains(vm);
    if (args.size() < command.size())
        return false;
    for (int i = 0; i < command.size(); ++i)
        if (args[i] != command[i])
            return false;
    return vm.isEmpty() || args.contains(vm);
}

bool Faults::parseLine(const QString &line, Fault *fault)
{
    const QString trimmed = line.trimmed();
    if (trimmed.isEmpty() || trimmed.startsWith('#'))
        return false;
    const int messageAt = trimmed.indexOf(QStringLiteral("message="));
    const QString head = messageAt < 0 ? trimmed : trimmed.left(messageAt);
    const QStringList words = head.split(' ', Qt::SkipEmptyParts);
    if (words.size() < 2)
        return false;
    *fault = Fault();
    fault->command = words[0].split('/');
    fault->kind = words[1];
    static const QStringList kinds = {
        "vmx",    "svm",  "diskfull", "locked",  "fail",  "slow",      "down",       "nodriver",
        "killed", "hang", "flood",    "garbage", "empty", "noservice", "childmedia", "partial"};
    if (!kinds.contains(fault->kind))
        return false;
    for (int i = 2; i < words.size(); ++i) {
        const QString key = words[i].section('=', 0, 0);
        const QString value = words[i].section('=', 1);
        bool ok = true;
        if (key == QLatin1String("count"))
            fault->count = value.toInt(&ok);
        else if (key == QLatin1String("vm"))
            fault->vm = value;
        else if (key == QLatin1String("ms"))
            fault->ms = value.toInt(&ok);
        else if (key == QLatin1String("exit"))
            fault->exitCode = value.toInt(&ok);
        else if (key == QLatin1String("rc"))
            fault->rc = value;
        else if (key == QLatin1String("code"))
            fault->code = value;
        else if (key == QLatin1String("context"))
            fault->context = value;
        else
            ok = false;
        if (!ok)
            return false;
    }
    if (messageAt >= 0)
        fault->message = trimmed.mid(messageAt + 8);
    fault->key = trimmed;
    return true;
}

void Faults::load(const QString &faultFile, const QString &home)
{
    m_faults.clear();
    m_home = home;
    if (faultFile.isEmpty())
        return;
    QFile file(faultFile);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return;
    for (const QString &line : QString::fromUtf8(file.readAll()).split('\n')) {
        Fault fault;
        if (parseLine(line, &fault))
            m_faults.append(fault);
    }
}

// Counts one use of a counted fault if it has any left. The uses file has a lock of its
// own, as the wrapper's faults are taken without the lock on the simulated host.
bool Faults::useUp(const Fault &fault) const
{
    if (m_home.isEmpty())
        return true;
    const QDir home(m_home);
    QDir().mkpath(m_home);
    const int fd =
        ::open(QFile::encodeName(home.filePath(QStringLiteral(".fault-uses.lock"))).constData(),
               O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0 || ::flock(fd, LOCK_EX) != 0) {
        if (fd >= 0)
            ::close(fd);
        return false;
    }
    const QString usesFile = home.filePath(QStringLiteral("fault-uses.json"));
    QJsonObject uses = readUses(usesFile);
    const int used = uses.value(fault.key).toInt();
    if (used < fault.count) {
        uses[fault.key] = used + 1;
        QSaveFile file(usesFile);
        if (file.open(QIODevice::WriteOnly)) {
            file.write(QJsonDocument(uses).toJson());
            file.commit();
        }
    }
    ::close(fd);
    return used < fault.count;
}

Faults::Stage Faults::stageOf(const QString &kind)
{
    static const QStringList processKinds = {"killed",  "hang",  "flood",
                                             "garbage", "empty", "noservice"};
    if (kind == QLatin1String("nodriver"))
        return Wrapper;
    return processKinds.contains(kind) ? Process : Command;
}

const Fault *Faults::take(const QStringList &args, Stage stage)
{
    for (const Fault &fault : m_faults) {
        if (stageOf(fault.kind) != stage || !fault.matches(args))
            continue;
        if (fault.count < 0 || useUp(fault))
            return &fault;
    }
    return nullptr;
}

} // namespace VBoxSim
