// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

// Runs whole programs for the command benchmark: vmtools as a user types it and
// VBoxManage as the baseline, both found the way a shell would find them.
namespace CommandRuns {

struct Outcome
{
    double seconds = 0;
    int exitCode = -1;
    // VBoxManage runs the command made: its "Call:" lines under -v.
    int calls = 0;
    QString output;
    QString error;
};

// Runs `program` with `arguments` to its end and times it from start to exit.
Outcome run(const QString &program, const QStringList &arguments);

// The device names of the benchmark, "vmtools-bench-1" and on.
QString deviceName(int index);

// Makes devices up to `count` (those already made are kept): with an appliance through
// `vmtools create`, otherwise as bare registered machines that carry a device's guest
// properties, which is all that a reading command looks at. False when one could not be made.
bool makeDevices(const QString &vmtools, const QString &appliance, int count);

// Removes every device made by makeDevices, with their files.
void removeDevices(const QString &vmtools, const QString &appliance);

} // namespace CommandRuns
