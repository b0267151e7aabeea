// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "format70.h"

namespace VBoxSim {

// VirtualBox 7.1.6: platform properties apart in systemproperties, showvminfo's head in
// a new order with the platform architecture.
class Format71 : public Format70
{
public:
    QString versionString() const override;
    QString logo() const override;
    QString systemProperties(const HostState &host) const override;

protected:
    int copyrightYear() const override { return 2025; }
    int encryptionWidth() const override { return 0; }
    InfoLines vmHeadLines(const HostState &host, const Machine &machine) const override;
};

} // namespace VBoxSim
