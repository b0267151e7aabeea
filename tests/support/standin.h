// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QJsonArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include "scopedenv.h"

// One answer of the scripted stand-in to one call.
struct Answer
{
    enum class OnSigint { Default, Exit, Ignore };

    int exitCode = 0;
    QString out;
    QString err;
    int delayMs = 0;
    OnSigint onSigint = OnSigint::Default;
    int sigintExitCode = 130;

    static Answer ok(const QString &out = QString()) { return {0, out, QString()}; }
    static Answer fail(int exitCode, const QString &err = QString())
    {
        return {exitCode, QString(), err};
    }
    Answer &withDelay(int ms)
    {
        delayMs = ms;
        return *this;
    }
    Answer &exitingOnSigint(int code = 130)
    {
        onSigint = OnSigint::Exit;
        sigintExitCode = code;
        return *this;
    }
    Answer &ignoringSigint()
    {
        onSigint = OnSigint::Ignore;
        return *this;
    }
};

struct ToolCall
{
    QString tool;
    QStringList args;
};

// Puts stand-ins named VBoxManage and ip first on PATH for the lifetime of the object
// and scripts their answers. Unscripted calls exit 99 with "stand-in: no rule for".
class StandIn
{
public:
    StandIn();

    // Rules are tried in the order they were added; the first match answers.
    void onExact(const QStringList &args, const QList<Answer> &answers,
                 const QString &tool = QStringLiteral("VBoxManage"));
    void onPrefix(const QStringList &args, const QList<Answer> &answers,
                  const QString &tool = QStringLiteral("VBoxManage"));
    // A regular expression over the arguments joined by single spaces, anchored at both ends.
    void onPattern(const QString &pattern, const QList<Answer> &answers,
                   const QString &tool = QStringLiteral("VBoxManage"));
    void clearRules();

    // The argument lists of every call of `tool`, in order.
    QList<QStringList> calls(const QString &tool = QStringLiteral("VBoxManage")) const;
    QList<ToolCall> allCalls() const;
    void clearCalls();

    QString binDir() const;
    QString dataDir() const;

private:
    void addRule(const QString &match, const QJsonValue &argsOrPattern,
                 const QList<Answer> &answers, const QString &tool);
    void writeScript() const;

    QTemporaryDir m_dir;
    QJsonArray m_rules;
    ScopedEnvironment m_environment;
};
