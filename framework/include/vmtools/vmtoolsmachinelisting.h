// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vmtools/vmtools_export.h>

#include <QList>
#include <QString>

class VMToolsMachine;

// Beside the engine interface, for a host that reads many devices at once: the engine's
// listing in its two halves, so that the host can open the listed machines on threads of
// its own. Together they make exactly the runs of getMachines. A host finds it by
// dynamic_cast on the engine; an engine without it offers only getMachines.
class VMTOOLS_EXPORT VMToolsMachineListing
{
public:
    struct Entry
    {
        QString uuid;
        QString name;
    };

    virtual ~VMToolsMachineListing();

    // Every machine VirtualBox lists, in its order; false when VirtualBox could not list.
    virtual bool listMachines(QList<Entry> *entries) = 0;
    // The listed machine as getMachines hands it out when it is one of the host's devices;
    // null otherwise. The caller owns it. Safe on several threads at once.
    virtual VMToolsMachine *openListedMachine(const Entry &entry) = 0;
};
