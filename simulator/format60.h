// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "format.h"

namespace VBoxSim {

// VirtualBox 6.0: showvminfo 28 wide with enabled/disabled, the machine folder items in
// "import", DHCP servers with their global options.
class Format60 : public Format
{
public:
    QString versionString() const override;
    bool listsMachineFolderItems() const override { return true; }

protected:
    int labelWidth() const override { return 28; }
    QString onOff(bool value) const override;
    QString dhcpServer(const DhcpServer &server) const override;
    InfoLines vmHeadLines(const HostState &host, const Machine &machine) const override;
    // 6.0.0 to 6.1.18 print the label without its colon.
    virtual QString memoryLabel() const { return QStringLiteral("Memory size"); }
    QString vmTail(const Machine &machine) const override;
    // The device lines from the pointing device to USB, alike from 6.0 on but for the
    // audio driver's name.
    QString vmDevices(const QString &audioDriver) const;
};

} // namespace VBoxSim
