// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QList>
#include <QtGlobal>

// What this process holds of the system, read from /proc: for checks that many runs give
// back what they took.
namespace ProcStats {

int openDescriptors();
// Ids of the processes whose parent this one is, running or zombie.
QList<qint64> children();
qint64 residentKiB();

} // namespace ProcStats
