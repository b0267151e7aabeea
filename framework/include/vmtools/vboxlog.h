// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vmtools/vmtools_export.h>

#include <QDebug>

// Every line of the VirtualBox engine starts with "[VBox]" and carries no source
// location; these streams write that prefix so callers add only their own pieces.
namespace VBoxLog {
VMTOOLS_EXPORT QDebug debug();
VMTOOLS_EXPORT QDebug warning();
VMTOOLS_EXPORT QDebug critical();
} // namespace VBoxLog
