// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

// The baseline the runner is measured against: posix_spawnp of the same program with both
// output pipes drained and waitpid, and nothing else. Returns the child's exit code, or -1
// when it could not be started.
namespace BareSpawn {

int run(const QString &program, const QStringList &arguments);

// The same with fork and execvp instead of posix_spawnp, as QProcess starts its children:
// the difference between the two is the price of copying the parent's page tables.
int runForked(const QString &program, const QStringList &arguments);

} // namespace BareSpawn
