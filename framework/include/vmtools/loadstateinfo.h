// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// The outcome of an engine's start-up. 0 means ready, 3 usable although the old
// host-only interface could not be removed; any other state is a failure.
struct LoadStateInfo
{
    int state = 0;
    QString message;
};
