// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QtGlobal>

/// Gives an environment variable another value, or takes it away for a null one, until this object ends.
class ScopedVariable
{
public:
    ScopedVariable(const char *name, const QByteArray &value) : m_name(name), m_before(current(name))
    {
        put(value);
    }
    ~ScopedVariable()
    {
        put(m_before);
    }

private:
    Q_DISABLE_COPY_MOVE(ScopedVariable)

    static QByteArray current(const char *name)
    {
        return qEnvironmentVariableIsSet(name) ? QByteArray(qgetenv(name).constData()) : QByteArray();
    }
    void put(const QByteArray &value)
    {
        if (value.isNull()) {
            qunsetenv(m_name);
        } else {
            qputenv(m_name, value);
        }
    }

    const char *m_name;
    QByteArray m_before;
};
