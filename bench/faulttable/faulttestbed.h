// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "simhost.h"

#include <vmtools/paths.h>

#include <QDir>
#include <QString>
#include <QStringList>

// A simulated host with one device, "phone", deployed as the engine deploys it, with its
// factory snapshot, a loose disk and VirtualBox's machine folder set to one of the user's
// own; every cell of the fault table starts from a copy of it.
class FaultTestbed
{
public:
    FaultTestbed();
    // The deploy folder outlives the stand-in's own folder: the next bed starts without it.
    ~FaultTestbed() { QDir(deploy).removeRecursively(); }

    // What went wrong while the host was made; empty when it is ready.
    QStringList problems() const { return m_problems; }
    // Puts the host back as it was made and forgets the faults.
    void reset();
    // What a failed operation must leave as it was: the deploy, media and export folders,
    // the user's and the install settings store, VirtualBox's default machine folder.
    QStringList state() const;

    SimHost host;
    const QString deploy = QDir::cleanPath(Paths::getQuillomatePath() + "/deployed");
    const QString media = host.path(QStringLiteral("media"));
    const QString exports = host.path(QStringLiteral("exports"));
    const QString empty = host.path(QStringLiteral("bin-empty"));
    const QString notExecutable = host.path(QStringLiteral("bin-not-executable"));

private:
    void vbox(const QStringList &args);
    void copyTree(const QString &from, const QString &to);

    const QString m_template = host.path(QStringLiteral("template"));
    QStringList m_problems;
};
