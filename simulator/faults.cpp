#include "faults.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

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
    static const QStringList kinds = {"vmx", "svm", "diskfull", "locked", "fail", "slow", "down"};
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
    m_usesFile = QDir(home).filePath(QStringLiteral("fault-uses.json"));
    if (faultFile.isEmpty())
        return;
    QFile file(faultFile);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return;
    const QJsonObject uses = readUses(m_usesFile);
    for (const QString &line : QString::fromUtf8(file.readAll()).split('\n')) {
        Fault fault;
        if (!parseLine(line, &fault))
            continue;
        if (fault.count >= 0)
            fault.count = qMax(0, fault.count - uses.value(fault.key).toInt());
        m_faults.append(fault);
    }
}

const Fault *Faults::take(const QStringList &args)
{
    for (Fault &fault : m_faults) {
        if (fault.count == 0 || !fault.matches(args))
            continue;
        if (fault.count > 0) {
            --fault.count;
            QJsonObject uses = readUses(m_usesFile);
            uses[fault.key] = uses.value(fault.key).toInt() + 1;
            QSaveFile file(m_usesFile);
            if (file.open(QIODevice::WriteOnly)) {
                file.write(QJsonDocument(uses).toJson());
                file.commit();
            }
        }
        return &fault;
    }
    return nullptr;
}

} // namespace VBoxSim
