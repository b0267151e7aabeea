#pragma once

#include "simhost.h"

#include <vmtools/settings.h>

#include <QByteArray>
#include <QList>

// Puts the stand-in first on PATH and points it at the test's host while it lives, in the
// desktop's language `locale` (all categories) when one is given. The plug-in, loaded in
// the test's own process, then runs the stand-in as it would run VirtualBox.
class SimulatedVirtualBox
{
public:
    SimulatedVirtualBox(const SimHost &host, const QByteArray &locale = QByteArray())
        : m_oldPath(qgetenv("PATH"))
    {
        qputenv("PATH", QByteArray(VBOXSIM_BIN_DIR) + ':' + m_oldPath);
        for (const char *name : Variables)
            qputenv(name, host.environment().value(name).toUtf8());
        for (const char *name : LocaleVariables) {
            m_oldLocale.append(qgetenv(name));
            if (!locale.isEmpty())
                qputenv(name, locale);
        }
        Settings::remove(QStringLiteral("host.only.interface"));
    }
    ~SimulatedVirtualBox()
    {
        qputenv("PATH", m_oldPath);
        for (const char *name : Variables)
            qunsetenv(name);
        for (int i = 0; i < m_oldLocale.size(); ++i) {
            if (m_oldLocale[i].isEmpty())
                qunsetenv(LocaleVariables[i]);
            else
                qputenv(LocaleVariables[i], m_oldLocale[i]);
        }
    }
    SimulatedVirtualBox(const SimulatedVirtualBox &) = delete;
    SimulatedVirtualBox &operator=(const SimulatedVirtualBox &) = delete;

private:
    static constexpr const char *Variables[] = {"VBOXSIM_HOME", "VBOXSIM_VERSION",
                                                "VBOXSIM_BOOT_MS", "VBOXSIM_FAULTS"};
    static constexpr const char *LocaleVariables[] = {"LC_ALL", "LC_MESSAGES", "LC_CTYPE", "LANG"};

    QByteArray m_oldPath;
    QList<QByteArray> m_oldLocale;
};
