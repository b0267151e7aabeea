// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// VBoxManage 5.2 outputs with a chosen number of records, shaped like the recorded ones in
// tests/data/5.2/, for the parser and operation benchmarks.
namespace Samples {

// The recorded output of tests/data/5.2/<file>.
QString recorded(const QString &file);

QString machineList(int machines);
QString dhcpServers(int servers);
QString hostOnlyInterfaces(int interfaces);
QString bridgedInterfaces(int interfaces);
// Guest properties of a device, a quarter of them VirtualBox's own "/VirtualBox/..." keys.
QString guestProperties(int properties);
// A "showvminfo" description with `attachments` disk attachments and as many adapters;
// the attachment that the disk lookup asks for comes last.
QString description(int attachments);
// A snapshot tree `snapshots` long, children indented below their parents.
QString snapshots(int snapshots);

// A UUID-shaped text unique to n.
QString uuid(int n);

} // namespace Samples
