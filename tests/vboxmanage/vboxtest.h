// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "logcapture.h"
#include "printers.h"
#include "standin.h"
#include "vboxmanagecore.h"

#include <QDirIterator>
#include <QFile>
#include <QList>
#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

#include <memory>

const QString PhoneUuid = QStringLiteral("0b6c7f21-7d4c-4d2b-9a55-3e0f3f6e8a11");
// A VBoxManage output of VirtualBox `version`: recorded from 5.2, and for later versions the
// same device written out in the layout that version prints.
inline QString recorded(const QString &file, const QString &version = QStringLiteral("5.2"))
{
    QFile data(QStringLiteral(TEST_DATA_DIR "/%1/%2").arg(version, file));
    EXPECT_TRUE(data.open(QIODevice::ReadOnly)) << (version + '/' + file).toStdString();
    return QString::fromUtf8(data.readAll());
}

// An argument list written as one line: the arguments separated by single spaces.
inline QStringList cmd(const QString &line)
{
    return line.split(QLatin1Char(' '));
}

// VirtualBox's answer to a look-up of a machine that it does not know.
inline Answer notFound(const QString &name)
{
    return Answer::fail(1, QStringLiteral("VBoxManage: error: Could not find a registered machine "
                                          "named '%1'\nVBoxManage: error: Details: code "
                                          "VBOX_E_OBJECT_NOT_FOUND (0x80bb0001), component "
                                          "VirtualBoxWrap, interface IVirtualBox, callee "
                                          "nsISupports\n")
                               .arg(name));
}

// Argument lists written as lines.
inline QList<QStringList> cmds(std::initializer_list<const char *> lines)
{
    QList<QStringList> result;
    for (const char *line : lines)
        result.append(cmd(QString::fromUtf8(line)));
    return result;
}

// A "showvminfo" description of a machine in the folder /vms/<name>; `more` ends it.
inline QString description(const QString &name, const QString &state = "powered off",
                           const QString &more = QString())
{
    return QStringLiteral("Name:            %1\nUUID:            %2\n"
                          "Config file:     /vms/%1/%1.vbox\nMemory size:     2048MB\n"
                          "Number of CPUs:  2\n"
                          "State:           %3 (since 2024-06-03T09:14:07.512000000)\n")
               .arg(name, PhoneUuid, state) +
           more;
}

const QString LinkUp = QStringLiteral("5: vboxnet0: <BROADCAST,MULTICAST,UP,LOWER_UP> mtu 1500 "
                                      "qdisc fq_codel state UP group default qlen 1000\n");

// Every entry under `root` with its size, to prove that nothing there changed.
inline QStringList fileTree(const QString &root)
{
    QStringList entries;
    QDirIterator it(root, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        entries << it.filePath().mid(root.size()) + QLatin1Char(' ') +
                       QString::number(it.fileInfo().isDir() ? -1 : it.fileInfo().size());
    }
    entries.sort();
    return entries;
}

// The engine against the stand-in. The line the engine's constructor logs is not captured.
class CoreTest : public ::testing::Test
{
protected:
    StandIn m_standIn;
    VBoxManageCore m_core;
    LogCapture m_log;
};
