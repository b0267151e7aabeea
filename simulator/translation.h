// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// The Russian texts VirtualBox 7.x prints, for the lines a client of VBoxManage reads.
namespace VBoxSim::Translation {

// The Russian text of an English label or message as the stand-in prints it, or the
// English text itself when it has none.
QString russian(const QString &english);

// The Russian text of VirtualBox's service message, line by line: names, paths, UUIDs and
// the VERR_* statuses in it stay as they are; a line it has no text for stays English.
QString russianServiceMessage(const QString &english);

} // namespace VBoxSim::Translation
