// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "faults.h"
#include "format.h"
#include "simstate.h"

#include <QPair>
#include <QString>
#include <QStringList>

#include <memory>

namespace VBoxSim {

class StateStore;

// Everything one run of the stand-in works with.
struct Context
{
    QString home;
    std::unique_ptr<Format> format;
    int bootMs = 1500;
    HostState host;
    Faults faults;
    const Fault *fault = nullptr; // the injected fault that applies to this run, if any
    bool changed = false;
    StateStore *store = nullptr; // held locked while the host is read and written

    bool faultIs(const char *kind) const { return fault && fault->kind == QLatin1String(kind); }
    // The machine, or the VirtualBox error for an unknown one (printed) and null.
    Machine *machine(const QString &nameOrUuid, const QString &context, int line,
                     const QString &file);
};

// Command-line options in the order given; "--opt value" and "--opt=value" alike.
class Options
{
public:
    Options(const QStringList &args, int from, const QStringList &flags);

    bool has(const QString &name) const;
    QString value(const QString &name, const QString &fallback = QString()) const;
    const QList<QPair<QString, QString>> &all() const { return m_options; }
    const QStringList &positional() const { return m_positional; }
    // An option that needs a value came last without one.
    QString missingValue() const { return m_missingValue; }

private:
    QList<QPair<QString, QString>> m_options;
    QStringList m_positional;
    QString m_missingValue;
};

// Holds the exclusive lock on the simulated host while it is read and written, so that
// two stand-in processes running at once see each other's changes whole.
class StateStore
{
public:
    explicit StateStore(const QString &home);
    ~StateStore();
    StateStore(const StateStore &) = delete;
    StateStore &operator=(const StateStore &) = delete;

    bool lock(QString *error);
    void unlock();
    HostState load();
    bool save(const HostState &host);

private:
    QString m_home;
    int m_fd = -1;
};

// Files that VirtualBox keeps on disk for the simulated host.
void writeImageFile(const QString &path, const Medium &medium,
                    const QByteArray &payload = QByteArray());
bool copyImageFile(const QString &source, const QString &target, const Medium &medium);
void writeSettingsFile(const Machine &machine);

// Lets a started guest publish its address once it has had time to boot.
void updateGuests(Context &context);

} // namespace VBoxSim
