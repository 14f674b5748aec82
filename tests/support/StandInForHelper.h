// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "HelperId.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>

/// Takes the helper's name on the bus. Whatever else KAuth's method takes in a version of Frameworks, it gets the arguments.
class StandInForHelper : public QDBusVirtualObject
{
public:
    bool start()
    {
        return m_bus.registerVirtualObject(QStringLiteral("/"), this) && m_bus.registerService(QLatin1String(helperId));
    }

    QString introspect(const QString & /*path*/) const override
    {
        return {};
    }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        if (message.interface() != QLatin1String(kauthInterface)
            || message.member() != QLatin1String("performAction")) {
            return false;
        }
        const QByteArray reply = answer(message, message.arguments().value(3).toByteArray());
        if (!reply.isEmpty()) {
            connection.send(message.createReply(reply));
        }
        return true;
    }

protected:
    /// What to answer to these arguments; empty for no answer.
    virtual QByteArray answer(const QDBusMessage &call, const QByteArray &arguments) = 0;

    const QDBusConnection &bus() const
    {
        return m_bus;
    }

private:
    // not the connection of the request, which would answer itself without the bus
    QDBusConnection m_bus = QDBusConnection::connectToBus(QDBusConnection::SystemBus, QStringLiteral("stand-in"));
};
