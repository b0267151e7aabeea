// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "format71.h"

namespace VBoxSim {

// VirtualBox 7.2.22 as Debian builds it: the limits per platform in systemproperties, the
// clipboard file transfers and the recording screens in showvminfo, bare target paths in
// the import listing.
class Format72 final : public Format71
{
public:
    QString versionString() const override;
    QString systemProperties(const HostState &host) const override;
    bool settingsFileFollowsName() const override { return false; }
    // It reads no sound card type from the appliance.
    QString expectedSoundCard(const QString &) const override { return QString(); }

protected:
    InfoLines vmHeadLines(const HostState &host, const Machine &machine) const override;
    QString natSettings(int slot) const override;
    QString vmTail(const Machine &machine) const override;
    QString diskTarget(const QString &path) const override;
};

} // namespace VBoxSim
