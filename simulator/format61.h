// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "format60.h"

namespace VBoxSim {

// VirtualBox 6.1.50: the rewritten DHCP server, disk items with controller ports in
// "import", host-only addresses restricted.
class Format61 : public Format60
{
public:
    QString versionString() const override;
    QString dhcpServers(const HostState &host) const override;
    bool restrictsHostOnlyAddresses() const override { return true; }
    bool rewrittenDhcpServerCommand() const override { return true; }

protected:
    int copyrightYear() const override { return 2024; }
    QString dhcpServer(const DhcpServer &server) const override;
    QString memoryLabel() const override { return QStringLiteral("Memory size:"); }
    QString diskItem(const QString &unit, int index, const ApplianceItem &item) const override;
    // The target path a disk that keeps its suggested place is listed with.
    virtual QString diskTarget(const QString &path) const { return path; }
};

} // namespace VBoxSim
