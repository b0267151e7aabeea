// SPDX-License-Identifier: Apache-2.0
#include "faulttestbed.h"

#include <vmtools/settings.h>

#include <QCoreApplication>
#include <QDirIterator>

namespace {

const QString Device = QStringLiteral("phone");

// Every file and folder below `root`, relative to it, but for the copy of a machine's old
// settings that VirtualBox keeps on any change.
QStringList tree(const QString &root)
{
    QStringList entries;
    QDirIterator it(root, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString entry = QDir(root).relativeFilePath(it.next());
        if (!entry.endsWith(QLatin1String(".vbox-prev")))
            entries.append(entry);
    }
    entries.sort();
    return entries;
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

FaultTestbed::FaultTestbed()
{
    host.addHostOnlyNetwork();
    QDir().mkpath(media);
    vbox({"setproperty", "machinefolder", deploy});
    if (host.importSample(Device, deploy + "/%1/android_%2_disk.vmdk").exitCode != 0)
        m_problems.append(QStringLiteral("the sample appliance was not imported"));
    // A machine folder of the user's own, which the engine must put back as it was.
    vbox({"setproperty", "machinefolder", host.path(QStringLiteral("my VMs"))});
    vbox({"modifyvm", Device, "--hostonlyadapter1", "vboxnet0"});
    vbox({"snapshot", Device, "take", "factory-backup"});
    vbox({"createhd", "--filename", media + "/loose.vdi", "--size", "8"});
    QDir().mkpath(exports);
    for (const QString &folder : {host.home(), deploy, media, exports})
        copyTree(folder, m_template + folder);
    QDir().mkpath(empty);
    QDir().mkpath(notExecutable);
    QFile::copy(SimHost::program(QStringLiteral("VBoxManage")),
                notExecutable + QStringLiteral("/VBoxManage"));
    QFile::setPermissions(notExecutable + QStringLiteral("/VBoxManage"),
                          QFile::ReadOwner | QFile::WriteOwner);
}

void FaultTestbed::reset()
{
    host.setFaults(QString());
    // A note of the user's machine folder, left by a switch that could not be put back,
    // would be read by the next cell's switch: each cell starts without one.
    QDir(Paths::getQuillomatePath() + QStringLiteral("/locks")).removeRecursively();
    for (const QString &folder : {host.home(), deploy, media, exports}) {
        QDir(folder).removeRecursively();
        copyTree(m_template + folder, folder);
    }
}

QStringList FaultTestbed::state() const
{
    QStringList lines;
    for (const QString &folder : {deploy, media, exports})
        for (const QString &entry : tree(folder))
            lines.append(QStringLiteral("folder: ") + folder + '/' + entry);
    const QString userStore = Settings::getApplicationSettings()->fileName();
    const QString installStore =
        QCoreApplication::applicationDirPath() + QStringLiteral("/quillomate.ini");
    for (const QString &store : {userStore, installStore})
        lines.append(QStringLiteral("settings: ") + store + ' ' +
                     QString::fromUtf8(contents(store).toHex()));
    const QString properties = host.vbox({"list", "systemproperties"}).out;
    lines.append(QStringLiteral("settings: ") +
                 properties.section(QStringLiteral("Default machine folder:"), 1)
                     .section('\n', 0, 0)
                     .trimmed());
    return lines;
}

void FaultTestbed::vbox(const QStringList &args)
{
    if (host.vbox(args).exitCode != 0)
        m_problems.append(QStringLiteral("VBoxManage %1 failed").arg(args.join(' ')));
}

void FaultTestbed::copyTree(const QString &from, const QString &to)
{
    QDir().mkpath(to);
    if (QProcess::execute("cp", {"-a", from + "/.", to}) != 0)
        m_problems.append(QStringLiteral("%1 was not copied").arg(from));
}
