#pragma once

#include <vmtools/vmtools_export.h>

#include <QFlags>
#include <QString>
#include <QStringList>

class VMToolsObserver;

// The single place where the engine runs VBoxManage.
namespace VBoxManageCommon {

enum Option {
    WaitForever = 1, // no time limit; wins over LongTimeout
    LongTimeout = 2, // 300000 ms instead of 30000 ms
    Silent = 4,      // no log line at all
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

VMTOOLS_EXPORT CallResult call(const QString &program, const QStringList &arguments,
                               Options options = {}, VMToolsObserver *observer = nullptr);

} // namespace VBoxManageCommon

Q_DECLARE_OPERATORS_FOR_FLAGS(VBoxManageCommon::Options)
