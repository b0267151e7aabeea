// SPDX-License-Identifier: Apache-2.0
#include "vboxmanagemachine.h"

#include <vmtools/vboxmanagecommon.h>

#include <QFile>

namespace {

// One block of the support file: the command line, what it printed, three line feeds.
void appendBlock(QFile *file, const QString &program, const QStringList &arguments)
{
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(program, arguments);
    const QString block = QStringLiteral("%1 %2\n").arg(program, arguments.join(QLatin1Char(' '))) +
                          result.output + QStringLiteral("\n\n\n");
    file->write(block.toUtf8());
}

} // namespace

void VBoxManageMachine::dumpInfos(QFile *file)
{
    if (!file)
        return;
    const QString name = getName();
    appendBlock(file, m_vboxManagePath,
                {QStringLiteral("guestproperty"), QStringLiteral("enumerate"), name});
    appendBlock(file, m_vboxManagePath,
                {QStringLiteral("getextradata"), name, QStringLiteral("enumerate")});
    appendBlock(file, m_vboxManagePath,
                {QStringLiteral("showvminfo"), name, QStringLiteral("--details")});
}
