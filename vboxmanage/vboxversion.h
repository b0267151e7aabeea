// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QVersionNumber>

// The VirtualBox release that the engine drives, and what that release changes in the
// commands the engine must run. The one place that knows releases: the output parsers
// read every release's layouts without asking.
class VBoxVersion
{
public:
    // From the text that version() returns ("6.1.38_Ubuntur153438"); a text that names
    // no release ("unknown") gives an unknown version.
    explicit VBoxVersion(const QString &text);

    bool isKnown() const { return !m_number.isNull(); }
    QVersionNumber number() const { return m_number; }

    // From 6.0 on, "import" lists the new machine's group, settings file and base folder
    // before the appliance's disks, so the disks' unit numbers depend on the appliance and
    // are read from VirtualBox's dry run. An unknown release is asked as well: the dry run
    // does no harm where it is not needed.
    bool needsImportDryRun() const;

private:
    QVersionNumber m_number;
};
