// SPDX-License-Identifier: Apache-2.0
#pragma once

// A simulated VirtualBox host of its own for each test, driven through the stand-in
// programs exactly as the plug-in drives them.
#include "printers.h"
#include "scopedenv.h"

#include <vmtools/settings.h>

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTextCodec>
#include <QThread>

#include <memory>

#include <pwd.h>
#include <unistd.h>

struct ToolRun
{
    int exitCode = -1;
    QString out;
    QString err;
};

class SimHost
{
public:
    explicit SimHost(const QString &version = QStringLiteral("5.2"))
        : m_version(version)
    {
        // Arguments reach the stand-in as UTF-8 whatever the tests' own locale.
        QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    }

    // "real" is the VirtualBox first on PATH, as it is: for a run in the real-VirtualBox
    // root, which has no stand-in and nothing to fault.
    bool isReal() const { return m_version == QStringLiteral("real"); }
    QString home() const { return m_dir.path() + QStringLiteral("/host"); }
    // Where VirtualBox keeps its machines unless told otherwise: in the home folder that
    // the password database names, whatever HOME says.
    QString defaultMachineFolder() const
    {
        const QString userHome =
            isReal() ? QFile::decodeName(::getpwuid(::getuid())->pw_dir) : home();
        return userHome + QStringLiteral("/VirtualBox VMs");
    }
    QString path(const QString &relative) const { return m_dir.path() + '/' + relative; }
    void setBootMs(int ms) { m_bootMs = ms; }
    // A variable of the runs' environment; a null value removes it. The locale variables
    // of the tests' own environment are dropped, and LC_ALL is C.UTF-8 unless changed.
    void setVariable(const QString &name, const QString &value) { m_variables[name] = value; }
    void setFaults(const QString &text)
    {
        QFile file(path(QStringLiteral("faults.txt")));
        file.open(QIODevice::WriteOnly | QIODevice::Truncate);
        file.write(text.toUtf8());
    }

    // The stand-in is first on PATH.
    QProcessEnvironment environment() const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        if (!isReal())
            env.insert(QStringLiteral("PATH"),
                       QStringLiteral(VBOXSIM_BIN_DIR ":") + env.value("PATH"));
        env.insert(QStringLiteral("VBOXSIM_HOME"), home());
        env.insert(QStringLiteral("VBOXSIM_VERSION"), m_version);
        env.insert(QStringLiteral("VBOXSIM_BOOT_MS"), QString::number(m_bootMs));
        env.insert(QStringLiteral("VBOXSIM_FAULTS"), path(QStringLiteral("faults.txt")));
        for (const char *name : {"LC_ALL", "LC_MESSAGES", "LC_CTYPE", "LANG"})
            env.remove(name);
        for (auto it = m_variables.cbegin(); it != m_variables.cend(); ++it) {
            if (it.value().isNull())
                env.remove(it.key());
            else
                env.insert(it.key(), it.value());
        }
        return env;
    }

    // Puts the stand-in first on PATH and points it at this host while the result lives, in
    // the desktop's language `locale` (all categories) when one is given. The plug-in, loaded
    // in the test's own process, then runs the stand-in as it would run VirtualBox.
    ScopedEnvironment use(const QByteArray &locale = QByteArray()) const
    {
        ScopedEnvironment scope;
        const QProcessEnvironment env = environment();
        for (const char *name :
             {"PATH", "VBOXSIM_HOME", "VBOXSIM_VERSION", "VBOXSIM_BOOT_MS", "VBOXSIM_FAULTS"}) {
            if (!isReal())
                scope.set(name, env.value(name).toUtf8());
        }
        for (const char *name : {"LC_ALL", "LC_MESSAGES", "LC_CTYPE", "LANG"})
            scope.set(name, locale.isEmpty() ? qgetenv(name) : locale);
        Settings::remove(QStringLiteral("host.only.interface"));
        return scope;
    }

    static QString program(const QString &name)
    {
        return QStringLiteral(VBOXSIM_BIN_DIR) + '/' + name;
    }

    // A run left going, for tests that interrupt it or race it.
    std::unique_ptr<QProcess> start(const QStringList &args,
                                    const QString &tool = QStringLiteral("VBoxManage")) const
    {
        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(environment());
        process->start(isReal() ? tool : program(tool), args);
        process->waitForStarted();
        return process;
    }

    ToolRun vbox(const QStringList &args) const { return run(QStringLiteral("VBoxManage"), args); }

    ToolRun run(const QString &tool, const QStringList &args) const
    {
        const auto process = start(args, tool);
        process->waitForFinished(60000);
        return {process->exitCode(), QString::fromUtf8(process->readAllStandardOutput()),
                QString::fromUtf8(process->readAllStandardError())};
    }

    // A host-only interface with the DHCP plan the plug-in sets up.
    void addHostOnlyNetwork() const
    {
        vbox({"hostonlyif", "create"});
        vbox({"dhcpserver", "add", "--ifname", "vboxnet0", "--ip", "192.168.56.100", "--netmask",
              "255.255.255.0", "--lowerip", "192.168.56.101", "--upperip", "192.168.56.254",
              "--enable"});
    }

    // Imports the sample appliance as `name`, with its disks at `disks` (%1 the name, %2 the
    // disk: system, data or sdcard), by default in the folder vms/<name>.
    ToolRun importSample(const QString &name, QString disks = QString()) const
    {
        if (disks.isEmpty())
            disks = path(QStringLiteral("vms/%1/%2.vmdk"));
        QStringList args = {"import", VBOXSIM_SAMPLE_OVA, "--vsys", "0", "--vmname", name};
        int unit = 10;
        for (const char *disk : {"system", "data", "sdcard"})
            args << "--vsys"
                 << "0"
                 << "--unit" << QString::number(unit++) << "--disk" << disks.arg(name, disk);
        return vbox(args);
    }

