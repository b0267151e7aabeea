// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>
#include <QtGlobal>

// Why an operation failed, gathered from the engine's log while a step runs: VirtualBox's
// own first error line of the last failed VBoxManage run and the engine's last critical
// line. vmtools names them in its one failure line, so that the log itself can stay quiet.
namespace Diagnostics {

void record(QtMsgType type, const QString &line);
// VirtualBox's message of the last failed run since the step began; empty when none.
QString virtualBoxError();
// VirtualBox's result code of that run ("VBOX_E_OBJECT_NOT_FOUND"); empty when none.
QString virtualBoxCode();
// Whether a VBoxManage run with exactly these arguments failed since the step began.
bool runFailed(const QStringList &arguments);
// Forgets what was gathered: a new step of work begins.
void reset();
// "VirtualBox: <its message>; engine: <its line>", either part left out when unknown;
// empty when nothing failed.
QString cause();
// "<message>: <plain cause> (<cause>)", each part only when known.
QString withCause(const QString &message);

// VirtualBox's error message in a logged error output: its "VBoxManage: error:" lines
// before Details and Context, without the prefix, joined by ": "; empty when none.
QString firstVirtualBoxError(const QString &loggedOutput);

// The cause of the last failed run since the step began, in a user's words with what to do
// (see Causes); empty when none is known.
QString plainCause();

} // namespace Diagnostics
