// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "format61.h"

namespace VBoxSim {

// VirtualBox 7.0.10: translated messages, the new storage layout of showvminfo, sorted
// guest properties, the failure code right after the progress dots.
class Format70 : public Format61
{
public:
    QString versionString() const override;
    QString logo() const override;
    QString guestProperties(const QList<GuestProperty> &properties) const override;
    QString progressFailure(const QString &hresult) const override;

protected:
    int copyrightYear() const override { return 2023; }
    bool translates() const override { return true; }
    // 7.0.0 to 7.0.14 print the encryption line unaligned, with five blanks.
    virtual int encryptionWidth() const { return 15; }
    InfoLines vmHeadLines(const HostState &host, const Machine &machine) const override;
    QString vmStorage(HostState &host, const Machine &machine) const override;
    QString vmTail(const Machine &machine) const override;
    QString snapshotDescription(const QString &prefix, const QString &text) const override;
};

} // namespace VBoxSim
