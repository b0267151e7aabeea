// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QJsonObject>
#include <QMap>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

class StandIn;

// A pseudo-terminal for vmtools to talk to, as a user at a terminal would.
class Terminal
{
public:
    Terminal();
    ~Terminal();
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    bool isOpen() const { return m_master >= 0; }
    QString path() const;
    // Reads what vmtools shows until it holds `text` or the time is up; all that was shown.
    QByteArray readUntil(const QByteArray &text, int timeoutMs = 20000);
    void type(const QByteArray &keys);

private:
    int m_master = -1;
    QByteArray m_shown;
};

struct VmtoolsResult
{
    int exitCode = -1;
    QString out;
    QString err;

    QJsonObject json() const;
    QStringList errLines() const;
};

// A private copy of vmtools with plugins/ linked to the real plug-in folder, and a home
// of its own: each test's settings (also those written beside the executable) stay here.
class VmtoolsHost
{
public:
    VmtoolsHost();

    // The environment that runs start from instead of this process's own (which the
    // scripted stand-in changes while it lives); HOME and QM_HOME are still the host's.
    void setBaseEnvironment(const QProcessEnvironment &base) { m_base = base; }
    // A variable of later runs, over the host's own (such as QM_HOME).
    void setVariable(const QString &name, const QString &value) { m_variables.insert(name, value); }

    VmtoolsResult run(const QStringList &arguments, int timeoutMs = 60000) const;
    // terminalPath: a terminal to take the place of standard input and the error pipe.
    std::unique_ptr<QProcess> start(const QStringList &arguments,
                                    const QString &terminalPath = QString()) const;
    // A scratch folder for files the test hands to vmtools.
    QString scratch(const QString &name = QString()) const;
    // A file of the scratch folder with these contents; its path.
    QString scratchFile(const QString &name, const QByteArray &contents) const;

private:
    QProcessEnvironment environment() const;

    QTemporaryDir m_dir;
    QProcessEnvironment m_base;
    QProcessEnvironment m_variables;
};

// A file of the source tree; one that VirtualBox 5.2 printed (tests/data/5.2).
QString readSource(const QString &path);
QString recorded(const QString &name);
// The rows of a table of tests/data/cli: the columns of each line, split at " | " and trimmed,
// each `{key}` of `fill` put in, "\n" and "\t" made a line break and a tab. '#' and blank lines are
// skipped.
QList<QStringList> dataRows(const QString &name, const QMap<QString, QString> &fill = {});

// The VBoxManage answers that the engine's start-up needs: host information (8 CPUs
// after the cap, 15923 MB), a new host-only interface vboxnet0 and the version.
void scriptEngineStart(StandIn &standIn);

struct DeviceScript
{
    QString name = QStringLiteral("phone");
    QString uuid = QStringLiteral("0b6c7f21-7d4c-4d2b-9a55-3e0f3f6e8a11");
    QString state = QStringLiteral("powered off");
    bool factoryBackup = true;
    // When not negative: the device shows as running from this lookup by name on (a start's
    // own check that the machine came up).
    int runningFromLookup = -1;
};
// Answers for looking a device up, by name and by UUID, and for its snapshot list.
void scriptDevice(StandIn &standIn, const DeviceScript &device);

// The usual host, after the test's own rules: the engine's start-up, a powered-off "phone"
// and a running "tablet", both with a factory backup; every other call succeeds.
void scriptUsualHost(StandIn &standIn);
// VBoxManage knows no machine of that name.
void scriptNoMachine(StandIn &standIn, const QString &name);

// The VBoxManage calls whose arguments begin with `prefix`, in order; whether there is one.
QList<QStringList> callsWith(const StandIn &standIn, const QStringList &prefix);
bool calledWithPrefix(const StandIn &standIn, const QStringList &prefix);

// One vmtools run and what it must answer: the exit code; the message it fails with, one a
// line, each on stderr after "vmtools: " (the first also as "error" of a --json run); when
// given, the whole standard output, or for a --json run a JSON object whose members (those
// of nested objects likewise) the output must have.
struct Expect
{
    // Written as one string, the arguments are split at blanks.
    struct Arguments : QStringList
    {
        Arguments(std::initializer_list<QString> list)
            : QStringList(list)
        {}
        Arguments(const QString &line)
            : QStringList(line.split(' ', Qt::SkipEmptyParts))
        {}
        Arguments(const char *line)
            : Arguments(QString(line))
        {}
    };
    Arguments arguments;
    int exitCode;
    QString error = QString();
    QString out = QString();
};
// The results, in order, for checks of the test's own.
QList<VmtoolsResult> expectRuns(const VmtoolsHost &host, const QList<Expect> &runs);
// `actual` has the members of the JSON object `expected`, nested objects likewise.
void expectMembers(const QJsonObject &actual, const QString &expected);
