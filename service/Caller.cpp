// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/Caller.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QFile>
#include <QVariantMap>

namespace
{
// as long as the bus itself takes to answer, which never waits for anybody
constexpr int credentialsLimit = 5000; // ms

/// By proc(5); the kernel has the greatest number for none.
std::optional<uint> loginUserOf(qint64 process)
{
    QFile file(QStringLiteral("/proc/%1/loginuid").arg(process));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    bool isNumber = false;
    const uint user = file.readAll().trimmed().toUInt(&isNumber);
    return isNumber && user != uint(-1) ? std::make_optional(user) : std::nullopt;
}
}

QDBusPendingCall askForCaller(const QString &name, const QDBusConnection &bus)
{
    QDBusMessage question = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                                           QStringLiteral("/org/freedesktop/DBus"),
                                                           QStringLiteral("org.freedesktop.DBus"),
                                                           QStringLiteral("GetConnectionCredentials"));
    question << name;
    return bus.asyncCall(question, credentialsLimit);
}

std::optional<Caller> callerIn(const QDBusPendingCall &answer, const QString &name)
{
    const QDBusPendingReply<QVariantMap> credentials = answer;
    const QVariant user = credentials.value().value(QStringLiteral("UnixUserID"));
    if (!user.isValid()) {
        return {};
    }
    const qint64 process = credentials.value().value(QStringLiteral("ProcessID")).toLongLong();
    return Caller{name, user.toUInt(), process, loginUserOf(process)};
}