private:
    QTemporaryDir m_dir;
    QString m_version;
    int m_bootMs = 0;
    QMap<QString, QString> m_variables = {{QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8")}};
};

inline QString errorLines(const QStringList &lines)
{
    QString text;
    for (const QString &line : lines)
        text += QStringLiteral("VBoxManage: error: ") + line + '\n';
    return text;
}

// Every one of `parts` is in `text`; a failure names the part that is not.
inline void expectContains(const QString &text, const QStringList &parts)
{
    for (const QString &part : parts)
        EXPECT_TRUE(text.contains(part)) << "no \"" << qPrintable(part) << "\" in:\n"
                                         << qPrintable(text);
}

// One stand-in run and what it must answer: the exit code and, as `check` says, a part or
// the whole of its error output or of its standard output. The command is split at blanks;
// "ip ..." runs the ip stand-in. A failed run whose error output is given whole must print
// nothing on standard output.
enum Check { ErrHas, ErrIs, OutHas, OutIs };
struct Expected
{
    QString command;
    int exitCode;
    QString text = QString();
    Check check = ErrHas;
};

inline void expectRuns(const SimHost &host, const QList<Expected> &runs)
{
    for (const Expected &expected : runs) {
        SCOPED_TRACE(expected.command.toStdString());
        QStringList args = expected.command.split(' ');
        const QString tool = args.first() == "ip" ? args.takeFirst() : QString("VBoxManage");
        const ToolRun run = host.run(tool, args);
        EXPECT_EQ(run.exitCode, expected.exitCode) << qPrintable(run.err);
        const QString &output = expected.check <= ErrIs ? run.err : run.out;
        if (expected.check == ErrIs || expected.check == OutIs) {
            EXPECT_EQ(output, expected.text);
        } else {
            EXPECT_TRUE(output.contains(expected.text)) << qPrintable(output);
        }
        if (expected.check == ErrIs && expected.exitCode != 0) {
            EXPECT_EQ(run.out, "");
        }
    }
}
