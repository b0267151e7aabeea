// SPDX-License-Identifier: Apache-2.0
// A scripted stand-in for VBoxManage and ip. Installed under those names (symbolic
// links) in a folder first on PATH; STANDIN_DIR names the folder that holds:
//   script.json  the rules: [{"tool", "match": "exact|prefix|pattern", "args" or
//                "pattern", "answers": [{"exitCode", "stdout", "stderr", "delayMs",
//                "onSigint": "default|exit|ignore", "sigintExitCode"}]}]
//   calls.jsonl  one JSON line per invocation: {"tool": ..., "args": [...]}
//   counters/    how often each rule has answered, so repeated calls walk its answers
// The first rule that matches answers; its answers are used in turn, the last repeats.

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QStringList>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

int g_sigintExitCode = 130;

void exitOnSigint(int)
{
    _exit(g_sigintExitCode);
}

bool writeAll(int fd, const QByteArray &bytes)
{
    const char *data = bytes.constData();
    qint64 left = bytes.size();
    while (left > 0) {
        const ssize_t n = ::write(fd, data, static_cast<size_t>(left));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return false;
        data += n;
        left -= n;
    }
    return true;
}

void appendCall(const QString &dir, const QString &tool, const QStringList &args)
{
    QJsonObject call{{"tool", tool}, {"args", QJsonArray::fromStringList(args)}};
    const QByteArray line = QJsonDocument(call).toJson(QJsonDocument::Compact) + '\n';
    const int fd = ::open(QFile::encodeName(dir + "/calls.jsonl").constData(),
                          O_WRONLY | O_CREAT | O_APPEND, 0644);
    if (fd < 0)
        return;
    ::flock(fd, LOCK_EX);
    writeAll(fd, line);
    ::close(fd);
}

bool ruleMatches(const QJsonObject &rule, const QString &tool, const QStringList &args)
{
    const QString ruleTool = rule.value("tool").toString("VBoxManage");
    if (ruleTool != tool)
        return false;
    const QString match = rule.value("match").toString("exact");
    if (match == "pattern") {
        const QRegularExpression re(
            QRegularExpression::anchoredPattern(rule.value("pattern").toString()),
            QRegularExpression::DotMatchesEverythingOption);
        return re.match(args.join(' ')).hasMatch();
    }
    QStringList expected;
    for (const QJsonValue &v : rule.value("args").toArray())
        expected.append(v.toString());
    if (match == "prefix")
        return args.mid(0, expected.size()) == expected;
    return args == expected;
}

// Returns how many times the rule answered before, and counts this call.
int takeTurn(const QString &dir, int ruleIndex)
{
    QDir().mkpath(dir + "/counters");
    const QByteArray path = QFile::encodeName(dir + "/counters/" + QString::number(ruleIndex));
    const int fd = ::open(path.constData(), O_RDWR | O_CREAT, 0644);
    if (fd < 0)
        return 0;
    ::flock(fd, LOCK_EX);
    char buffer[32] = {};
    const ssize_t n = ::read(fd, buffer, sizeof buffer - 1);
    const int turn = n > 0 ? QByteArray(buffer, static_cast<int>(n)).trimmed().toInt() : 0;
    ::lseek(fd, 0, SEEK_SET);
    ::ftruncate(fd, 0);
    writeAll(fd, QByteArray::number(turn + 1));
    ::close(fd);
    return turn;
}

void sleepMs(int ms)
{
    timespec left{ms / 1000, (ms % 1000) * 1000000L};
    while (::nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

int answer(const QJsonObject &reply)
{
    const QString onSigint = reply.value("onSigint").toString("default");
    g_sigintExitCode = reply.value("sigintExitCode").toInt(130);
    if (onSigint == "ignore")
        ::signal(SIGINT, SIG_IGN);
    else if (onSigint == "exit")
        ::signal(SIGINT, exitOnSigint);
    sleepMs(reply.value("delayMs").toInt(0));
    writeAll(STDOUT_FILENO, reply.value("stdout").toString().toUtf8());
    writeAll(STDERR_FILENO, reply.value("stderr").toString().toUtf8());
    return reply.value("exitCode").toInt(0);
}

} // namespace

int main(int argc, char **argv)
{
    const QString tool = QFileInfo(QFile::decodeName(argv[0])).fileName();
    QStringList args;
    for (int i = 1; i < argc; ++i)
        args.append(QString::fromLocal8Bit(argv[i]));

    const QString dir = QFile::decodeName(qgetenv("STANDIN_DIR"));
    if (dir.isEmpty()) {
        std::fprintf(stderr, "%s: STANDIN_DIR is not set\n", argv[0]);
        return 98;
    }
    appendCall(dir, tool, args);

    QFile scriptFile(dir + "/script.json");
    scriptFile.open(QIODevice::ReadOnly);
    const QJsonArray rules = QJsonDocument::fromJson(scriptFile.readAll()).array();
    for (int i = 0; i < rules.size(); ++i) {
        const QJsonObject rule = rules.at(i).toObject();
        if (!ruleMatches(rule, tool, args))
            continue;
        const QJsonArray answers = rule.value("answers").toArray();
        if (answers.isEmpty())
            return 0;
        const int turn = takeTurn(dir, i);
        return answer(answers.at(qMin(turn, answers.size() - 1)).toObject());
    }
    const QByteArray unscripted = "stand-in: no rule for " + tool.toUtf8() + " "
                                  + QJsonDocument(QJsonArray::fromStringList(args)).toJson(
                                      QJsonDocument::Compact)
                                  + "\n";
    writeAll(STDERR_FILENO, unscripted);
    return 99;
}
