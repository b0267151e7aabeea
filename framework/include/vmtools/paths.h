// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vmtools/vmtools_export.h>

#include <QString>

// The per-user folders of the application family, moved as a whole by QM_HOME.
namespace Paths {

struct PathInfo
{
    PathInfo();

    QString organizationPath;
    QString quillomatePath;
};

VMTOOLS_EXPORT QString getOrganizationPath();
VMTOOLS_EXPORT QString getQuillomatePath();

} // namespace Paths
