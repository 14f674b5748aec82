// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/bus/Polkit.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMetaType>
#include <QDBusPendingReply>

namespace
{
constexpr int questionLimit = 25000; // ms, as long as the bus waits by itself

using PolkitDetails = QMap<QString, QString>;

/// Of polkit's answer (bba{ss}): whether it may be done as it is, and whether somebody would have to prove who they are.
bool isChallenge(const QDBusMessage &answer)
{
    if (answer.signature() != QLatin1String("(bba{ss})")) {
        return false;
    }
    const auto result = answer.arguments().constFirst().value<QDBusArgument>();
    bool isAuthorized = false;
    bool needsProof = false;
    result.beginStructure();
    result >> isAuthorized >> needsProof;
    result.endStructure();
    return needsProof && !isAuthorized;
}
}

QDBusMessage polkitCall(const QString &method)
{
    return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.PolicyKit1"),
                                          QStringLiteral("/org/freedesktop/PolicyKit1/Authority"),
                                          QStringLiteral("org.freedesktop.PolicyKit1.Authority"),
                                          method);
}

QDBusPendingCall askPolkit(const QDBusConnection &bus, const QString &action, int limit)
{
    static const auto detailsType = qDBusRegisterMetaType<PolkitDetails>();
    Q_UNUSED(detailsType)
    QDBusMessage call = polkitCall(QStringLiteral("CheckAuthorization"));
    QDBusArgument subject;
    subject.beginStructure();
    subject << QStringLiteral("system-bus-name") << QVariantMap{{QStringLiteral("name"), bus.baseService()}};
    subject.endStructure();
    call << QVariant::fromValue(subject) << action << QVariant::fromValue(PolkitDetails()) << 0U << QString();
    return bus.asyncCall(call, limit);
}

bool needsPassword(const QString &action)
{
    const QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        return false; // a call on it would never end
    }
    QDBusPendingCall answer = askPolkit(bus, action, questionLimit);
    answer.waitForFinished();
    return isChallenge(answer.reply());
}
