// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vmtools/vboxmanagecommon.h>

#include <chrono>

// A read of VirtualBox that is asked a second time when the first gives no answer for a
// while. Now and then a client of VirtualBox 7.2 waits ten seconds for the service (its hand
// over from one client to the next, about one run in two hundred; two side by side meet it
// more often), while a client started beside it is answered at once. Reads change nothing,
// so the second one costs nothing but its run.
namespace HedgedRead {

// How long a read may go unanswered: VMTOOLS_READ_PATIENCE_MS when it is a positive number,
// else two seconds (a run of VirtualBox 7.2 takes a tenth to a half of a second on a quiet
// machine, up to a second and a half on a loaded one).
std::chrono::milliseconds patience();

// Runs `program` with `arguments` (a read), and once more beside it when the first has not
// ended after `patience`. The first success wins and the other run is interrupted; with no
// success, the first run's result. Runs outside any CallMemo: the caller keeps the answer.
VBoxManageCommon::CallResult run(const QString &program, const QStringList &arguments,
                                 std::chrono::milliseconds patience = HedgedRead::patience());

} // namespace HedgedRead
