// SPDX-License-Identifier: Apache-2.0
#include "standin.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#ifndef STANDIN_EXECUTABLE
#error "STANDIN_EXECUTABLE must name the scripted stand-in program"
#endif

namespace {

QJsonObject toJson(const Answer &answer)
{
    static const char *const sigintModes[] = {"default", "exit", "ignore"};
    return QJsonObject{
        {"exitCode", answer.exitCode},
        {"stdout", answer.out},
        {"stderr", answer.err},
        {"delayMs", answer.delayMs},
        {"onSigint", sigintModes[static_cast<int>(answer.onSigint)]},
        {"sigintExitCode", answer.sigintExitCode},
    };
}

} // namespace

StandIn::StandIn()
{
    QDir().mkpath(binDir());
    QDir().mkpath(dataDir());
    for (const char *tool : {"VBoxManage", "ip"})
        QFile::link(QStringLiteral(STANDIN_EXECUTABLE), binDir() + '/' + tool);
    writeScript();
    m_environment.set("PATH", QFile::encodeName(binDir()) + ':' + qgetenv("PATH"));
    m_environment.set("STANDIN_DIR", QFile::encodeName(dataDir()));
}

void StandIn::onExact(const QStringList &args, const QList<Answer> &answers, const QString &tool)
{
    addRule(QStringLiteral("exact"), QJsonArray::fromStringList(args), answers, tool);
}

void StandIn::onPrefix(const QStringList &args, const QList<Answer> &answers, const QString &tool)
{
    addRule(QStringLiteral("prefix"), QJsonArray::fromStringList(args), answers, tool);
}

void StandIn::onPattern(const QString &pattern, const QList<Answer> &answers, const QString &tool)
{
    addRule(QStringLiteral("pattern"), pattern, answers, tool);
}

void StandIn::clearRules()
{
    m_rules = QJsonArray();
    QDir(dataDir() + QStringLiteral("/counters")).removeRecursively();
    writeScript();
}

void StandIn::addRule(const QString &match, const QJsonValue &argsOrPattern,
                      const QList<Answer> &answers, const QString &tool)
{
    QJsonArray replies;
    for (const Answer &answer : answers)
        replies.append(toJson(answer));
    QJsonObject rule{{"tool", tool}, {"match", match}, {"answers", replies}};
    rule.insert(match == QLatin1String("pattern") ? "pattern" : "args", argsOrPattern);
    m_rules.append(rule);
    writeScript();
}

void StandIn::writeScript() const
{
    QFile file(dataDir() + QStringLiteral("/script.json"));
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(QJsonDocument(m_rules).toJson());
}

QList<ToolCall> StandIn::allCalls() const
{
    QList<ToolCall> result;
    QFile file(dataDir() + QStringLiteral("/calls.jsonl"));
    if (!file.open(QIODevice::ReadOnly))
        return result;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.isEmpty())
            continue;
        const QJsonObject call = QJsonDocument::fromJson(line).object();
        QStringList args;
        for (const QJsonValue &arg : call.value("args").toArray())
            args.append(arg.toString());
        result.append({call.value("tool").toString(), args});
    }
    return result;
}

QList<QStringList> StandIn::calls(const QString &tool) const
{
    QList<QStringList> result;
    for (const ToolCall &call : allCalls()) {
        if (call.tool == tool)
            result.append(call.args);
    }
    return result;
}

void StandIn::clearCalls()
{
    QFile::remove(dataDir() + QStringLiteral("/calls.jsonl"));
}

QString StandIn::binDir() const
{
    return m_dir.path() + QStringLiteral("/bin");
}

QString StandIn::dataDir() const
{
    return m_dir.path() + QStringLiteral("/data");
}
