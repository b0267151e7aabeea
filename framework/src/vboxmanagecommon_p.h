// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vmtools/vmtools_export.h>

// For tests only, and so in no installed header: limits short enough for a test to see a
// call run out of time without waiting 30 or 300 seconds. Nothing a user sets reaches it.
namespace VBoxManageCommon {

// Replaces the default and the long limit of every later call; zero or less restores both.
VMTOOLS_EXPORT void setTimeLimitsForTesting(int defaultMs, int longMs);

} // namespace VBoxManageCommon
