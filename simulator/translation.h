// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// The Russian texts VirtualBox 7.x prints, for the lines a client of VBoxManage reads.
namespace VBoxSim::Translation {

// The Russian text of an English label or message as the stand-in prints it, or the
// English text itself when it has none.
QString russian(const QString &english);

} // namespace VBoxSim::Translation
