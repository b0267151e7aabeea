// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// The cause of a failed VBoxManage run in a user's words, with what to do about it. It is
// read from the parts VirtualBox never translates (the "Details: code" symbol, the VERR_*
// statuses, the "Context:" call, the wrapper's warnings, the exit status), so that a
// service speaking another language gives the same cause; English wording only as a
// fallback.
namespace Causes {

struct FailedRun
{
    QString output; // what the run printed on stderr, and the wrapper's warnings
    int exitStatus = 0;
    QString command; // VBoxManage's command word, such as "startvm"
};

// "<what is wrong>: <what to do>"; empty when the failure is none of the known ones.
QString plain(const FailedRun &run);
// VirtualBox's result code, such as "VBOX_E_OBJECT_NOT_FOUND"; empty when it named none.
QString code(const QString &output);

} // namespace Causes
