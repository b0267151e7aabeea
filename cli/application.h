// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QStringList>

// vmtools from the command line to the exit status.
class Application final
{
public:
    int run(const QStringList &arguments);
};
