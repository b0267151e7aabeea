// SPDX-License-Identifier: Apache-2.0
#include "commandruns.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>

namespace {

const QString VBoxManage = QStringLiteral("VBoxManage");

int made = 0;

// What the plug-in's profile keys hold on a device made from the sample appliance.
const QList<QPair<QString, QString>> &deviceProperties()
{
    static const QList<QPair<QString, QString>> properties{
        {QStringLiteral("vbox_graph_mode"), QStringLiteral("1080x1920-16")},
        {QStringLiteral("vbox_dpi"), QStringLiteral("420")},
        {QStringLiteral("android_version"), QStringLiteral("9")},
        {QStringLiteral("quillomate_version"), QStringLiteral("1.0")},
        {QStringLiteral("quillomate_vm_name"), QStringLiteral("bench")},
        {QStringLiteral("product_model"), QStringLiteral("Bench")},
    };
    return properties;
}

bool succeeds(const QString &program, const QStringList &arguments)
{
    const CommandRuns::Outcome outcome = CommandRuns::run(program, arguments);
    if (outcome.exitCode != 0)
        qWarning("bench: %s %s failed", qPrintable(program), qPrintable(arguments.join(' ')));
    return outcome.exitCode == 0;
}

bool makeBareDevice(const QString &name)
{
    if (!succeeds(VBoxManage, {QStringLiteral("createvm"), QStringLiteral("--name"), name,
                               QStringLiteral("--ostype"), QStringLiteral("Linux_64"),
                               QStringLiteral("--register")}))
        return false;
    for (const auto &property : deviceProperties()) {
        if (!succeeds(VBoxManage, {QStringLiteral("guestproperty"), QStringLiteral("set"), name,
                                   property.first, property.second}))
            return false;
    }
    return true;
}

} // namespace

namespace CommandRuns {

Outcome run(const QString &program, const QStringList &arguments)
{
    static const QRegularExpression call(QStringLiteral("\\bCall: \\("));
    QProcess process;
    QElapsedTimer clock;
    clock.start();
    process.start(program, arguments);
    process.waitForFinished(-1);
    Outcome outcome;
    outcome.seconds = clock.nsecsElapsed() / 1e9;
    outcome.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    outcome.output = QString::fromLocal8Bit(process.readAllStandardOutput());
    outcome.error = QString::fromLocal8Bit(process.readAllStandardError());
    auto it = call.globalMatch(outcome.error);
    while (it.hasNext()) {
        it.next();
        ++outcome.calls;
    }
    return outcome;
}

QString deviceName(int index)
{
    return QStringLiteral("vmtools-bench-%1").arg(index);
}

bool makeDevices(const QString &vmtools, const QString &appliance, int count)
{
    for (; made < count; ++made) {
        const QString name = deviceName(made + 1);
        const bool ok = appliance.isEmpty()
                            ? makeBareDevice(name)
                            : succeeds(vmtools, {QStringLiteral("create"), name, appliance});
        if (!ok)
            return false;
    }
    return true;
}

void removeDevices(const QString &vmtools, const QString &appliance)
{
    for (; made > 0; --made) {
        const QString name = deviceName(made);
        if (appliance.isEmpty())
            succeeds(VBoxManage,
                     {QStringLiteral("unregistervm"), name, QStringLiteral("--delete")});
        else
            succeeds(vmtools, {QStringLiteral("delete"), QStringLiteral("--yes"), name});
    }
}

} // namespace CommandRuns
