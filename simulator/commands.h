// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "context.h"

#include <QStringList>

// One handler per VBoxManage command; each gets the whole argument list (the command
// first) and returns the exit code.
namespace VBoxSim {

int listCommand(Context &context, const QStringList &args);
int showVmInfoCommand(Context &context, const QStringList &args);
int guestPropertyCommand(Context &context, const QStringList &args);
int getExtraDataCommand(Context &context, const QStringList &args);
int modifyVmCommand(Context &context, const QStringList &args);
int startVmCommand(Context &context, const QStringList &args);
int controlVmCommand(Context &context, const QStringList &args);
int unregisterVmCommand(Context &context, const QStringList &args);
int cloneVmCommand(Context &context, const QStringList &args);
int snapshotCommand(Context &context, const QStringList &args);
int storageAttachCommand(Context &context, const QStringList &args);
int createMediumCommand(Context &context, const QStringList &args);
int cloneMediumCommand(Context &context, const QStringList &args);
int closeMediumCommand(Context &context, const QStringList &args);
int importCommand(Context &context, const QStringList &args);
int exportCommand(Context &context, const QStringList &args);
int setPropertyCommand(Context &context, const QStringList &args);
int hostOnlyIfCommand(Context &context, const QStringList &args);
int dhcpServerCommand(Context &context, const QStringList &args);

// Writes the small Android-like appliance that tests and demos import.
bool writeSampleAppliance(const QString &path);

// Shared pieces of several commands.
int syntaxError(Context &context, const QString &message);
int lockedError(const QString &machineName, const QString &context, int line, const QString &file);
QString sanitizedFileName(const QString &name);
// The medium registered at `pathOrUuid`, or the one opened from an existing file there;
// null after printing VirtualBox's error.
Medium *openMedium(Context &context, const QString &pathOrUuid);
void printProgress(Context &context);

} // namespace VBoxSim
