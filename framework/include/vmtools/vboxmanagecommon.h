// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vmtools/vmtools_export.h>

#include <QFlags>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

class VMToolsObserver;

// The single place where the engine runs VBoxManage.
namespace VBoxManageCommon {

enum Option {
    WaitForever = 1, // no time limit; wins over LongTimeout
    LongTimeout = 2, // 300000 ms instead of 30000 ms
    Silent = 4,      // no log line at all
    // With an observer: a canceled child that the interrupt has not ended within half a
    // second is killed. For reads only, which leave nothing half done: a client of VirtualBox
    // that waits for its service does not end on SIGINT.
    KillWhenCanceled = 8,
};
Q_DECLARE_FLAGS(Options, Option)

struct CallResult
{
    int exitCode = 0;
    QString output;
    QString error;
};

constexpr int DefaultTimeoutMs = 30000;
constexpr int LongTimeoutMs = 300000;

// The environment every child (VBoxManage, ip) runs in: the caller's, with messages
// asked for in English and a UTF-8 character set kept. English keeps the output what the
// parsers read whatever the desktop's language; an ASCII character set ("LC_ALL=C") would
// make VirtualBox refuse non-ASCII names and paths.
VMTOOLS_EXPORT QProcessEnvironment
childEnvironment(const QProcessEnvironment &base = QProcessEnvironment::systemEnvironment());

VMTOOLS_EXPORT CallResult call(const QString &program, const QStringList &arguments,
                               Options options = {}, VMToolsObserver *observer = nullptr);

} // namespace VBoxManageCommon

Q_DECLARE_OPERATORS_FOR_FLAGS(VBoxManageCommon::Options)
