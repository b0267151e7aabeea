// SPDX-License-Identifier: Apache-2.0
#include "vboxversion.h"

#include <QRegularExpression>

VBoxVersion::VBoxVersion(const QString &text)
{
    static const QRegularExpression release(QStringLiteral("^(\\d+)\\.(\\d+)\\.(\\d+)"));
    const QRegularExpressionMatch match = release.match(text);
    if (match.hasMatch())
        m_number = QVersionNumber(match.captured(1).toInt(), match.captured(2).toInt(),
                                  match.captured(3).toInt());
}

bool VBoxVersion::needsImportDryRun() const
{
    return !isKnown() || m_number >= QVersionNumber(6, 0);
}
