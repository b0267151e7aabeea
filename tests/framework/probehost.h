// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QStringList>
#include <QTemporaryDir>

#ifndef FRAMEWORK_PROBE
#error "FRAMEWORK_PROBE must name the probe program"
#endif

// What one run of the probe printed (standard error merged into standard output, so
// that messages of the plug-in keep their place among the log lines).
struct ProbeRun
{
    QStringList lines;
    bool crashed = false;
    int exitCode = -1;

    QStringList logLines() const { return lines.filter(QRegularExpression("^log ")); }
};

// A host application of our own: the probe copied into a temporary folder of its own,
// so that the application directory (plug-ins, install settings) is the test's. Each run
// gets a home, configuration folder and QM_HOME inside the same temporary folder.
class ProbeHost
{
public:
    ProbeHost()
    {
        QDir().mkpath(appDir());
        QDir().mkpath(home());
        QFile::copy(QStringLiteral(FRAMEWORK_PROBE), program());
        m_env = QProcessEnvironment::systemEnvironment();
        for (const char *name : {"FAKE_ENGINE_NULL", "FAKE_ENGINE_STATE", "FAKE_ENGINE_MESSAGE",
                                 "QT_LOGGING_RULES", "QT_MESSAGE_PATTERN"})
            m_env.remove(name);
        m_env.insert("HOME", home());
        m_env.insert("XDG_CONFIG_HOME", configHome());
        m_env.insert("QM_HOME", root() + "/qm");
    }

    bool isValid() const { return m_dir.isValid() && QFileInfo(program()).isExecutable(); }

    // The folder as the program sees it: with every symbolic link resolved.
    QString root() const { return QFileInfo(m_dir.path()).canonicalFilePath(); }
    QString appDir() const { return root() + "/app"; }
    QString program() const { return appDir() + "/frameworkprobe"; }
    QString home() const { return root() + "/home"; }
    QString configHome() const { return root() + "/config"; }
    QString userStore() const { return configHome() + "/Brellstock/Quillomate.conf"; }
    QString installStore() const { return appDir() + "/quillomate.ini"; }

    void setEnv(const QString &name, const QString &value) { m_env.insert(name, value); }
    void unsetEnv(const QString &name) { m_env.remove(name); }

    ProbeRun run(const QStringList &args, const QString &workingDir = QString()) const
    {
        QProcess process;
        process.setProcessEnvironment(m_env);
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.setWorkingDirectory(workingDir.isEmpty() ? root() : workingDir);
        process.start(program(), args);
        process.waitForFinished(60000);
        ProbeRun run;
        run.crashed = process.exitStatus() == QProcess::CrashExit;
        run.exitCode = process.exitCode();
        const QString text = QString::fromUtf8(process.readAll());
        run.lines = text.split('\n');
        if (!run.lines.isEmpty() && run.lines.last().isEmpty())
            run.lines.removeLast();
        return run;
    }

private:
    QTemporaryDir m_dir;
    QProcessEnvironment m_env;
};
