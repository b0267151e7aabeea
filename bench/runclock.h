// SPDX-License-Identifier: Apache-2.0
#pragma once

// The time the plug-in spends inside the child runs it makes: every VBoxManage call through
// the runner, from its start to its result, and every run of `ip`, from QProcess::start to
// the end of waitForFinished. The benchmark is linked with --wrap for those functions, so
// the plug-in's own calls pass through here; nothing in the library changes.
namespace RunClock {

// Starts counting from zero.
void reset();

// Seconds spent in runs since the last reset, and how many runs they were.
double seconds();
int runs();

} // namespace RunClock
