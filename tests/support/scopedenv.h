// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QMap>

// Environment variables of this process changed while it lives; a null value unsets one.
// Each is put back as it was, or unset again, at the end.
class ScopedEnvironment
{
public:
    ScopedEnvironment() = default;
    ScopedEnvironment(ScopedEnvironment &&) = default;
    ScopedEnvironment(const ScopedEnvironment &) = delete;
    ScopedEnvironment &operator=(const ScopedEnvironment &) = delete;
    ~ScopedEnvironment()
    {
        for (auto it = m_old.cbegin(); it != m_old.cend(); ++it)
            put(it.key(), it.value());
    }

    void set(const QByteArray &name, const QByteArray &value)
    {
        if (!m_old.contains(name))
            m_old.insert(name, qgetenv(name)); // null when it is not set
        put(name, value);
    }

private:
    static void put(const QByteArray &name, const QByteArray &value)
    {
        if (value.isNull())
            qunsetenv(name);
        else
            qputenv(name, value);
    }

    QMap<QByteArray, QByteArray> m_old;
};
