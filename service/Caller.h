// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QDBusPendingCall>
#include <QString>

#include <optional>

class QDBusConnection;

/// Who sends a message, as the bus vouches for it.
struct Caller {
    /// The connection's own name, which the bus never gives out twice.
    QString name;
    uint user = 0;
    qint64 process = 0;
    /// The account that has logged in, whatever became of it by su(1) or sudo(8); none outside of logins.
    std::optional<uint> loginUser;
};

/// Asks the bus who is behind a connection's name.
QDBusPendingCall askForCaller(const QString &name, const QDBusConnection &bus);

/// Who it is by the bus's answer; none if the bus doesn't say it, or the connection is gone.
std::optional<Caller> callerIn(const QDBusPendingCall &answer, const QString &name);
